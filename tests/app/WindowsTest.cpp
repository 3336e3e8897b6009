#include "app/Services.h"
#include "app/WindowHints.h"
#include "desktop/ScriptedTools.h"
#include "support/TarqTest.h"

#include <QQmlExtensionPlugin>

Q_IMPORT_QML_PLUGIN(TarqLinuxPlugin)

using namespace Qt::StringLiterals;

namespace {

const QString kLogin = u"Tarq — Sign In"_s;
const QString kProfile = u"Tarq — Profile"_s;
const QString kSettings = u"Tarq — Settings"_s;
const QString kAbout = u"Tarq — About"_s;
const QString kHistory = u"Tarq"_s;

using Show = void (Windows::*)();

} // namespace

class WindowsTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void requestOpensTheWindow_data();
    void requestOpensTheWindow();
    void secondRequestRaisesTheWindow_data();
    void secondRequestRaisesTheWindow();
    void hiddenWindowGoesAndTheNextRequestBuildsANewOne_data();
    void hiddenWindowGoesAndTheNextRequestBuildsANewOne();
    void requestBesideADyingWindowBuildsASecondOne();
    void secondLoginRequestDoesNothing();
    void closedLoginWindowIsBuiltAnew();
    void hiddenLoginWindowStays();
    void historyShowsOnlyOnceItIsLoaded();
    void closedHistoryIsHidden();
    void profileShowsTheAccountOfItsCreation();
    void splashGoesWhenItIsDone();
    void bubbleGetsItsHintsAtEachShowAlone();
    void onlyBubbleAndSplashCanBeLeftUnmanaged();

private:
    static QWindow* theOnly(const QString& title);

    std::unique_ptr<Services> m_services;
};

void WindowsTest::init()
{
    TarqTest::init();
    m_services = std::make_unique<Services>();
}

void WindowsTest::cleanup()
{
    m_services.reset();
    Services::removeRemains();
    TarqTest::cleanup();
}

// Null unless there is exactly one.
QWindow* WindowsTest::theOnly(const QString& title)
{
    const QList<QWindow*> windows = Services::windowsTitled(title);
    return windows.size() == 1 ? windows.first() : nullptr;
}

void WindowsTest::requestOpensTheWindow_data()
{
    QTest::addColumn<QString>("title");
    QTest::addColumn<Show>("show");
    QTest::newRow("login") << kLogin << &Windows::showLogin;
    QTest::newRow("settings") << kSettings << &Windows::showSettings;
    QTest::newRow("about") << kAbout << &Windows::showAbout;
    QTest::newRow("profile") << kProfile << &Windows::showProfile;
}

void WindowsTest::requestOpensTheWindow()
{
    QFETCH(QString, title);
    QFETCH(Show, show);
    (m_services->windows.*show)();
    QWindow* window = theOnly(title);
    QVERIFY(window);
    QVERIFY(window->isVisible());
}

void WindowsTest::secondRequestRaisesTheWindow_data()
{
    QTest::addColumn<QString>("title");
    QTest::addColumn<Show>("show");
    QTest::newRow("settings") << kSettings << &Windows::showSettings;
    QTest::newRow("about") << kAbout << &Windows::showAbout;
    QTest::newRow("profile") << kProfile << &Windows::showProfile;
}

void WindowsTest::secondRequestRaisesTheWindow()
{
    QFETCH(QString, title);
    QFETCH(Show, show);
    (m_services->windows.*show)();
    QWindow* window = theOnly(title);
    QVERIFY(window);
    m_services->windows.showLogin();
    QTRY_COMPARE(QGuiApplication::focusWindow(), theOnly(kLogin));
    (m_services->windows.*show)();
    QCOMPARE(theOnly(title), window);
    QTRY_COMPARE(QGuiApplication::focusWindow(), window);
}

void WindowsTest::hiddenWindowGoesAndTheNextRequestBuildsANewOne_data()
{
    QTest::addColumn<QString>("title");
    QTest::addColumn<Show>("show");
    QTest::addColumn<bool>("byClose");
    QTest::newRow("settings closed") << kSettings << &Windows::showSettings << true;
    QTest::newRow("about closed") << kAbout << &Windows::showAbout << true;
    QTest::newRow("profile closed") << kProfile << &Windows::showProfile << true;
    QTest::newRow("settings hidden") << kSettings << &Windows::showSettings << false;
    QTest::newRow("about hidden") << kAbout << &Windows::showAbout << false;
    QTest::newRow("profile hidden") << kProfile << &Windows::showProfile << false;
}

void WindowsTest::hiddenWindowGoesAndTheNextRequestBuildsANewOne()
{
    QFETCH(QString, title);
    QFETCH(Show, show);
    QFETCH(bool, byClose);
    (m_services->windows.*show)();
    const QPointer<QWindow> window = theOnly(title);
    QVERIFY(window);
    if (byClose) {
        window->close();
    } else {
        window->hide();
    }
    QTRY_VERIFY(window.isNull());
    QVERIFY(qApp->findChildren<QQmlApplicationEngine*>().isEmpty());
    (m_services->windows.*show)();
    QVERIFY(theOnly(title));
    QVERIFY(theOnly(title)->isVisible());
}

void WindowsTest::requestBesideADyingWindowBuildsASecondOne()
{
    m_services->windows.showSettings();
    const QPointer<QWindow> dying = theOnly(kSettings);
    dying->close();
    m_services->windows.showSettings();
    QCOMPARE(Services::windowsTitled(kSettings).size(), 2);
    QTRY_VERIFY(dying.isNull());
    QVERIFY(theOnly(kSettings)->isVisible());
    m_services->windows.showSettings();
    QVERIFY(theOnly(kSettings));
}

