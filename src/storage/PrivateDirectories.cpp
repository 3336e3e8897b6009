#include "storage/PrivateDirectories.h"

#include <QDir>

using namespace Qt::StringLiterals;

QString configRootPath()
{
    return QDir::home().filePath(u".config/Tarq-Linux"_s);
}

QString cacheRootPath()
{
    return QDir::home().filePath(u".cache/Tarq-Linux"_s);
}
