#pragma once

#include <QByteArray>
#include <QString>

/// Reads KEY=VALUE lines (UTF-8) into the environment of the process. A variable that has a value
/// already keeps it: the real environment wins over every file, and an earlier line over a later
/// one. An empty value counts as none. Blank lines, comments (#), lines without a key and
/// lines with a zero byte are skipped; quotes, escapes, "export" and a # behind a value have no
/// meaning. A missing file is the ordinary case, and nothing is reported.
void loadDotEnv(const QString& path);

/// The value that loadDotEnv() would give a variable that has none; empty if the file has none
/// either.
[[nodiscard]] QByteArray valueInDotEnv(const QString& path, const QByteArray& key);
