#include "app/Tray.h"
#include "app/Services.h"
#include "app/StatusNotifierTray.h"
#include "support/TarqTest.h"

#include <QAction>
#include <QApplication>
#include <QMenu>
#include <QQmlExtensionPlugin>
#include <QSystemTrayIcon>
#include <QTimer>

Q_IMPORT_QML_PLUGIN(TarqLinuxPlugin)

using namespace Qt::StringLiterals;
using State = OverlayStateModel::State;

// The icon in a real tray. It is made once in a process, so all tests look at the same one.
class TrayTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void cleanupTestCase();

    void settingKeepsTheIconAway();
    void iconGoesToTheTray();
    void entriesStandInOrder();
    void clickBringsTheBubbleBack();
    void otherActivationsLeaveTheBubbleHidden_data();
    void otherActivationsLeaveTheBubbleHidden();
    void firstEntryBringsTheBubbleBack();
    void firstEntryLeavesAShownBubble();
    void pingPutsTheHidingOff_data();
    void pingPutsTheHidingOff();
    void entryOpensItsWindow_data();
    void entryOpensItsWindow();
    void historyStaysAwayBeforeItIsLoaded();
    void signOutIsAskedFor();
    void quitEndsTheLoop();
    void toolTipIsIdleAtTheStart();
    void toolTipFollowsTheState_data();
    void toolTipFollowsTheState();

private:
    static bool hasIcon() { return qApp->findChild<QSystemTrayIcon*>() != nullptr; }
    // The icon, made for the first who asks.
    QSystemTrayIcon* icon();
    void choose(const QString& text);
    // As five seconds of rest without a text field do.
    void hideBubble();
    [[nodiscard]] QTimer* idleTimer() const;

    StatusNotifierTray m_tray;
    std::unique_ptr<Services> m_services;
};

void TrayTest::initTestCase()
{
    QVERIFY(m_tray.start());
    m_services = std::make_unique<Services>();
}

void TrayTest::init()
{
    QTest::failOnWarning(QRegularExpression(u".*"_s));
}

void TrayTest::cleanup()
{
    m_services->overlay.setState(State::Idle);
    m_services->overlay.setLoggedIn(false);
    for (QWindow* window : QGuiApplication::allWindows()) {
        window->close();
    }
}

void TrayTest::cleanupTestCase()
{
    delete qApp->findChild<QSystemTrayIcon*>();
    m_services.reset();
    Services::removeRemains();
}

QSystemTrayIcon* TrayTest::icon()
{
    if (!hasIcon()) {
        buildTray(m_services->settings, m_services->overlay, m_services->windows);
    }
    return qApp->findChild<QSystemTrayIcon*>();
}

void TrayTest::choose(const QString& text)
{
    for (QAction* action : icon()->contextMenu()->actions()) {
        if (action->text() == text) {
            action->trigger();
            return;
        }
    }
    QFAIL("There is no such entry");
}

QTimer* TrayTest::idleTimer() const
{
    return m_services->overlay.findChild<QTimer*>(u"idleTimer"_s);
}

void TrayTest::hideBubble()
{
    m_services->overlay.setLoggedIn(true);
    QVERIFY(m_services->overlay.isVisible());
    idleTimer()->start(0);
    QTRY_VERIFY(!m_services->overlay.isVisible());
    idleTimer()->setInterval(5000);
}

// First, since what comes after it makes the icon.
void TrayTest::settingKeepsTheIconAway()
{
    m_services->settings.setShowInTray(false);
    buildTray(m_services->settings, m_services->overlay, m_services->windows);
    QVERIFY(!hasIcon());
    m_services->settings.setShowInTray(true);
}

void TrayTest::iconGoesToTheTray()
{
    QVERIFY(icon()->isVisible());
    QTRY_COMPARE(m_tray.icons(), 1);
    QVERIFY(!icon()->icon().pixmap(22, 22).isNull());
}

void TrayTest::toolTipIsIdleAtTheStart()
{
    QCOMPARE(icon()->toolTip(), u"Tarq — Idle"_s);
}

void TrayTest::entriesStandInOrder()
{
    QStringList texts;
    for (const QAction* action : icon()->contextMenu()->actions()) {
        texts.append(action->isSeparator() ? u"-"_s : action->text());
    }
    QCOMPARE(texts,
        (QStringList{u"Show / Hide bubble"_s, u"-"_s, u"Open history"_s, u"Settings…"_s,
            u"About Tarq"_s, u"-"_s, u"Sign out"_s, u"Quit"_s}));
}