void WindowsTest::secondLoginRequestDoesNothing()
{
    m_services->windows.showLogin();
    m_services->windows.showSettings();
    QTRY_COMPARE(QGuiApplication::focusWindow(), theOnly(kSettings));
    m_services->windows.showLogin();
    QCoreApplication::processEvents();
    QVERIFY(theOnly(kLogin));
    QCOMPARE(QGuiApplication::focusWindow(), theOnly(kSettings));
}

void WindowsTest::closedLoginWindowIsBuiltAnew()
{
    m_services->windows.closeLogin();
    m_services->windows.showLogin();
    const QPointer<QWindow> window = theOnly(kLogin);
    m_services->windows.closeLogin();
    m_services->windows.showLogin();
    QTRY_VERIFY(window.isNull());
    QVERIFY(theOnly(kLogin)->isVisible());
}

void WindowsTest::hiddenLoginWindowStays()
{
    m_services->windows.showLogin();
    QWindow* window = theOnly(kLogin);
    window->hide();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCOMPARE(theOnly(kLogin), window);
    m_services->windows.showLogin();
    QVERIFY(!window->isVisible());
}

void WindowsTest::historyShowsOnlyOnceItIsLoaded()
{
    m_services->windows.showHistory();
    m_services->windows.hideHistory();
    QVERIFY(Services::windowsTitled(kHistory).isEmpty());
    m_services->windows.loadHistory();
    QWindow* window = theOnly(kHistory);
    QVERIFY(window);
    QVERIFY(!window->isVisible());
    m_services->windows.showHistory();
    QVERIFY(window->isVisible());
    QTRY_COMPARE(QGuiApplication::focusWindow(), window);
}

void WindowsTest::closedHistoryIsHidden()
{
    m_services->windows.loadHistory();
    m_services->windows.showHistory();
    QWindow* window = theOnly(kHistory);
    window->close();
    QVERIFY(!window->isVisible());
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    m_services->windows.showHistory();
    QCOMPARE(theOnly(kHistory), window);
    QVERIFY(window->isVisible());
}

void WindowsTest::profileShowsTheAccountOfItsCreation()
{
    SettingsStore::AuthTokens tokens;
    tokens.userEmail = u"first@example.org"_s;
    tokens.userId = u"user-1"_s;
    m_services->settings.saveAuthTokens(tokens);
    m_services->windows.showProfile();
    tokens.userEmail = u"second@example.org"_s;
    m_services->settings.saveAuthTokens(tokens);
    m_services->windows.showProfile();
    QCOMPARE(theOnly(kProfile)->property("userEmail").toString(), u"first@example.org"_s);
    QCOMPARE(theOnly(kProfile)->property("userId").toString(), u"user-1"_s);

    theOnly(kProfile)->close();
    QTRY_VERIFY(!theOnly(kProfile));
    m_services->windows.showProfile();
    QCOMPARE(theOnly(kProfile)->property("userEmail").toString(), u"second@example.org"_s);
}

void WindowsTest::splashGoesWhenItIsDone()
{
    m_services->windows.showSplash();
    const QPointer<QWindow> splash = theOnly(u"Tarq"_s);
    QVERIFY(splash);
    QVERIFY(splash->isVisible());
    QSignalSpy done(splash, SIGNAL(done()));
    QVERIFY(done.wait());
    QTRY_VERIFY(splash.isNull());
    QVERIFY(qApp->findChildren<QQmlApplicationEngine*>().isEmpty());
}

void WindowsTest::onlyBubbleAndSplashCanBeLeftUnmanaged()
{
    const auto isUnmanaged = [](const QWindow* window) {
        return window->flags().testFlag(Qt::BypassWindowManagerHint);
    };
    m_services->windows.leaveUnmanaged();
    m_services->windows.showSplash();
    const QPointer<QWindow> splash = theOnly(u"Tarq"_s);
    QVERIFY(splash);
    QVERIFY(isUnmanaged(splash));
    QTRY_VERIFY(splash.isNull());
    m_services->windows.loadBubble();
    const QWindow* bubble = theOnly(u"Tarq"_s);
    QVERIFY(bubble);
    QVERIFY(isUnmanaged(bubble));
    m_services->windows.showAbout();
    QVERIFY(!isUnmanaged(theOnly(kAbout)));
}

void WindowsTest::bubbleGetsItsHintsAtEachShowAlone()
{
    const ScriptedTools tools(homePath());
    tools.install(u"xprop"_s);
    m_services->windows.loadBubble();
    const QString bubbleId = QString::number(theOnly(u"Tarq"_s)->winId());
    m_services->overlay.setLoggedIn(true);
    m_services->overlay.setLoggedIn(false);
    m_services->overlay.setLoggedIn(true);
    // By the time that the other window's come, those of the hiding would have come too.
    QWindow other;
    applyX11WindowHints(&other);
    const auto runsFor = [&tools](const QString& windowId) {
        return tools.runs().filter(u"|-id|%1|"_s.arg(windowId)).size();
    };
    QTRY_COMPARE(runsFor(QString::number(other.winId())), 2);
    // Two for the loading, and for each of two shows.
    QTRY_VERIFY(runsFor(bubbleId) >= 6);
    QCOMPARE(runsFor(bubbleId), 6);
}

QTEST_MAIN(WindowsTest)
#include "WindowsTest.moc"
