#pragma once

#include <QJsonObject>
#include <QString>

#include <optional>

class QSaveFile;

// Reading and writing the small JSON files of the private directory. Everything that is written
// here is readable by its owner alone.

/// Ends a save: the new file takes the place of the old one, unless any byte of it is missing.
bool commitWhole(QSaveFile& file);

/// Replaces the file at `path` by `content`, whole or not at all: a failure, a crash or a full disk
/// leaves the old file as it was. The new file has mode 0600. On failure returns false, with a
/// sentence in `error` unless that is null.
bool writeJsonFile(const QString& path, const QByteArray& content, QString* error);

/// The JSON object in the file: nothing if the file can't be opened, and an empty object if its
/// content isn't a JSON object (RFC 8259).
std::optional<QJsonObject> readJsonObject(const QString& path);

/// Whether the file can be read and holds one JSON object. An array at the top doesn't count.
bool isJsonObjectFileValid(const QString& path);
