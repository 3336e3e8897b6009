#include "app/Services.h"
#include "support/TarqTest.h"

#include <QDateTime>
#include <QJsonDocument>
#include <QJsonObject>
#include <QQmlExtensionPlugin>
#include <QRegularExpression>
#include <QTimer>

#include <limits>

Q_IMPORT_QML_PLUGIN(TarqLinuxPlugin)

using namespace Qt::StringLiterals;

namespace {

const QString kLoginTitle = u"Tarq — Sign In"_s;
constexpr qint64 kNowMs = 1'750'000'000'000;
constexpr qint64 kLeadMs = 300'000;

QByteArray sessionAnswer(const QString& accessToken, qint64 expiresIn = 3600,
    const QString& refreshToken = u"refresh-2"_s)
{
    return QJsonDocument(
        QJsonObject{
            {u"access_token"_s, accessToken},
            {u"refresh_token"_s, refreshToken},
            {u"expires_in"_s, expiresIn},
            {u"user"_s, QJsonObject{{u"id"_s, u"user-1"_s}, {u"email"_s, u"me@example.org"_s}}},
        })
        .toJson();
}

// The times of a test that runs a moment after what it looks at.
bool isJustBelow(qint64 value, qint64 limit)
{
    return value <= limit && value > limit - 5000;
}

} // namespace

class SessionLifecycleTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void validTokenEntersTheApplication();
    void startWithoutTokensShowsTheLoginWindow_data();
    void startWithoutTokensShowsTheLoginWindow();
    void startTouchesNoTokens();
    void tokenThatEndsSoonIsRefreshedAtStart_data();
    void tokenThatEndsSoonIsRefreshedAtStart();
    void answerAtStartDecides_data();
    void answerAtStartDecides();
    void startWithoutNetworkShowsTheLoginWindowAndKeepsTheTokens();

    void refreshDelay_data();
    void refreshDelay();
    void entrySchedulesByTheStoredExpiry();
    void entryWithoutAnExpirySchedulesNothing();
    void signInStoresTheSession();
    void signInClosesTheLoginWindow();
    void signInSchedulesByTheLifeOfTheSession_data();
    void signInSchedulesByTheLifeOfTheSession();
    void endlessLifeIsNoOverflow_data();
    void endlessLifeIsNoOverflow();
    void secondEntryStartsNothingAnew();

    void timerRefreshes();
    void refreshWithoutARefreshTokenDoesNothing();
    void refusedRefreshChangesNothing();
    void lostNetworkIsTriedAgain();
    void everyNetworkErrorHasARetryOfItsOwn();
    void retryAfterSignOutDoesNothing();

    void refusedTokenEndsTheSession();
    void signOutEndsTheSession();
    void signOutWithoutTokensShowsTheLoginWindow();
    void signOutAndInAgainKeepsTheBubble();
    void refreshThatEndsAfterTheSignOutSignsInAgain();
    void wrongPasswordShowsNoSecondLoginWindow();

private:
    void store(const QString& accessToken, const QString& refreshToken = u"refresh-1"_s,
        qint64 expiresAt = 0);
    void enter();
    void refresh();
    [[nodiscard]] bool isPolling() const;
    [[nodiscard]] bool canDictate();
    [[nodiscard]] QTimer* refreshTimer() const;
    [[nodiscard]] QList<QTimer*> retryTimers() const;
    static bool isLoginShown();

    std::unique_ptr<ScopedVariable> m_path;
    std::unique_ptr<Services> m_services;
};

void SessionLifecycleTest::init()
{
    TarqTest::init();
    // An xdotool that sees no window, and writes down that it was asked.
    const QString tool = homePath(u"bin/xdotool"_s);
    writeFile(tool, "#!/bin/sh\necho asked >> \"$HOME/polls\"\nexit 1\n");
    QVERIFY(QFile::setPermissions(tool, QFile::ReadOwner | QFile::ExeOwner));
    m_path = std::make_unique<ScopedVariable>(
        "PATH", QFile::encodeName(homePath(u"bin"_s)) + ":/usr/bin:/bin");
    m_services = std::make_unique<Services>();
}

void SessionLifecycleTest::cleanup()
{
    m_services.reset();
    Services::removeRemains();
    m_path.reset();
    TarqTest::cleanup();
}

