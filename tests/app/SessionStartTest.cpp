#include "app/SessionTest.h"

#include <QRegularExpression>

using namespace Qt::StringLiterals;

// What the user meets first.
class SessionStartTest final : public SessionTest
{
    Q_OBJECT

private slots:
    void validTokenEntersTheApplication();
    void startWithoutTokensShowsTheLoginWindow_data();
    void startWithoutTokensShowsTheLoginWindow();
    void startTouchesNoTokens();
    void tokenThatEndsSoonIsRefreshedAtStart_data();
    void tokenThatEndsSoonIsRefreshedAtStart();
    void answerAtStartDecides_data();
    void answerAtStartDecides();
    void startWithoutNetworkShowsTheLoginWindowAndKeepsTheTokens();
};

void SessionStartTest::validTokenEntersTheApplication()
{
    store(tokenExpiringIn(3600));
    QVERIFY(!isPolling());
    m_services->session.begin();
    QVERIFY(m_services->overlay.isVisible());
    QCOMPARE(m_services->overlay.userEmail(), u"me@example.org"_s);
    QVERIFY(isPolling());
    QVERIFY(!isLoginShown());
    QCOMPARE(m_services->authServer.requests().size(), 0);
}

void SessionStartTest::startWithoutTokensShowsTheLoginWindow_data()
{
    QTest::addColumn<QString>("token");
    QTest::newRow("none") << QString();
    QTest::newRow("no JWT") << u"secret"_s;
    QTest::newRow("no expiry") << tokenWithClaims("{}"_ba);
    QTest::newRow("expired") << tokenExpiringIn(-60);
    QTest::newRow("four minutes left") << tokenExpiringIn(240);
}

void SessionStartTest::startWithoutTokensShowsTheLoginWindow()
{
    QFETCH(QString, token);
    store(token, {});
    m_services->session.begin();
    QVERIFY(isLoginShown());
    QVERIFY(!m_services->overlay.isVisible());
    QVERIFY(!isPolling());
    QVERIFY(!QFile::exists(homePath(u"polls"_s)));

    // The gate of a dictation is the pipeline's key.
    m_services->pipeline.startRecordingExplicit();
    QCOMPARE(m_services->overlay.lastError(), u"Sign in to use Tarq."_s);
}

void SessionStartTest::startTouchesNoTokens()
{
    const QByteArray before = readFile(m_services->settings.paths().keysFile);
    m_services->session.begin();
    QCOMPARE(readFile(m_services->settings.paths().keysFile), before);
}

void SessionStartTest::tokenThatEndsSoonIsRefreshedAtStart_data()
{
    startWithoutTokensShowsTheLoginWindow_data();
}

void SessionStartTest::tokenThatEndsSoonIsRefreshedAtStart()
{
    QFETCH(QString, token);
    store(token);
    m_services->authServer.answerWith({{.silent = true}});
    m_services->session.begin();
    QTRY_COMPARE(m_services->authServer.requests().size(), 1);
    const HttpRequest request = m_services->authServer.requests().first();
    QCOMPARE(request.target, "/auth/v1/token?grant_type=refresh_token"_ba);
    QCOMPARE(request.body, R"({"refresh_token":"refresh-1"})"_ba);
    // Until the answer is there, nothing is decided.
    QVERIFY(!isLoginShown());
    QVERIFY(!m_services->overlay.isVisible());
    QVERIFY(!canDictate());
}

void SessionStartTest::answerAtStartDecides_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<bool>("enters");
    QTest::newRow("a session") << 200 << true;
    QTest::newRow("refused") << 400 << false;
    QTest::newRow("broken") << 500 << false;
}

void SessionStartTest::answerAtStartDecides()
{
    QFETCH(int, status);
    QFETCH(bool, enters);
    store(tokenExpiringIn(-60));
    const QByteArray keys = readFile(m_services->settings.paths().keysFile);
    const QByteArray body = enters ? sessionAnswer(tokenExpiringIn(3600)) : "{}"_ba;
    m_services->authServer.answerWith({{status, body}});
    if (!enters) {
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"^Auth HTTP %1 "_s.arg(status)));
        QTest::ignoreMessage(QtWarningMsg, "Auth failed: Authentication failed");
    }
    m_services->session.begin();
    QTRY_COMPARE(m_services->overlay.isVisible(), enters);
    QTRY_COMPARE(isLoginShown(), !enters);
    QCOMPARE(canDictate(), enters);
    QCOMPARE(readFile(m_services->settings.paths().keysFile) == keys, !enters);
}

void SessionStartTest::startWithoutNetworkShowsTheLoginWindowAndKeepsTheTokens()
{
    store(tokenExpiringIn(-60));
    const QByteArray keys = readFile(m_services->settings.paths().keysFile);
    m_services->authServer.close();
    QTest::ignoreMessage(QtWarningMsg, "Auth network error: Connection refused");
    QTest::ignoreMessage(QtWarningMsg,
        "Auth network error (transient): Connection refused — will retry, keeping session");
    m_services->session.begin();
    QTRY_VERIFY(isLoginShown());
    QCOMPARE(readFile(m_services->settings.paths().keysFile), keys);
    QCOMPARE(retryTimers().size(), 0);
}

QTEST_MAIN(SessionStartTest)
#include "SessionStartTest.moc"
