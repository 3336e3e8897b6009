#include "account/BrowserTest.h"
#include "account/FailingBind.h"
#include "support/RecordedLog.h"
#include "support/RunningTimers.h"

#include <QEventLoop>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

// How a flow gets its port, and how it ends.
class OAuthLifecycleTest final : public BrowserTest
{
    Q_OBJECT

private slots:
    void otherAddressesAreTried_data();
    void otherAddressesAreTried();
    void flowFailsWithoutAnyListener();
    void secondStartEndsTheFirstInSilence();
    void secondStartInASignalIsAFlowOfItsOwn();
    void firstFlowIsDeafUntilItIsGone();
    void firstFlowsTimerLeavesTheSecondAlone();
    void timeoutDiesWithItsListener();
    void timeoutIsTwoMinutes();
    void timeoutClosesTheListener();
    void earlierSocketIsServedAfterTheTimeout();
    void timeoutOfAFinishedFlowDoesNothing();
    void timeoutAfterADestructionDoesNothing();
    void destructionInTheMiddleOfAFlowIsSafe();
};

void OAuthLifecycleTest::otherAddressesAreTried_data()
{
    QTest::addColumn<QStringList>("refused");
    QTest::addColumn<QHostAddress>("bound");
    QTest::newRow("::1") << QStringList{u"127.0.0.1"_s}
                         << QHostAddress(QHostAddress::LocalHostIPv6);
    QTest::newRow("any") << QStringList{u"127.0.0.1"_s, u"::1"_s}
                         << QHostAddress(QHostAddress::Any);
}

void OAuthLifecycleTest::otherAddressesAreTried()
{
    QFETCH(QStringList, refused);
    QFETCH(QHostAddress, bound);
    m_server->answerWith({{200, kSession}});
    const FailingBind failing(refused);
    QTest::ignoreMessage(QtWarningMsg, "OAuth: failed to bind 127.0.0.1 — trying ::1 ...");
    if (refused.size() == 2) {
        QTest::ignoreMessage(QtWarningMsg, "OAuth: failed to bind ::1 — trying any local ...");
    }
    const RecordedLog log;
    const quint16 port = startFlow();
    QCOMPARE(listener()->serverAddress(), bound);
    QCOMPARE(listener()->serverPort(), port);
    QVERIFY(log.lines().contains(
        "info: OAuth listener bound on 127.0.0.1: "_L1 + QString::number(port)));

    QTcpSocket socket;
    socket.connectToHost(QHostAddress(QHostAddress::LocalHostIPv6), port);
    socket.write(get("/callback?code=c"));
    QVERIFY(QTest::qWaitFor([&]() { return socket.state() == QAbstractSocket::ConnectedState; }));
    QCOMPARE(readToEnd(socket), kSuccessResponse);
    QCOMPARE(outcome(), kSuccess);
}

void OAuthLifecycleTest::flowFailsWithoutAnyListener()
{
    const int timers = runningTimers(120000);
    {
        const FailingBind failing({u"127.0.0.1"_s, u"::1"_s, u"::"_s, u"0.0.0.0"_s});
        QTest::ignoreMessage(QtWarningMsg, "OAuth: failed to bind 127.0.0.1 — trying ::1 ...");
        QTest::ignoreMessage(QtWarningMsg, "OAuth: failed to bind ::1 — trying any local ...");
        QTest::ignoreMessage(QtCriticalMsg,
            "OAuth: cannot start any local TCP listener: The address is not available");
        m_client->startOAuth(u"google"_s);
        QCOMPARE(m_outcomes,
            QStringList{u"failed: Cannot start local sign-in listener. Check firewall (allow "
                        "loopback) or try email/password sign-in."_s});
        QCOMPARE(m_opened.size(), 0);
        QCOMPARE(runningTimers(120000), timers);
    }
    m_outcomes.clear();
    m_server->answerWith({{200, kSession}});
    QCOMPARE(visit(startFlow(), get("/callback?code=c")), kSuccessResponse);
    QCOMPARE(outcome(), kSuccess);
}

