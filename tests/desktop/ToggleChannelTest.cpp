#include "desktop/GlobalHotkeyManager.h"
#include "support/TarqTest.h"

#include <QDir>
#include <QLocalServer>
#include <QLocalSocket>
#include <QRandomGenerator>
#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace {

const QString kName = u"tarq-linux-ipc"_s;

} // namespace

// Both ends of the channel in one process, over a real socket in the test's own directory.
class ToggleChannelTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void tokenIsReturnedAlsoWhenItCantBeWritten();

    void commandArrivesOnce_data();
    void commandArrivesOnce();
    void clientSendsTheExactBytes();
    void clientWithoutATokenDoesntTouchTheSocket_data();
    void clientWithoutATokenDoesntTouchTheSocket();
    void staleTokenWithoutAServerFails();
    void socketFileWithoutAServerFails();
    void wrongTokenIsDroppedAndCountsAsSent();

    void handWrittenMessageIsAccepted_data();
    void handWrittenMessageIsAccepted();
    void otherMessageIsDropped_data();
    void otherMessageIsDropped();
    void randomBytesAreDropped();
    void messageInTwoPiecesIsLost();
    void twoMessagesOnOneConnectionAreLost();
    void manyCommandsAllArrive();
    void serverNeverAnswers();
    void connectionThatEndsAtOnceIsHarmless();

    void serverTakesOverTheNameOfACrashedOne();
    void secondServerTakesOverFromALivingOne();
    void impossibleNameIsLoggedAndStillMakesAToken();
    void tokenFromAnEarlierStartIsUseless();
    void tokenFileStaysBehind();

private:
    [[nodiscard]] QString socketPath() const { return homePath(kName); }
    [[nodiscard]] static QByteArray token() { return GlobalHotkeyManager::readToken().toUtf8(); }

    // Sends the message as it is, and returns when the server has
    // let go of the connection.
    void sendRaw(const QByteArray& message) const
    {
        QLocalSocket socket;
        socket.connectToServer(socketPath());
        QVERIFY(socket.waitForConnected());
        socket.write(message);
        socket.flush();
        QTRY_COMPARE(socket.state(), QLocalSocket::UnconnectedState);
        QCOMPARE(socket.readAll(), QByteArray());
    }

    std::unique_ptr<ScopedVariable> m_tmpDir;
};

void ToggleChannelTest::init()
{
    TarqTest::init();
    m_tmpDir = std::make_unique<ScopedVariable>("TMPDIR", homePath().toLocal8Bit());
    QVERIFY(QDir().mkpath(configPath()));
}

void ToggleChannelTest::cleanup()
{
    m_tmpDir.reset();
    TarqTest::cleanup();
}

void ToggleChannelTest::tokenIsReturnedAlsoWhenItCantBeWritten()
{
    QVERIFY(QDir().mkpath(configPath(u"ipc-token"_s)));
    QCOMPARE(GlobalHotkeyManager::generateToken().size(), 36);
    QCOMPARE(GlobalHotkeyManager::readToken(), QString());

    GlobalHotkeyManager manager;
    manager.setupIpcServer(kName);
    const QSignalSpy toggled(&manager, &GlobalHotkeyManager::toggleRequested);
    QVERIFY(!GlobalHotkeyManager::sendToggleCommand(kName));
    // Without a token nobody can get in, whatever they send.
    sendRaw(":toggle"_ba);
    QCOMPARE(toggled.count(), 0);
}

void ToggleChannelTest::commandArrivesOnce_data()
{
    QTest::addColumn<bool>("toggle");

    QTest::newRow("toggle") << true;
    QTest::newRow("show-history") << false;
}

void ToggleChannelTest::commandArrivesOnce()
{
    QFETCH(const bool, toggle);
    GlobalHotkeyManager manager;
    manager.setupIpcServer(kName);
    const QSignalSpy toggled(&manager, &GlobalHotkeyManager::toggleRequested);
    const QSignalSpy shown(&manager, &GlobalHotkeyManager::showHistoryRequested);
    const QSignalSpy started(&manager, &GlobalHotkeyManager::recordingStartRequested);
    const QSignalSpy stopped(&manager, &GlobalHotkeyManager::recordingStopRequested);
    QVERIFY(toggle ? GlobalHotkeyManager::sendToggleCommand(kName)
                   : GlobalHotkeyManager::sendShowHistoryCommand(kName));
    QTRY_COMPARE(toggled.count() + shown.count(), 1);
    QCOMPARE(toggled.count(), toggle ? 1 : 0);
    QCOMPARE(started.count() + stopped.count(), 0);
}

