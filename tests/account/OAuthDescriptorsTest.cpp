#include "account/BrowserTest.h"
#include "account/FailingAccept.h"

#include <QAbstractEventDispatcher>
#include <QEventLoop>
#include <QTimer>

#include <vector>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

// A client that takes no part in the event loop.
class Visitor final
{
public:
    Visitor()
        : m_socket(::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0))
    {
    }
    ~Visitor() { ::close(m_socket); }
    Q_DISABLE_COPY_MOVE(Visitor)

    void connectTo(quint16 port) const
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        ::connect(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address));
    }

    /// False until there is a connection.
    [[nodiscard]] bool send(const QByteArray& bytes) const
    {
        return ::send(m_socket, bytes.constData(), static_cast<size_t>(bytes.size()), MSG_NOSIGNAL)
            == bytes.size();
    }

    /// Everything that has come since the last call.
    [[nodiscard]] QByteArray receive() const
    {
        QByteArray bytes(4096, '\0');
        const ssize_t count = ::recv(m_socket, bytes.data(), static_cast<size_t>(bytes.size()), 0);
        bytes.truncate(qMax<qsizetype>(count, 0));
        return bytes;
    }

private:
    int m_socket;
};

// How often the event loop turns during a second in which nobody asks it to.
int turnsOfASecond()
{
    QEventLoop loop;
    int turns = 0;
    QObject::connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::awake, &loop,
        [&]() { ++turns; });
    QTimer::singleShot(1000, &loop, &QEventLoop::quit);
    loop.exec();
    return turns;
}

} // namespace

// A process that has no descriptor left for a connection that waits.
class OAuthDescriptorsTest final : public BrowserTest
{
    Q_OBJECT

private slots:
    void redirectGetsThroughAFlood();
    void connectionWaitsForADescriptor();
    void redirectMakesRoomForItself();

private:
    static void expectShortage();
    /// Qt only takes a shortage for one while nothing has been accepted before.
    void acceptOne(quint16 port);
};

void OAuthDescriptorsTest::expectShortage()
{
    QTest::ignoreMessage(QtWarningMsg, "OAuth: no descriptor left for a connection");
}

void OAuthDescriptorsTest::acceptOne(quint16 port)
{
    const auto visitor = connectTo(port);
    QTRY_COMPARE(acceptedSockets(), 1);
    visitor->disconnectFromHost();
    QTest::ignoreMessage(QtWarningMsg, "OAuth socket error: 1");
    QTRY_COMPARE(acceptedSockets(), 0);
}

void OAuthDescriptorsTest::redirectGetsThroughAFlood()
{
    m_server->answerWith({{200, kSession}});
    const quint16 port = startFlow();
    const FailingAccept failing(port, 20);
    const std::vector<Visitor> flood(500);
    acceptOne(port);
    expectShortage();
    for (const Visitor& visitor : flood) {
        visitor.connectTo(port);
    }
    const int turns = turnsOfASecond();
    QVERIFY2(turns < 1000, qPrintable(QString::number(turns)));
    QVERIFY(acceptedSockets() > 0);

    const Visitor browser;
    browser.connectTo(port);
    QTRY_VERIFY_WITH_TIMEOUT(browser.send(get("/callback?code=c")), 30000);
    QByteArray answer;
    QTRY_COMPARE_WITH_TIMEOUT(answer += browser.receive(), kSuccessResponse, 30000);
    QCOMPARE(outcome(), kSuccess);
    // They have made room for the exchange.
    QTRY_COMPARE(acceptedSockets(), 0);
}

void OAuthDescriptorsTest::connectionWaitsForADescriptor()
{
    m_server->answerWith({{200, kSession}});
    const quint16 port = startFlow();
    FailingAccept failing(port, 1);
    acceptOne(port);
    failing.setMost(0);
    expectShortage();
    const Visitor browser;
    browser.connectTo(port);
    QVERIFY(browser.send(get("/callback?code=c")));
    const int turns = turnsOfASecond();
    QVERIFY2(turns < 200, qPrintable(QString::number(turns)));
    QCOMPARE(browser.receive(), QByteArray());

    failing.setMost(1);
    QByteArray answer;
    QTRY_COMPARE(answer += browser.receive(), kSuccessResponse);
    QCOMPARE(outcome(), kSuccess);
}

void OAuthDescriptorsTest::redirectMakesRoomForItself()
{
    m_server->answerWith({{200, kSession}});
    const quint16 port = startFlow();
    const FailingAccept failing(port, 2);
    const Visitor silent;
    const Visitor another;
    const Visitor browser;
    silent.connectTo(port);
    another.connectTo(port);
    QTRY_COMPARE(acceptedSockets(), 2);
    expectShortage();
    browser.connectTo(port);
    QVERIFY(browser.send(get("/callback?code=c")));
    QByteArray answer;
    QTRY_COMPARE(answer += browser.receive(), kSuccessResponse);
    QCOMPARE(outcome(), kSuccess);
}

QTEST_MAIN(OAuthDescriptorsTest)
#include "OAuthDescriptorsTest.moc"
