#include "app/DotEnv.h"

#include <QFile>

void loadDotEnv(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        return;
    }
    while (!file.atEnd()) {
        const QString line = QString::fromUtf8(file.readLine()).trimmed();
        const qsizetype equals = line.indexOf(u'=');
        // A zero would end the name or the value in the middle, and set something else.
        if (line.startsWith(u'#') || equals <= 0 || line.contains(QChar::Null)) {
            continue;
        }
        const QByteArray key = line.first(equals).trimmed().toUtf8();
        const QByteArray value = line.sliced(equals + 1).trimmed().toUtf8();
        if (qEnvironmentVariableIsEmpty(key.constData())) {
            qputenv(key.constData(), value);
        }
    }
}