void ToggleChannelTest::clientSendsTheExactBytes()
{
    const QByteArray generated = GlobalHotkeyManager::generateToken().toUtf8();
    QLocalServer server;
    QVERIFY(server.listen(kName));
    QCOMPARE(server.fullServerName(), socketPath());
    for (const QByteArray& command : {"toggle"_ba, "show-history"_ba}) {
        QVERIFY(command == "toggle" ? GlobalHotkeyManager::sendToggleCommand(kName)
                                    : GlobalHotkeyManager::sendShowHistoryCommand(kName));
        QTRY_VERIFY(server.hasPendingConnections());
        QLocalSocket* socket = server.nextPendingConnection();
        QTRY_COMPARE(socket->state(), QLocalSocket::UnconnectedState);
        const QByteArray message = socket->readAll();
        QCOMPARE(message, generated + ':' + command);
        QCOMPARE(message.size(), command == "toggle" ? 43 : 49);
    }
}

void ToggleChannelTest::clientWithoutATokenDoesntTouchTheSocket_data()
{
    QTest::addColumn<QByteArray>("content");

    QTest::newRow("missing") << QByteArray();
    QTest::newRow("empty") << ""_ba;
    QTest::newRow("blank") << " \n"_ba;
}

void ToggleChannelTest::clientWithoutATokenDoesntTouchTheSocket()
{
    QFETCH(const QByteArray, content);
    if (!content.isNull()) {
        writeFile(configPath(u"ipc-token"_s), content);
    }
    QLocalServer server;
    QVERIFY(server.listen(kName));
    QVERIFY(!GlobalHotkeyManager::sendToggleCommand(kName));
    QVERIFY(!GlobalHotkeyManager::sendShowHistoryCommand(kName));
    QVERIFY(!server.waitForNewConnection(0));
}

void ToggleChannelTest::staleTokenWithoutAServerFails()
{
    writeFile(configPath(u"ipc-token"_s), "1b4e28ba-2fa1-41d2-883f-0016d3cca427"_ba);
    QVERIFY(!GlobalHotkeyManager::sendToggleCommand(kName));
    QVERIFY(!GlobalHotkeyManager::sendShowHistoryCommand(kName));
}

void ToggleChannelTest::socketFileWithoutAServerFails()
{
    writeFile(configPath(u"ipc-token"_s), "1b4e28ba-2fa1-41d2-883f-0016d3cca427"_ba);
    writeFile(socketPath(), ""_ba);
    QVERIFY(!GlobalHotkeyManager::sendToggleCommand(kName));
}

void ToggleChannelTest::wrongTokenIsDroppedAndCountsAsSent()
{
    GlobalHotkeyManager manager;
    manager.setupIpcServer(kName);
    const QByteArray right = token();
    const QSignalSpy toggled(&manager, &GlobalHotkeyManager::toggleRequested);
    writeFile(configPath(u"ipc-token"_s), "1b4e28ba-2fa1-41d2-883f-0016d3cca427"_ba);
    QVERIFY(GlobalHotkeyManager::sendToggleCommand(kName));
    // Connections are served in their order: once the second is answered, so was the first.
    sendRaw(right + ":toggle");
    QCOMPARE(toggled.count(), 1);
}

void ToggleChannelTest::handWrittenMessageIsAccepted_data()
{
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QByteArray>("after");

    QTest::newRow("as it is") << ""_ba
                              << ":toggle"_ba;
    QTest::newRow("line feed at the end") << ""_ba
                                          << ":toggle\n"_ba;
    QTest::newRow("carriage return and line feed") << ""_ba
                                                   << ":toggle\r\n"_ba;
    QTest::newRow("white space around") << " \n\t"_ba
                                        << ":toggle \n"_ba;
    QTest::newRow("byte order mark before the token") << "\xef\xbb\xbf"_ba
                                                      << ":toggle"_ba;
    QTest::newRow("byte order mark before the command") << ""_ba
                                                        << ":\xef\xbb\xbftoggle"_ba;
}

void ToggleChannelTest::handWrittenMessageIsAccepted()
{
    QFETCH(const QByteArray, before);
    QFETCH(const QByteArray, after);
    GlobalHotkeyManager manager;
    manager.setupIpcServer(kName);
    const QSignalSpy toggled(&manager, &GlobalHotkeyManager::toggleRequested);
    const QSignalSpy shown(&manager, &GlobalHotkeyManager::showHistoryRequested);
    sendRaw(before + token() + after);
    QCOMPARE(toggled.count(), 1);
    QCOMPARE(shown.count(), 0);
}