void SessionLifecycleTest::store(
    const QString& accessToken, const QString& refreshToken, qint64 expiresAt)
{
    SettingsStore::AuthTokens tokens;
    tokens.accessToken = accessToken;
    tokens.refreshToken = refreshToken;
    tokens.expiresAt = expiresAt;
    tokens.userId = u"user-1"_s;
    tokens.userEmail = u"me@example.org"_s;
    m_services->settings.saveAuthTokens(tokens);
}

void SessionLifecycleTest::enter()
{
    store(tokenExpiringIn(3600));
    m_services->session.begin();
    QVERIFY(m_services->overlay.isVisible());
}

// Lets the timer fire now.
void SessionLifecycleTest::refresh()
{
    refreshTimer()->start(0);
}

bool SessionLifecycleTest::isPolling() const
{
    return m_services->focusMonitor.findChild<QTimer*>(u"pollTimer"_s)->isActive();
}

bool SessionLifecycleTest::canDictate()
{
    m_services->pipeline.startRecordingExplicit();
    return m_services->overlay.state() == OverlayStateModel::State::Recording;
}

QTimer* SessionLifecycleTest::refreshTimer() const
{
    return m_services->session.findChild<QTimer*>(u"refreshTimer"_s);
}

QList<QTimer*> SessionLifecycleTest::retryTimers() const
{
    return m_services->session.findChildren<QTimer*>(u"retryTimer"_s);
}

bool SessionLifecycleTest::isLoginShown()
{
    const QList<QWindow*> windows = Services::windowsTitled(kLoginTitle);
    return windows.size() == 1 && windows.first()->isVisible();
}

void SessionLifecycleTest::validTokenEntersTheApplication()
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

void SessionLifecycleTest::startWithoutTokensShowsTheLoginWindow_data()
{
    QTest::addColumn<QString>("token");
    QTest::newRow("none") << QString();
    QTest::newRow("no JWT") << u"secret"_s;
    QTest::newRow("no expiry") << tokenWithClaims("{}"_ba);
    QTest::newRow("expired") << tokenExpiringIn(-60);
    QTest::newRow("four minutes left") << tokenExpiringIn(240);
}

void SessionLifecycleTest::startWithoutTokensShowsTheLoginWindow()
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

void SessionLifecycleTest::startTouchesNoTokens()
{
    const QByteArray before = readFile(m_services->settings.paths().keysFile);
    m_services->session.begin();
    QCOMPARE(readFile(m_services->settings.paths().keysFile), before);
}

void SessionLifecycleTest::tokenThatEndsSoonIsRefreshedAtStart_data()
{
    startWithoutTokensShowsTheLoginWindow_data();
}

void SessionLifecycleTest::tokenThatEndsSoonIsRefreshedAtStart()
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

void SessionLifecycleTest::answerAtStartDecides_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<bool>("enters");
    QTest::newRow("a session") << 200 << true;
    QTest::newRow("refused") << 400 << false;
    QTest::newRow("broken") << 500 << false;
}

void SessionLifecycleTest::answerAtStartDecides()
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

void SessionLifecycleTest::startWithoutNetworkShowsTheLoginWindowAndKeepsTheTokens()
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

void SessionLifecycleTest::refreshDelay_data()
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

void SessionLifecycleTest::refreshDelay()
{
    QFETCH(qint64, expiresAt);
    QFETCH(int, delay);
    QCOMPARE(SessionLifecycle::refreshDelayMs(expiresAt, kNowMs), delay);
}

void SessionLifecycleTest::entrySchedulesByTheStoredExpiry()
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

void SessionLifecycleTest::entryWithoutAnExpirySchedulesNothing()
{
    enter();
    QVERIFY(!refreshTimer()->isActive());
}

void SessionLifecycleTest::signInStoresTheSession()
{
    m_services->session.begin();
    const QString token = tokenExpiringIn(3600);
    m_services->authServer.answerWith({{200, sessionAnswer(token)}});
    m_services->auth.signInWithEmail(u"me@example.org"_s, u"correct horse"_s);
    QTRY_VERIFY(m_services->overlay.isVisible());

    const SettingsStore::AuthTokens tokens = m_services->settings.loadAuthTokens();
    QCOMPARE(tokens.accessToken, token);
    QCOMPARE(tokens.refreshToken, u"refresh-2"_s);
    QCOMPARE(tokens.userId, u"user-1"_s);
    QCOMPARE(tokens.userEmail, u"me@example.org"_s);
    QVERIFY(isJustBelow(tokens.expiresAt, QDateTime::currentMSecsSinceEpoch() + 3'600'000));
    QCOMPARE(m_services->overlay.userEmail(), u"me@example.org"_s);
    QVERIFY(canDictate());
}

