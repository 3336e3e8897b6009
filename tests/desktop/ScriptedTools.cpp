#include "desktop/ScriptedTools.h"

#include <QDir>
#include <QFile>

using namespace Qt::StringLiterals;

namespace {

constexpr auto kScript = R"(#!/bin/sh
tool="${0##*/}"
directory="${0%/*}"
IFS="|"
printf "%s\n" "$tool|$*" >>"$directory/runs"
for argument in "$1" "$2"; do
    if [ -n "$argument" ] && [ -r "$directory/$tool.$argument" ]; then
        . "$directory/$tool.$argument"
    fi
done
)";

void write(const QString& path, const QByteArray& content)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) {
        qFatal("Can't write %s", qPrintable(path));
    }
}

QByteArray read(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

ScriptedTools::ScriptedTools(const QString& directory)
    : m_directory(directory)
    , m_path("PATH", QFile::encodeName(directory))
{
    QDir().mkpath(directory);
}

void ScriptedTools::install(const QString& tool) const
{
    write(path(tool), kScript);
    QFile::setPermissions(path(tool), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

void ScriptedTools::remove(const QString& tool) const
{
    QFile::remove(path(tool));
}

void ScriptedTools::answer(
    const QString& tool, const QString& argument, const QByteArray& commands) const
{
    write(path(tool + u'.' + argument), commands + '\n');
}

QStringList ScriptedTools::runs() const
{
    return QString::fromUtf8(read(path(u"runs"_s))).split(u'\n', Qt::SkipEmptyParts);
}

void ScriptedTools::forgetRuns() const
{
    QFile::remove(path(u"runs"_s));
}

QByteArray ScriptedTools::hang() const
{
    return "echo $$ >\"$directory/hanging\"\nexec /bin/sleep 60";
}

int ScriptedTools::pidOfHanging() const
{
    return read(path(u"hanging"_s)).trimmed().toInt();
}

QString ScriptedTools::path(const QString& fileName) const
{
    return QDir(m_directory).filePath(fileName);
}
