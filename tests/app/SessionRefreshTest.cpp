#include "app/SessionTest.h"

#include <QDateTime>

#include <limits>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 kNowMs = 1'750'000'000'000;
constexpr qint64 kLeadMs = 300'000;

} // namespace

// When a session is refreshed, and what comes of it.
class SessionRefreshTest final : public SessionTest
{
    Q_OBJECT

private slots:
    void refreshDelay_data();
    void refreshDelay();
    void entrySchedulesByTheStoredExpiry();
    void entryWithoutAnExpirySchedulesNothing();
    void signInSchedulesByTheLifeOfTheSession_data();
    void signInSchedulesByTheLifeOfTheSession();
    void endlessLifeIsNoOverflow_data();
    void endlessLifeIsNoOverflow();
    void timerRefreshes();
    void refreshWithoutARefreshTokenDoesNothing();
    void refusedRefreshChangesNothing();
    void lostNetworkIsTriedAgain();
    void everyNetworkErrorHasARetryOfItsOwn();
    void retryAfterSignOutDoesNothing();
};

void SessionRefreshTest::refreshDelay_data()
{
    QTest::addColumn<qint64>("expiresAt");
    QTest::addColumn<int>("delay");
    QTest::newRow("an hour") << kNowMs + 3'600'000 << 3'300'000;
    QTest::newRow("just above a minute to wait") << kNowMs + kLeadMs + 60'001 << 60'001;
    QTest::newRow("a minute to wait") << kNowMs + kLeadMs + 60'000 << 60'000;
    QTest::newRow("just below a minute to wait") << kNowMs + kLeadMs + 59'999 << 60'000;
    QTest::newRow("a minute of life") << kNowMs + 60'000 << 60'000;
    QTest::newRow("now") << kNowMs << 60'000;
    QTest::newRow("past") << kNowMs - 1 << 60'000;
    QTest::newRow("the epoch") << qint64(1) << 60'000;
    QTest::newRow("the least number") << std::numeric_limits<qint64>::min() << 60'000;
    constexpr int kLongest = std::numeric_limits<int>::max();
    QTest::newRow("what a timer can wait") << kNowMs + kLeadMs + kLongest << kLongest;
    QTest::newRow("more than it can") << kNowMs + kLeadMs + kLongest + 1 << kLongest;
    QTest::newRow("the greatest number") << std::numeric_limits<qint64>::max() << kLongest;
}

void SessionRefreshTest::refreshDelay()
{
    QFETCH(qint64, expiresAt);
    QFETCH(int, delay);
    QCOMPARE(SessionLifecycle::refreshDelayMs(expiresAt, kNowMs), delay);
}