void OAuthLifecycleTest::secondStartEndsTheFirstInSilence()
{
    m_server->answerWith({{200, kSession}});
    const quint16 firstPort = startFlow();
    const QByteArray firstChallenge = challenge();
    const auto early = connectTo(firstPort);
    QTRY_COMPARE(acceptedSockets(), 1);

    const quint16 secondPort = startFlow();
    QVERIFY(secondPort != firstPort);
    QVERIFY(challenge() != firstChallenge);
    QCOMPARE(readToEnd(*early), ""_ba);
    QVERIFY(isRefused(firstPort));
    QTRY_COMPARE(m_client->findChildren<QTcpServer*>().size(), 1);
    QCOMPARE(m_outcomes, QStringList());

    QCOMPARE(visit(secondPort, get("/callback?code=c")), kSuccessResponse);
    QCOMPARE(outcome(), kSuccess);
    const QByteArray verifier = exchangedVerifier(m_server->requests().first());
    QCOMPARE(challenge(), challengeFor(verifier));
}

void OAuthLifecycleTest::secondStartInASignalIsAFlowOfItsOwn()
{
    m_server->answerWith({{200, kSession}});
    connect(m_client.get(), &SupabaseAuthClient::authFailed, this,
        [this]() { m_client->startOAuth(u"github"_s); });
    QCOMPARE(visit(startFlow(), get("/favicon.ico")), kFailureResponse);
    QCOMPARE(m_opened.size(), 2);
    QCOMPARE(visit(redirectPort(), get("/callback?code=c")), kSuccessResponse);
    QTRY_COMPARE(m_outcomes, (QStringList{kCancelled, kSuccess}));
}

void OAuthLifecycleTest::firstFlowIsDeafUntilItIsGone()
{
    const auto early = connectTo(startFlow());
    QTRY_COMPARE(acceptedSockets(), 1);
    QTimer::singleShot(0, m_client.get(), [&]() {
        m_client->startOAuth(u"github"_s);
        // In a loop inside of the event that it was started in, Qt 6.4 deletes nothing yet.
        early->write(get("/callback?code=c"));
        QEventLoop loop;
        const auto* socket = m_client->findChild<QTcpSocket*>();
        connect(socket, &QTcpSocket::readyRead, &loop, &QEventLoop::quit);
        connect(early.get(), &QTcpSocket::disconnected, &loop, &QEventLoop::quit);
        loop.exec();
    });
    QCOMPARE(readToEnd(*early), ""_ba);
    QCOMPARE(m_outcomes, QStringList());
    QCOMPARE(m_server->requests().size(), 0);
    QVERIFY(listener()->isListening());
}

void OAuthLifecycleTest::firstFlowsTimerLeavesTheSecondAlone()
{
    constexpr int kTimeoutMs = 2000;
    const int before = runningTimers(kTimeoutMs);
    setTimeout(std::chrono::milliseconds(kTimeoutMs));
    bool ended = false;
    QTimer::singleShot(0, m_client.get(), [&]() {
        startFlow();
        QEventLoop loop;
        QTimer::singleShot(kTimeoutMs / 2, &loop, &QEventLoop::quit);
        loop.exec();
        startFlow();
        QTimer poll;
        connect(&poll, &QTimer::timeout, &loop, [&]() {
            if (runningTimers(kTimeoutMs) <= before + 1) {
                loop.quit();
            }
        });
        poll.start(10);
        // The first listener isn't deleted in here, so its timer still fires.
        loop.exec();
        QVERIFY(listener()->isListening());
        QCOMPARE(m_outcomes, QStringList());
        ended = true;
    });
    QTRY_VERIFY_WITH_TIMEOUT(ended, 30000);
}

