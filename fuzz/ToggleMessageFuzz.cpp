#include "FuzzSupport.h"
#include "desktop/GlobalHotkeyManager.h"

#include <QDir>
#include <QLocalSocket>

using namespace Qt::StringLiterals;

namespace {

const QString kChannel = u"tarq-linux-ipc"_s;

// The running program: what it was asked for since the last message.
struct Server {
    Server()
    {
        QDir::home().mkpath(u".config/Tarq-Linux"_s);
        manager.setupIpcServer(kChannel);
        QObject::connect(&manager, &GlobalHotkeyManager::toggleRequested, [this]() { ++toggles; });
        QObject::connect(
            &manager, &GlobalHotkeyManager::showHistoryRequested, [this]() { ++shows; });
    }

    GlobalHotkeyManager manager;
    int toggles = 0;
    int shows = 0;
};

// A byte order mark is no part of the text behind it.
bool isText(const QByteArray& bytes, const QByteArray& text)
{
    return bytes == text || bytes == "\xef\xbb\xbf" + text;
}

} // namespace

// The input is a message; TOKEN stands for the token.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static Server server;
    server.toggles = 0;
    server.shows = 0;
    const QByteArray token = GlobalHotkeyManager::readToken().toUtf8();
    const QByteArray message = Fuzz::bytes(data, size).replace("TOKEN", token);

    QLocalSocket socket;
    socket.connectToServer(kChannel);
    Fuzz::require(socket.waitForConnected(), "the channel is open");
    socket.write(message);
    socket.flush();
    if (message.isEmpty()) {
        socket.disconnectFromServer();
    }
    Fuzz::waitUntil([&]() { return socket.state() == QLocalSocket::UnconnectedState; });
    Fuzz::settle();

    const QByteArray trimmed = message.trimmed();
    const qsizetype colon = trimmed.indexOf(':');
    const bool isOurs = colon > 0 && isText(trimmed.first(colon), token);
    const QByteArray command = trimmed.mid(colon + 1);
    Fuzz::require(server.toggles == (isOurs && isText(command, "toggle"_ba) ? 1 : 0),
        "only the token and the word toggle");
    Fuzz::require(server.shows == (isOurs && isText(command, "show-history"_ba) ? 1 : 0),
        "only the token and the word show the history");
    Fuzz::require(socket.readAll().isEmpty(), "the channel never answers");
    return 0;
}