void SessionRefreshTest::entrySchedulesByTheStoredExpiry()
{
    // Six minutes are enough for a start, and less than the refresh wants.
    const qint64 expiresAt = QDateTime::currentMSecsSinceEpoch() + 360'000;
    store(tokenExpiringIn(360), u"refresh-1"_s, expiresAt);
    m_services->session.begin();
    QVERIFY(m_services->overlay.isVisible());
    QVERIFY(refreshTimer()->isActive());
    QVERIFY(refreshTimer()->isSingleShot());
    QCOMPARE(refreshTimer()->interval(), 60'000);
    QCOMPARE(m_services->authServer.requests().size(), 0);
}

void SessionRefreshTest::entryWithoutAnExpirySchedulesNothing()
{
    enter();
    QVERIFY(!refreshTimer()->isActive());
}

void SessionRefreshTest::signInSchedulesByTheLifeOfTheSession_data()
{
    QTest::addColumn<qint64>("expiresIn");
    QTest::addColumn<qint64>("delay");
    QTest::newRow("an hour") << qint64(3600) << qint64(3'300'000);
    QTest::newRow("a minute") << qint64(60) << qint64(60'000);
    QTest::newRow("none") << qint64(0) << qint64(60'000);
    QTest::newRow("negative") << qint64(-3600) << qint64(60'000);
}

void SessionRefreshTest::signInSchedulesByTheLifeOfTheSession()
{
    QFETCH(qint64, expiresIn);
    QFETCH(qint64, delay);
    m_services->authServer.answerWith({{200, sessionAnswer(tokenExpiringIn(3600), expiresIn)}});
    m_services->auth.signInWithEmail(u"me@example.org"_s, u"correct horse"_s);
    QTRY_VERIFY(refreshTimer()->isActive());
    QVERIFY2(isJustBelow(refreshTimer()->interval(), delay),
        QByteArray::number(refreshTimer()->interval()));
}

void SessionRefreshTest::endlessLifeIsNoOverflow_data()
{
    QTest::addColumn<qint64>("expiresIn");
    QTest::newRow("much") << (qint64(1) << 62);
    QTest::newRow("little") << -(qint64(1) << 62);
}

void SessionRefreshTest::endlessLifeIsNoOverflow()
{
    QFETCH(qint64, expiresIn);
    m_services->authServer.answerWith({{200, sessionAnswer(tokenExpiringIn(3600), expiresIn)}});
    m_services->auth.signInWithEmail(u"me@example.org"_s, u"correct horse"_s);
    QTRY_VERIFY(refreshTimer()->isActive());
    QCOMPARE(refreshTimer()->interval(), expiresIn > 0 ? std::numeric_limits<int>::max() : 60'000);
}

void SessionRefreshTest::timerRefreshes()
{
    enter();
    const QString token = tokenExpiringIn(7200);
    m_services->authServer.answerWith({{200, sessionAnswer(token)}});
    refresh();
    QTRY_COMPARE(m_services->settings.loadAuthTokens().accessToken, token);
    QCOMPARE(m_services->authServer.requests().first().body, R"({"refresh_token":"refresh-1"})"_ba);
    QCOMPARE(m_services->settings.loadAuthTokens().refreshToken, u"refresh-2"_s);
    QVERIFY(isJustBelow(refreshTimer()->interval(), 3'300'000));
    QVERIFY(refreshTimer()->isActive());
}

void SessionRefreshTest::refreshWithoutARefreshTokenDoesNothing()
{
    enter();
    m_services->authServer.answerWith({{200, sessionAnswer(tokenExpiringIn(7200), 3600, {})}});
    refresh();
    QTRY_COMPARE(m_services->settings.loadAuthTokens().refreshToken, QString());
    QSignalSpy fired(refreshTimer(), &QTimer::timeout);
    refresh();
    QVERIFY(fired.wait());
    QVERIFY(!m_services->auth.findChild<QNetworkReply*>());
    QCOMPARE(m_services->authServer.requests().size(), 1);
}

void SessionRefreshTest::refusedRefreshChangesNothing()
{
    enter();
    const QByteArray keys = readFile(m_services->settings.paths().keysFile);
    m_services->authServer.answerWith({{400, R"({"msg":"Invalid Refresh Token"})"}});
    QTest::ignoreMessage(
        QtWarningMsg, R"(Auth HTTP 400 response: {"msg":"Invalid Refresh Token"})");
    QTest::ignoreMessage(QtWarningMsg, "Auth failed: Invalid Refresh Token");
    QSignalSpy failed(&m_services->auth, &SupabaseAuthClient::authFailed);
    refresh();
    QVERIFY(failed.wait());
    QVERIFY(m_services->overlay.isVisible());
    QVERIFY(canDictate());
    QVERIFY(!isLoginShown());
    QVERIFY(!refreshTimer()->isActive());
    QCOMPARE(retryTimers().size(), 0);
    QCOMPARE(readFile(m_services->settings.paths().keysFile), keys);
}

void SessionRefreshTest::lostNetworkIsTriedAgain()
{
    enter();
    m_services->authServer.answerWith({{.drop = true}, {.drop = true}, {.drop = true},
        {200, sessionAnswer(tokenExpiringIn(7200))}});
    QTest::ignoreMessage(QtWarningMsg, "Auth network error: Connection closed");
    QTest::ignoreMessage(QtWarningMsg,
        "Auth network error (transient): Connection closed — will retry, keeping session");
    QSignalSpy lost(&m_services->auth, &SupabaseAuthClient::authNetworkError);
    refresh();
    QVERIFY(lost.wait());
    QVERIFY(m_services->overlay.isVisible());
    QVERIFY(canDictate());
    QCOMPARE(retryTimers().size(), 1);
    QCOMPARE(retryTimers().first()->interval(), 30'000);

    m_services->authServer.answerWith({{200, sessionAnswer(tokenExpiringIn(7200))}});
    retryTimers().first()->start(0);
    QTRY_COMPARE(m_services->settings.loadAuthTokens().refreshToken, u"refresh-2"_s);
    QCOMPARE(retryTimers().size(), 0);
}

void SessionRefreshTest::everyNetworkErrorHasARetryOfItsOwn()
{
    enter();
    m_services->authServer.close();
    QSignalSpy lost(&m_services->auth, &SupabaseAuthClient::authNetworkError);
    for (int round = 1; round <= 3; ++round) {
        QTest::ignoreMessage(QtWarningMsg, "Auth network error: Connection refused");
        QTest::ignoreMessage(QtWarningMsg,
            "Auth network error (transient): Connection refused — will retry, keeping session");
        refresh();
        QVERIFY(lost.wait());
        QCOMPARE(retryTimers().size(), round);
    }
}

void SessionRefreshTest::retryAfterSignOutDoesNothing()
{
    enter();
    m_services->authServer.close();
    QTest::ignoreMessage(QtWarningMsg, "Auth network error: Connection refused");
    QTest::ignoreMessage(QtWarningMsg,
        "Auth network error (transient): Connection refused — will retry, keeping session");
    QSignalSpy lost(&m_services->auth, &SupabaseAuthClient::authNetworkError);
    refresh();
    QVERIFY(lost.wait());
    m_services->overlay.requestLogout();
    QTimer* retry = retryTimers().value(0);
    QVERIFY(retry);
    retry->start(0);
    QTRY_COMPARE(retryTimers().size(), 0);
    QCOMPARE(lost.count(), 1);
}

QTEST_MAIN(SessionRefreshTest)
#include "SessionRefreshTest.moc"