void ToggleChannelTest::otherMessageIsDropped_data()
{
    QTest::addColumn<QByteArray>("message"); // TOKEN and UPPER stand for the token

    QTest::newRow("empty token") << ":toggle"_ba;
    QTest::newRow("blank token") << " :toggle"_ba;
    QTest::newRow("no colon") << "TOKENtoggle"_ba;
    QTest::newRow("only the token") << "TOKEN"_ba;
    QTest::newRow("only a colon") << ":"_ba;
    QTest::newRow("no command") << "TOKEN:"_ba;
    QTest::newRow("only the command") << "toggle"_ba;
    QTest::newRow("token in capitals") << "UPPER:toggle"_ba;
    QTest::newRow("token in braces") << "{TOKEN}:toggle"_ba;
    QTest::newRow("blank behind the token") << "TOKEN :toggle"_ba;
    QTest::newRow("more behind the token") << "TOKEN0:toggle"_ba;
    QTest::newRow("zero behind the token") << "TOKEN\0:toggle"_ba;
    QTest::newRow("command in capitals") << "TOKEN:TOGGLE"_ba;
    QTest::newRow("other command in capitals") << "TOKEN:Show-History"_ba;
    QTest::newRow("unknown command") << "TOKEN:quit"_ba;
    QTest::newRow("blank before the command") << "TOKEN: toggle"_ba;
    QTest::newRow("more behind the command") << "TOKEN:toggle now"_ba;
    QTest::newRow("zero behind the command") << "TOKEN:toggle\0"_ba;
    QTest::newRow("two colons") << "TOKEN::toggle"_ba;
    QTest::newRow("colon behind the command") << "TOKEN:toggle:"_ba;
    QTest::newRow("two commands") << "TOKEN:toggle\nTOKEN:toggle"_ba;
    QTest::newRow("100 kB of blanks") << "TOKEN:toggle"_ba + QByteArray(100000, ' ') + 'x';
    QTest::newRow("blanks only") << "  \n "_ba;
    QTest::newRow("two byte order marks") << "\xef\xbb\xbf\xef\xbb\xbfTOKEN:toggle"_ba;
    QTest::newRow("byte order mark behind the token") << "TOKEN\xef\xbb\xbf:toggle"_ba;
    QTest::newRow("broken UTF-8") << "\xff\xfe:toggle"_ba;
}

void ToggleChannelTest::otherMessageIsDropped()
{
    QFETCH(const QByteArray, message);
    GlobalHotkeyManager manager;
    manager.setupIpcServer(kName);
    const QSignalSpy toggled(&manager, &GlobalHotkeyManager::toggleRequested);
    const QSignalSpy shown(&manager, &GlobalHotkeyManager::showHistoryRequested);
    QByteArray sent = message;
    sendRaw(sent.replace("TOKEN", token()).replace("UPPER", token().toUpper()));
    QCOMPARE(toggled.count(), 0);
    QCOMPARE(shown.count(), 0);
    // And the server goes on.
    QVERIFY(GlobalHotkeyManager::sendToggleCommand(kName));
    QTRY_COMPARE(toggled.count(), 1);
}

void ToggleChannelTest::randomBytesAreDropped()
{
    GlobalHotkeyManager manager;
    manager.setupIpcServer(kName);
    const QSignalSpy toggled(&manager, &GlobalHotkeyManager::toggleRequested);
    const QSignalSpy shown(&manager, &GlobalHotkeyManager::showHistoryRequested);
    QRandomGenerator random(20240229);
    for (int i = 0; i < 300; ++i) {
        QByteArray bytes(random.bounded(1, 200), '\0');
        for (char& byte : bytes) {
            byte = static_cast<char>(random.bounded(256));
        }
        // Some of them with the beginning of a message.
        sendRaw(i % 3 == 0 ? token() + ':' + bytes : bytes);
    }
    QCOMPARE(toggled.count() + shown.count(), 0);
}

void ToggleChannelTest::messageInTwoPiecesIsLost()
{
    GlobalHotkeyManager manager;
    manager.setupIpcServer(kName);
    const QSignalSpy toggled(&manager, &GlobalHotkeyManager::toggleRequested);
    QLocalSocket socket;
    socket.connectToServer(kName);
    QVERIFY(socket.waitForConnected());
    socket.write(token() + ":tog");
    socket.flush();
    // After one read the server hangs up.
    QTRY_COMPARE(socket.state(), QLocalSocket::UnconnectedState);
    QCOMPARE(toggled.count(), 0);
    sendRaw("gle"_ba);
    QCOMPARE(toggled.count(), 0);
}

void ToggleChannelTest::twoMessagesOnOneConnectionAreLost()
{
    GlobalHotkeyManager manager;
    manager.setupIpcServer(kName);
    const QSignalSpy toggled(&manager, &GlobalHotkeyManager::toggleRequested);
    const QSignalSpy shown(&manager, &GlobalHotkeyManager::showHistoryRequested);
    sendRaw(token() + ":toggle" + token() + ":show-history");
    QCOMPARE(toggled.count(), 0);
    QCOMPARE(shown.count(), 0);
}

