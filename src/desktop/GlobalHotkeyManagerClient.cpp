// The other end of the toggle channel, in a process that lives for nothing else.

#include "desktop/GlobalHotkeyManager.h"

#include "storage/PrivateDirectories.h"

#include <QDir>
#include <QFile>
#include <QLocalSocket>

using namespace Qt::StringLiterals;

namespace {

constexpr int kConnectTimeoutMs = 500;
constexpr int kWriteTimeoutMs = 1000;

bool sendCommand(const QString& serverName, QLatin1StringView command)
{
    const QString token = GlobalHotkeyManager::readToken();
    if (token.isEmpty()) {
        return false;
    }
    QLocalSocket socket;
    socket.connectToServer(serverName, QIODevice::ReadWrite);
    if (!socket.waitForConnected(kConnectTimeoutMs)) {
        return false;
    }
    socket.write(QString(token + u':' + command).toUtf8());
    socket.flush();
    socket.waitForBytesWritten(kWriteTimeoutMs);
    socket.disconnectFromServer();
    return true;
}

} // namespace

bool GlobalHotkeyManager::sendToggleCommand(const QString& name)
{
    return sendCommand(name, kToggleCommand);
}

bool GlobalHotkeyManager::sendShowHistoryCommand(const QString& name)
{
    return sendCommand(name, kShowHistoryCommand);
}

QString GlobalHotkeyManager::tokenFilePath()
{
    return QDir(configRootPath()).filePath(u"ipc-token"_s);
}

QString GlobalHotkeyManager::readToken()
{
    QFile file(tokenFilePath());
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    return QString::fromUtf8(file.readAll()).trimmed();
}