void TrayTest::clickBringsTheBubbleBack()
{
    hideBubble();
    emit icon()->activated(QSystemTrayIcon::Trigger);
    QVERIFY(m_services->overlay.isVisible());
}

void TrayTest::otherActivationsLeaveTheBubbleHidden_data()
{
    QTest::addColumn<QSystemTrayIcon::ActivationReason>("reason");
    QTest::newRow("right button") << QSystemTrayIcon::Context;
    QTest::newRow("double click") << QSystemTrayIcon::DoubleClick;
    QTest::newRow("middle button") << QSystemTrayIcon::MiddleClick;
    QTest::newRow("unknown") << QSystemTrayIcon::Unknown;
}

void TrayTest::otherActivationsLeaveTheBubbleHidden()
{
    QFETCH(QSystemTrayIcon::ActivationReason, reason);
    hideBubble();
    emit icon()->activated(reason);
    QVERIFY(!m_services->overlay.isVisible());
}

void TrayTest::firstEntryBringsTheBubbleBack()
{
    hideBubble();
    choose(u"Show / Hide bubble"_s);
    QVERIFY(m_services->overlay.isVisible());
}

void TrayTest::firstEntryLeavesAShownBubble()
{
    m_services->overlay.setLoggedIn(true);
    choose(u"Show / Hide bubble"_s);
    QVERIFY(m_services->overlay.isVisible());
}

void TrayTest::pingPutsTheHidingOff_data()
{
    QTest::addColumn<bool>("byMenu");
    QTest::newRow("click") << false;
    QTest::newRow("first entry") << true;
}

void TrayTest::pingPutsTheHidingOff()
{
    QFETCH(bool, byMenu);
    m_services->overlay.setLoggedIn(true);
    idleTimer()->start(60'000);
    QTRY_VERIFY(idleTimer()->remainingTime() < 59'000);
    const int before = idleTimer()->remainingTime();
    if (byMenu) {
        choose(u"Show / Hide bubble"_s);
    } else {
        emit icon()->activated(QSystemTrayIcon::Trigger);
    }
    QVERIFY(idleTimer()->remainingTime() > before);
    idleTimer()->setInterval(5000);
}

void TrayTest::entryOpensItsWindow_data()
{
    QTest::addColumn<QString>("entry");
    QTest::addColumn<QString>("title");
    QTest::newRow("settings") << u"Settings…"_s << u"Tarq — Settings"_s;
    QTest::newRow("about") << u"About Tarq"_s << u"Tarq — About"_s;
}

void TrayTest::entryOpensItsWindow()
{
    QFETCH(QString, entry);
    QFETCH(QString, title);
    choose(entry);
    const QList<QWindow*> windows = Services::windowsTitled(title);
    QCOMPARE(windows.size(), 1);
    QVERIFY(windows.first()->isVisible());
}

void TrayTest::historyStaysAwayBeforeItIsLoaded()
{
    choose(u"Open history"_s);
    QVERIFY(Services::windowsTitled(u"Tarq"_s).isEmpty());
    m_services->windows.loadHistory();
    choose(u"Open history"_s);
    QVERIFY(Services::windowsTitled(u"Tarq"_s).value(0)->isVisible());
}

void TrayTest::signOutIsAskedFor()
{
    QSignalSpy asked(&m_services->overlay, &OverlayStateModel::logoutRequested);
    choose(u"Sign out"_s);
    QCOMPARE(asked.count(), 1);
}

void TrayTest::quitEndsTheLoop()
{
    QTimer::singleShot(0, qApp, [this]() { choose(u"Quit"_s); });
    QTimer failure;
    connect(&failure, &QTimer::timeout, qApp, []() { QCoreApplication::exit(1); });
    failure.start(10000);
    QCOMPARE(QCoreApplication::exec(), 0);
}

void TrayTest::toolTipFollowsTheState_data()
{
    QTest::addColumn<State>("state");
    QTest::addColumn<QString>("toolTip");
    QTest::newRow("recording") << State::Recording << u"Tarq — Recording…"_s;
    QTest::newRow("processing") << State::Processing << u"Tarq — Processing…"_s;
}

void TrayTest::toolTipFollowsTheState()
{
    QFETCH(State, state);
    QFETCH(QString, toolTip);
    m_services->overlay.setState(state);
    QCOMPARE(icon()->toolTip(), toolTip);
    m_services->overlay.setState(State::Idle);
    QCOMPARE(icon()->toolTip(), u"Tarq — Idle"_s);
}

QTEST_MAIN(TrayTest)
#include "TrayTest.moc"
