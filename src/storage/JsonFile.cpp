#include "storage/JsonFile.h"

#include "storage/FailWith.h"
#include "storage/PrivateDirectories.h"

#include <QFile>
#include <QJsonDocument>
#include <QSaveFile>

using namespace Qt::StringLiterals;

namespace {

// Nothing if the file can't be opened, a null document if it can't be parsed.
std::optional<QJsonDocument> readDocument(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return std::nullopt;
    }
    return QJsonDocument::fromJson(file.readAll());
}

} // namespace

bool commitWhole(QSaveFile& file)
{
    // By itself commit() overlooks that the last of the buffer didn't fit on the disk, and puts the
    // truncated file in the old one's place.
    if (!file.flush()) {
        file.cancelWriting();
    }
    return file.commit();
}

bool writeJsonFile(const QString& path, const QByteArray& content, QString* error)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        return failWith(error, u"Failed to open file: %1"_s.arg(path));
    }
    // Restricted before the first byte is in it: by the umask alone others could read it until the
    // rename below.
    file.setPermissions(kPrivateFilePermissions);
    if (file.write(content) != content.size()) {
        return failWith(error, u"Failed to write file: %1"_s.arg(path));
    }
    if (!commitWhole(file)) {
        return failWith(error, u"Failed to finalize file: %1"_s.arg(path));
    }
    if (!QFile::setPermissions(path, kPrivateFilePermissions)) {
        return failWith(error, u"Failed to set file permissions: %1"_s.arg(path));
    }
    return true;
}

std::optional<QJsonObject> readJsonObject(const QString& path)
{
    const std::optional<QJsonDocument> document = readDocument(path);
    return document ? std::optional(document->object()) : std::nullopt;
}

bool isJsonObjectFileValid(const QString& path)
{
    const std::optional<QJsonDocument> document = readDocument(path);
    return document && document->isObject();
}