void ToggleChannelTest::manyCommandsAllArrive()
{
    GlobalHotkeyManager manager;
    manager.setupIpcServer(kName);
    const QSignalSpy toggled(&manager, &GlobalHotkeyManager::toggleRequested);
    const QSignalSpy shown(&manager, &GlobalHotkeyManager::showHistoryRequested);
    // All of them wait in the socket's queue before the server looks.
    for (int i = 0; i < 20; ++i) {
        QVERIFY(GlobalHotkeyManager::sendToggleCommand(kName));
        QVERIFY(GlobalHotkeyManager::sendShowHistoryCommand(kName));
    }
    QTRY_COMPARE(toggled.count(), 20);
    QTRY_COMPARE(shown.count(), 20);
}

void ToggleChannelTest::serverNeverAnswers()
{
    GlobalHotkeyManager manager;
    manager.setupIpcServer(kName);
    // Each compares what came back with nothing.
    sendRaw(token() + ":toggle");
    sendRaw(token() + ":what?");
    sendRaw("hello"_ba);
}

void ToggleChannelTest::connectionThatEndsAtOnceIsHarmless()
{
    GlobalHotkeyManager manager;
    manager.setupIpcServer(kName);
    const QSignalSpy toggled(&manager, &GlobalHotkeyManager::toggleRequested);
    for (int i = 0; i < 10; ++i) {
        QLocalSocket socket;
        socket.connectToServer(kName);
        QVERIFY(socket.waitForConnected());
        socket.abort();
    }
    QVERIFY(GlobalHotkeyManager::sendToggleCommand(kName));
    QTRY_COMPARE(toggled.count(), 1);
    QTRY_VERIFY(manager.findChildren<QLocalSocket*>().isEmpty());
}

void ToggleChannelTest::serverTakesOverTheNameOfACrashedOne()
{
    writeFile(socketPath(), "left behind"_ba);
    GlobalHotkeyManager manager;
    manager.setupIpcServer(kName);
    const QSignalSpy toggled(&manager, &GlobalHotkeyManager::toggleRequested);
    QVERIFY(GlobalHotkeyManager::sendToggleCommand(kName));
    QTRY_COMPARE(toggled.count(), 1);
}

void ToggleChannelTest::secondServerTakesOverFromALivingOne()
{
    GlobalHotkeyManager first;
    first.setupIpcServer(kName);
    const QSignalSpy toggledFirst(&first, &GlobalHotkeyManager::toggleRequested);
    GlobalHotkeyManager second;
    second.setupIpcServer(kName);
    const QSignalSpy toggledSecond(&second, &GlobalHotkeyManager::toggleRequested);
    QVERIFY(GlobalHotkeyManager::sendToggleCommand(kName));
    QTRY_COMPARE(toggledSecond.count(), 1);
    QCOMPARE(toggledFirst.count(), 0);
}

void ToggleChannelTest::impossibleNameIsLoggedAndStillMakesAToken()
{
    GlobalHotkeyManager manager;
    QTest::ignoreMessage(QtWarningMsg,
        QRegularExpression(u"^Failed to start IPC server: QLocalServer::listen: .+[^\"]$"_s));
    manager.setupIpcServer(homePath(u"missing/name"_s));
    QCOMPARE(token().size(), 36);
    QVERIFY(!GlobalHotkeyManager::sendToggleCommand(homePath(u"missing/name"_s)));
    QVERIFY(manager.findChild<QLocalServer*>() != nullptr);
    QVERIFY(!manager.findChild<QLocalServer*>()->isListening());
}

void ToggleChannelTest::tokenFromAnEarlierStartIsUseless()
{
    QByteArray earlier;
    {
        GlobalHotkeyManager manager;
        manager.setupIpcServer(kName);
        earlier = token();
    }
    GlobalHotkeyManager manager;
    manager.setupIpcServer(kName);
    const QSignalSpy toggled(&manager, &GlobalHotkeyManager::toggleRequested);
    sendRaw(earlier + ":toggle");
    QCOMPARE(toggled.count(), 0);
}

void ToggleChannelTest::tokenFileStaysBehind()
{
    {
        GlobalHotkeyManager manager;
        manager.setupIpcServer(kName);
    }
    QCOMPARE(token().size(), 36);
    QVERIFY(!GlobalHotkeyManager::sendToggleCommand(kName));
}

QTEST_GUILESS_MAIN(ToggleChannelTest)
#include "ToggleChannelTest.moc"
