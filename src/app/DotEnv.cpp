#include "app/DotEnv.h"

#include <QFile>
#include <QList>

#include <utility>

namespace {

using Variable = std::pair<QByteArray, QByteArray>;

QList<Variable> readVariables(const QString& path)
{
    QList<Variable> variables;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        return variables;
    }
    while (!file.atEnd()) {
        const QString line = QString::fromUtf8(file.readLine()).trimmed();
        const qsizetype equals = line.indexOf(u'=');
        // A zero would end the name or the value in the middle, and set something else.
        if (line.startsWith(u'#') || equals <= 0 || line.contains(QChar::Null)) {
            continue;
        }
        variables.emplaceBack(
            line.first(equals).trimmed().toUtf8(), line.sliced(equals + 1).trimmed().toUtf8());
    }
    return variables;
}

} // namespace

void loadDotEnv(const QString& path)
{
    const QList<Variable> variables = readVariables(path);
    for (const auto& [key, value] : variables) {
        if (qEnvironmentVariableIsEmpty(key.constData())) {
            qputenv(key.constData(), value);
        }
    }
}

QByteArray valueInDotEnv(const QString& path, const QByteArray& key)
{
    const QList<Variable> variables = readVariables(path);
    for (const auto& [name, value] : variables) {
        if (name == key && !value.isEmpty()) {
            return value;
        }
    }
    return {};
}
