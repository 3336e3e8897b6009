#include "app/SessionTest.h"

#include <QDateTime>
#include <QNetworkAccessManager>

using namespace Qt::StringLiterals;

// How a session begins by a sign-in, and how it ends.
class SessionLifecycleTest final : public SessionTest
{
    Q_OBJECT

private slots:
    void signInStoresTheSession();
    void signInClosesTheLoginWindow();
    void secondEntryStartsNothingAnew();
    void refusedTokenEndsTheSession();
    void signOutEndsTheSession();
    void signOutWithoutTokensShowsTheLoginWindow();
    void signOutAndInAgainKeepsTheBubble();
    void refreshThatEndsAfterTheSignOutSignsInAgain();
    void wrongPasswordShowsNoSecondLoginWindow();
};

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
