#include "app/StartUp.h"

#include "Deployment.h"
#include "app/DotEnv.h"
#include "storage/PrivateDirectories.h"
#include "storage/SettingsStore.h"

#include <QCoreApplication>
#include <QDebug>
#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>
#include <QLoggingCategory>

using namespace Qt::StringLiterals;

void doWithoutDisplay()
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        // The second is for a Qt that was built without the first.
        qputenv("QT_QPA_PLATFORM", "minimal;xcb");
    }
}

void keepMediaBackendSilent()
{
    for (const char* variable :
        {"QT_FFMPEG_DECODING_HW_DEVICE_TYPES", "QT_FFMPEG_ENCODING_HW_DEVICE_TYPES"}) {
        if (qEnvironmentVariableIsEmpty(variable)) {
            qputenv(variable, ","); // a list without a type
        }
    }
    QLoggingCategory::setFilterRules(u"qt.multimedia.ffmpeg*.info=false"_s);
}

void setIdentity()
{
    QCoreApplication::setApplicationName(u"Tarq"_s);
    QCoreApplication::setApplicationVersion(Deployment::kApplicationVersion);
    QCoreApplication::setOrganizationName(u"Tarq"_s);
    // Only a quit request ends the process, no closing of a window.
    QGuiApplication::setQuitOnLastWindowClosed(false);
}

namespace {

QString userEnvironmentFile()
{
    return QDir(configRootPath()).filePath(u".env"_s);
}

} // namespace

QString foreseenVariable(const QByteArray& name)
{
    QByteArray value = qgetenv(name.constData());
    if (value.isEmpty()) {
        value = valueInDotEnv(userEnvironmentFile(), name);
    }
    if (value.isEmpty()) {
        const QFileInfo program(QFile::symLinkTarget(u"/proc/self/exe"_s));
        value = valueInDotEnv(program.dir().filePath(u".env"_s), name);
    }
    return QString::fromUtf8(value);
}

void loadEnvironmentFiles()
{
    loadDotEnv(userEnvironmentFile());
    loadDotEnv(QCoreApplication::applicationDirPath() + "/.env"_L1);
}

void prepareSettings(SettingsStore& settings)
{
    QString error;
    if (!settings.ensureScaffold(&error)) {
        qWarning().noquote() << error;
    }
}