void OAuthLifecycleTest::timeoutDiesWithItsListener()
{
    constexpr int kTimeoutMs = 1000;
    const int before = runningTimers(kTimeoutMs);
    setTimeout(std::chrono::milliseconds(kTimeoutMs));
    startFlow();
    startFlow();
    QTRY_COMPARE(m_client->findChildren<QTcpServer*>().size(), 1);
    QCOMPARE(runningTimers(kTimeoutMs), before + 2);
    QTest::ignoreMessage(
        QtWarningMsg, "OAuth: timed out waiting for callback (browser may have been blocked)");
    QCOMPARE(outcome(), kTimedOut);
    QTRY_COMPARE(runningTimers(kTimeoutMs), before);
    QCOMPARE(m_outcomes, QStringList{kTimedOut});
}

void OAuthLifecycleTest::timeoutIsTwoMinutes()
{
    constexpr int kTwoMinutesMs = 120000;
    const int before = runningTimers(kTwoMinutesMs);
    startFlow();
    QCOMPARE(runningTimers(kTwoMinutesMs), before + 1);
}

void OAuthLifecycleTest::timeoutClosesTheListener()
{
    m_server->answerWith({{200, kSession}});
    setTimeout(2s);
    const quint16 port = startFlow();
    QTest::ignoreMessage(
        QtWarningMsg, "OAuth: timed out waiting for callback (browser may have been blocked)");
    QCOMPARE(outcome(), kTimedOut);
    QVERIFY(isRefused(port));
    QCOMPARE(m_client->findChildren<QTcpServer*>().size(), 1);

    m_outcomes.clear();
    QCOMPARE(visit(startFlow(), get("/callback?code=c")), kSuccessResponse);
    QCOMPARE(outcome(), kSuccess);
    QCOMPARE(m_client->findChildren<QTcpServer*>().size(), 1);
}

void OAuthLifecycleTest::earlierSocketIsServedAfterTheTimeout()
{
    m_server->answerWith({{200, kSession}});
    setTimeout(1s);
    const auto early = connectTo(startFlow());
    QTRY_COMPARE(acceptedSockets(), 1);
    QTest::ignoreMessage(
        QtWarningMsg, "OAuth: timed out waiting for callback (browser may have been blocked)");
    QCOMPARE(outcome(), kTimedOut);
    early->write(get("/callback?code=c"));
    QCOMPARE(readToEnd(*early), kSuccessResponse);
    QTRY_COMPARE(m_outcomes, (QStringList{kTimedOut, kSuccess}));
}

void OAuthLifecycleTest::timeoutOfAFinishedFlowDoesNothing()
{
    constexpr int kTimeoutMs = 1000;
    setTimeout(std::chrono::milliseconds(kTimeoutMs));
    m_server->answerWith({{200, kSession}});
    const quint16 port = startFlow();
    bool later = false;
    QTimer::singleShot(kTimeoutMs, this, [&]() { later = true; });
    QCOMPARE(visit(port, get("/callback?code=c")), kSuccessResponse);
    QCOMPARE(outcome(), kSuccess);
    QTRY_VERIFY(later);
    QCOMPARE(m_outcomes, QStringList{kSuccess});
}

void OAuthLifecycleTest::timeoutAfterADestructionDoesNothing()
{
    setTimeout(50ms);
    startFlow();
    bool later = false;
    QTimer::singleShot(50, this, [&]() { later = true; });
    m_client.reset();
    QTRY_VERIFY(later);
    QCOMPARE(m_outcomes, QStringList());
}

void OAuthLifecycleTest::destructionInTheMiddleOfAFlowIsSafe()
{
    m_server->answerWith({noAnswer()});
    const quint16 port = startFlow();
    const auto silent = connectTo(port);
    const auto unfinished = connectTo(port);
    unfinished->write("GET /callback?co");
    QTRY_COMPARE(acceptedSockets(), 2);
    QCOMPARE(visit(port, get("/callback?code=c")), kSuccessResponse);
    QTRY_COMPARE(m_server->requests().size(), 1);
    m_client.reset();
    QCOMPARE(readToEnd(*silent), ""_ba);
    QCOMPARE(readToEnd(*unfinished), ""_ba);
    QCOMPARE(m_outcomes, QStringList());
}

QTEST_MAIN(OAuthLifecycleTest)
#include "OAuthLifecycleTest.moc"