void SessionLifecycleTest::signInClosesTheLoginWindow()
{
    m_services->session.begin();
    QVERIFY(isLoginShown());
    m_services->authServer.answerWith({{200, sessionAnswer(tokenExpiringIn(3600))}});
    m_services->auth.signInWithEmail(u"me@example.org"_s, u"correct horse"_s);
    QTRY_COMPARE(Services::windowsTitled(kLoginTitle).size(), 0);
}

void SessionLifecycleTest::signInSchedulesByTheLifeOfTheSession_data()
{
    QTest::addColumn<qint64>("expiresIn");
    QTest::addColumn<qint64>("delay");
    QTest::newRow("an hour") << qint64(3600) << qint64(3'300'000);
    QTest::newRow("a minute") << qint64(60) << qint64(60'000);
    QTest::newRow("none") << qint64(0) << qint64(60'000);
    QTest::newRow("negative") << qint64(-3600) << qint64(60'000);
}

void SessionLifecycleTest::signInSchedulesByTheLifeOfTheSession()
{
    QFETCH(qint64, expiresIn);
    QFETCH(qint64, delay);
    m_services->authServer.answerWith({{200, sessionAnswer(tokenExpiringIn(3600), expiresIn)}});
    m_services->auth.signInWithEmail(u"me@example.org"_s, u"correct horse"_s);
    QTRY_VERIFY(refreshTimer()->isActive());
    QVERIFY2(isJustBelow(refreshTimer()->interval(), delay),
        QByteArray::number(refreshTimer()->interval()));
}

void SessionLifecycleTest::endlessLifeIsNoOverflow_data()
{
    QTest::addColumn<qint64>("expiresIn");
    QTest::newRow("much") << (qint64(1) << 62);
    QTest::newRow("little") << -(qint64(1) << 62);
}

void SessionLifecycleTest::endlessLifeIsNoOverflow()
{
    QFETCH(qint64, expiresIn);
    m_services->authServer.answerWith({{200, sessionAnswer(tokenExpiringIn(3600), expiresIn)}});
    m_services->auth.signInWithEmail(u"me@example.org"_s, u"correct horse"_s);
    QTRY_VERIFY(refreshTimer()->isActive());
    QCOMPARE(refreshTimer()->interval(), expiresIn > 0 ? std::numeric_limits<int>::max() : 60'000);
}

void SessionLifecycleTest::secondEntryStartsNothingAnew()
{
    enter();
    m_services->focusMonitor.stop();
    const QByteArray polls = readFile(homePath(u"polls"_s));
    const qsizetype windows = QGuiApplication::allWindows().size();

    m_services->session.enterApp();
    QVERIFY(!isPolling());
    QCOMPARE(readFile(homePath(u"polls"_s)), polls);
    QCOMPARE(QGuiApplication::allWindows().size(), windows);
    QVERIFY(!refreshTimer()->isActive());
}

void SessionLifecycleTest::timerRefreshes()
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

void SessionLifecycleTest::refreshWithoutARefreshTokenDoesNothing()
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

void SessionLifecycleTest::refusedRefreshChangesNothing()
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

void SessionLifecycleTest::lostNetworkIsTriedAgain()
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

void SessionLifecycleTest::everyNetworkErrorHasARetryOfItsOwn()
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

void SessionLifecycleTest::retryAfterSignOutDoesNothing()
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

void SessionLifecycleTest::refusedTokenEndsTheSession()
{
    store(tokenExpiringIn(3600), u"refresh-1"_s, QDateTime::currentMSecsSinceEpoch() + 3'600'000);
    m_services->session.begin();
    m_services->windows.showHistory();
    m_services->windows.showProfile();
    emit m_services->pipeline.authRequired();

    // The server has refused the token already, and isn't told.
    QVERIFY(qApp->findChildren<QNetworkAccessManager*>(Qt::FindDirectChildrenOnly).isEmpty());
    QCOMPARE(m_services->settings.loadAuthTokens().accessToken, QString());
    QCOMPARE(m_services->settings.loadAuthTokens().refreshToken, QString());
    QCOMPARE(m_services->overlay.lastError(), u"Session expired — sign in again."_s);
    QCOMPARE(m_services->overlay.userEmail(), QString());
    QVERIFY(!m_services->overlay.isVisible());
    QVERIFY(!refreshTimer()->isActive());
    QVERIFY(isLoginShown());
    // The bubble and the history window, both of that title.
    for (QWindow* window : Services::windowsTitled(u"Tarq"_s)) {
        QVERIFY(!window->isVisible());
    }
    QCOMPARE(Services::windowsTitled(u"Tarq — Profile"_s).size(), 1);
    QVERIFY(!canDictate());
}

void SessionLifecycleTest::signOutEndsTheSession()
{
    store(tokenExpiringIn(3600), u"refresh-1"_s, QDateTime::currentMSecsSinceEpoch() + 3'600'000);
    m_services->session.begin();
    m_services->windows.showHistory();
    m_services->windows.showProfile();
    m_services->windows.showSettings();
    m_services->windows.showAbout();
    m_services->overlay.requestLogout();

    QCOMPARE(m_services->settings.loadAuthTokens().accessToken, QString());
    QCOMPARE(m_services->overlay.lastError(), QString());
    QCOMPARE(m_services->overlay.userEmail(), QString());
    QVERIFY(!m_services->overlay.isVisible());
    QVERIFY(!refreshTimer()->isActive());
    QVERIFY(isLoginShown());
    for (QWindow* window : Services::windowsTitled(u"Tarq"_s)) {
        QVERIFY(!window->isVisible());
    }
    QTRY_COMPARE(Services::windowsTitled(u"Tarq — Profile"_s).size(), 0);
    QVERIFY(Services::windowsTitled(u"Tarq — Settings"_s).first()->isVisible());
    QVERIFY(Services::windowsTitled(u"Tarq — About"_s).first()->isVisible());
    QVERIFY(!canDictate());
}

void SessionLifecycleTest::signOutWithoutTokensShowsTheLoginWindow()
{
    m_services->overlay.requestLogout();
    QVERIFY(isLoginShown());
    m_services->overlay.requestLogout();
    QVERIFY(isLoginShown());
    QVERIFY(!qApp->findChild<QNetworkAccessManager*>());
}

void SessionLifecycleTest::signOutAndInAgainKeepsTheBubble()
{
    enter();
    const QList<QWindow*> windows = Services::windowsTitled(u"Tarq"_s);
    m_services->overlay.requestLogout();
    m_services->authServer.answerWith({{200, sessionAnswer(tokenExpiringIn(3600))}});
    m_services->auth.signInWithEmail(u"me@example.org"_s, u"correct horse"_s);
    QTRY_VERIFY(m_services->overlay.isVisible());
    QCOMPARE(Services::windowsTitled(u"Tarq"_s), windows);
}

// Nothing tells the answer that it comes too late.
void SessionLifecycleTest::refreshThatEndsAfterTheSignOutSignsInAgain()
{
    enter();
    m_services->authServer.answerWith({{200, sessionAnswer(tokenExpiringIn(3600))}});
    QSignalSpy asked(&m_services->authServer, &HttpServer::requestReceived);
    refresh();
    QVERIFY(asked.wait());
    m_services->overlay.requestLogout();
    QVERIFY(!m_services->overlay.isVisible());
    QTRY_VERIFY(m_services->overlay.isVisible());
    QCOMPARE(m_services->settings.loadAuthTokens().refreshToken, u"refresh-2"_s);
}

void SessionLifecycleTest::wrongPasswordShowsNoSecondLoginWindow()
{
    m_services->session.begin();
    const QList<QWindow*> login = Services::windowsTitled(kLoginTitle);
    m_services->authServer.answerWith({{400, R"({"msg":"no"})"}});
    QTest::ignoreMessage(QtWarningMsg, R"(Auth HTTP 400 response: {"msg":"no"})");
    QTest::ignoreMessage(QtWarningMsg, "Auth failed: no");
    QSignalSpy failed(&m_services->auth, &SupabaseAuthClient::authFailed);
    m_services->auth.signInWithEmail(u"me@example.org"_s, u"wrong horse"_s);
    QVERIFY(failed.wait());
    QCOMPARE(Services::windowsTitled(kLoginTitle), login);
}

QTEST_MAIN(SessionLifecycleTest)
#include "SessionLifecycleTest.moc"
