// The running instance's end of the toggle channel.

#include "desktop/GlobalHotkeyManager.h"

#include "storage/PrivateDirectories.h"

#include <QDebug>
#include <QFile>
#include <QLocalServer>
#include <QLocalSocket>
#include <QUuid>

using namespace Qt::StringLiterals;

void GlobalHotkeyManager::setupIpcServer(const QString& name)
{
    // A process that crashed leaves its socket behind.
    QLocalServer::removeServer(name);
    m_ipcName = name;
    m_ipcToken = generateToken();
    m_ipcServer = new QLocalServer(this);
    if (!m_ipcServer->listen(name)) {
        qWarning().noquote() << "Failed to start IPC server:" << m_ipcServer->errorString();
        return;
    }
    connect(
        m_ipcServer, &QLocalServer::newConnection, this, &GlobalHotkeyManager::handleNewConnection);
}

QString GlobalHotkeyManager::generateToken()
{
    const QString token = QUuid::createUuid().toString(QUuid::WithoutBraces);
    QFile file(tokenFilePath());
    if (file.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        file.write(token.toUtf8());
        file.close();
        QFile::setPermissions(file.fileName(), kPrivateFilePermissions);
    }
    return token;
}

void GlobalHotkeyManager::handleNewConnection()
{
    QLocalSocket* socket = m_ipcServer->nextPendingConnection();
    if (socket == nullptr) {
        return;
    }
    // A socket gets one read: a message is small enough to arrive whole, and whoever sends one in
    // pieces isn't ours.
    const auto once
        = static_cast<Qt::ConnectionType>(Qt::AutoConnection | Qt::SingleShotConnection);
    connect(
        socket, &QLocalSocket::readyRead, this, [this, socket]() { handleMessage(socket); }, once);
    connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
    // The server closes itself when it meets a client for whom the process has no file left. Each
    // client that leaves frees one.
    connect(socket, &QObject::destroyed, this, [this]() {
        if (!m_ipcServer->isListening()) {
            m_ipcServer->listen(m_ipcName);
        }
    });
}

void GlobalHotkeyManager::handleMessage(QLocalSocket* socket)
{
    const QByteArray message = socket->readAll().trimmed();
    socket->deleteLater();

    // Both halves are text, so a byte order mark before either of them is no part of it.
    const qsizetype colon = message.indexOf(':');
    if (colon <= 0 || QString::fromUtf8(message.first(colon)) != m_ipcToken) {
        return;
    }
    const QString command = QString::fromUtf8(message.sliced(colon + 1));
    if (command == kToggleCommand) {
        emit toggleRequested();
    } else if (command == kShowHistoryCommand) {
        emit showHistoryRequested();
    }
}
