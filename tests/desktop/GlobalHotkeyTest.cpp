#include "desktop/GlobalHotkeyManager.h"
#include "support/TarqTest.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QSocketNotifier>
#include <QTimer>

#include <xcb/xcb.h>
#include <xcb/xcb_keysyms.h>

#include <cstdlib>

using namespace Qt::StringLiterals;

namespace {

constexpr uint16_t kSuper = XCB_MOD_MASK_4;
constexpr uint16_t kNumLock = XCB_MOD_MASK_2;
constexpr uint16_t kCapsLock = XCB_MOD_MASK_LOCK;

// Another program that holds Super+Space under some modifiers.
class OtherGrabber final
{
public:
    explicit OtherGrabber(const QList<uint16_t>& modifiers)
        : m_connection(xcb_connect(nullptr, nullptr))
    {
        const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root;
        xcb_key_symbols_t* symbols = xcb_key_symbols_alloc(m_connection);
        xcb_keycode_t* keycodes = xcb_key_symbols_get_keycode(symbols, 0x20);
        for (const uint16_t modifier : modifiers) {
            const xcb_void_cookie_t cookie = xcb_grab_key_checked(m_connection, 0, root, modifier,
                keycodes[0], XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
            xcb_generic_error_t* error = xcb_request_check(m_connection, cookie);
            m_complete = m_complete && error == nullptr;
            std::free(error);
        }
        std::free(keycodes);
        xcb_key_symbols_free(symbols);
    }
    ~OtherGrabber() { xcb_disconnect(m_connection); }
    Q_DISABLE_COPY_MOVE(OtherGrabber)

    [[nodiscard]] bool hasAll() const { return m_complete; }

private:
    xcb_connection_t* m_connection;
    bool m_complete = true;
};

bool run(const QString& program, const QStringList& arguments)
{
    return QProcess::execute(program, arguments) == 0;
}

} // namespace

// Real keys, pressed by xdotool on a real X server.
class GlobalHotkeyTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void holdTakesOneAndAHalfSeconds();
    void shortHoldDoesNothing();
    void longHoldStartsAtOnceAndStopsAtTheRelease();
    void quickTapsDoNothing();
    void eachPressCountsFromZero();
    void repeatedPressesAreOneHold();
    void releaseAndPressBeginANewHold();
    void releaseAndPressOfAnActiveHoldStopIt();
    void locksDoNotMatter_data();
    void locksDoNotMatter();
    void otherModifiersDoNotMatch_data();
    void otherModifiersDoNotMatch();
    void superReleasedFirstStopsAtSpace();
    void otherKeysAreNotOurs();
    void autoRepeatKeepsAHoldFromLasting();
    void detectableRepeatLetsAHoldLast();
    void otherValuesOfTheVariableAskForNothing();
    void everyGrabTakenMeansNoHotkey();
    void oneGrabIsEnough();
    void grabsGoWithTheManager();
    void noServerMeansNoHotkey();
    void fiveHundredTaps();

private:
    // A manager whose holds take `holdMs`, so that a test needn't last.
    void start(int holdMs = 200);
    void down(const QString& key) { QVERIFY(run(u"xdotool"_s, {u"keydown"_s, key})); }
    void up(const QString& key) { QVERIFY(run(u"xdotool"_s, {u"keyup"_s, key})); }
    void setRepeat(bool on) { QVERIFY(run(u"xset"_s, {u"r"_s, on ? u"on"_s : u"off"_s})); }
    bool isRegistered() const { return m_manager->findChild<QSocketNotifier*>() != nullptr; }

    std::unique_ptr<GlobalHotkeyManager> m_manager;
    std::unique_ptr<QSignalSpy> m_starts;
    std::unique_ptr<QSignalSpy> m_stops;
};

void GlobalHotkeyTest::init()
{
    TarqTest::init();
    setRepeat(false);
}

void GlobalHotkeyTest::cleanup()
{
    for (const QString& key : {u"space"_s, u"super"_s, u"shift"_s, u"ctrl"_s, u"alt"_s}) {
        up(key);
    }
    m_starts.reset();
    m_stops.reset();
    m_manager.reset();
    TarqTest::cleanup();
}

void GlobalHotkeyTest::start(int holdMs)
{
    QTest::ignoreMessage(
        QtInfoMsg, "Super+Space hold-to-record registered (hold 1.5s to activate)");
    m_manager = std::make_unique<GlobalHotkeyManager>();
    m_starts = std::make_unique<QSignalSpy>(
        m_manager.get(), &GlobalHotkeyManager::recordingStartRequested);
    m_stops = std::make_unique<QSignalSpy>(
        m_manager.get(), &GlobalHotkeyManager::recordingStopRequested);
    m_manager->registerSpacebarHold();
    QVERIFY(isRegistered());
    m_manager->findChild<QTimer*>(u"activationTimer"_s)->setInterval(holdMs);
}

void GlobalHotkeyTest::holdTakesOneAndAHalfSeconds()
{
    GlobalHotkeyManager manager;
    const auto* timer = manager.findChild<QTimer*>(u"activationTimer"_s);
    QCOMPARE(timer->interval(), 1500);
    QVERIFY(timer->isSingleShot());
    QVERIFY(!timer->isActive());
}

void GlobalHotkeyTest::shortHoldDoesNothing()
{
    start(1500);
    down(u"super"_s);
    down(u"space"_s);
    QVERIFY(!m_starts->wait(1300));
    up(u"space"_s);
    QVERIFY(!m_starts->wait(500));
    QCOMPARE(m_stops->count(), 0);
}

void GlobalHotkeyTest::longHoldStartsAtOnceAndStopsAtTheRelease()
{
    start(1500);
    down(u"super"_s);
    QElapsedTimer clock;
    clock.start();
    down(u"space"_s);
    QVERIFY(m_starts->wait(5000));
    QVERIFY(clock.elapsed() >= 1420); // a coarse timer may be five per cent early
    QCOMPARE(m_stops->count(), 0);
    up(u"space"_s);
    QVERIFY(m_stops->count() == 1 || m_stops->wait(5000));
    QCOMPARE(m_starts->count(), 1);
    QCOMPARE(m_stops->count(), 1);
}

void GlobalHotkeyTest::quickTapsDoNothing()
{
    start(1500);
    down(u"super"_s);
    for (int tap = 0; tap < 2; ++tap) {
        down(u"space"_s);
        up(u"space"_s);
    }
    QVERIFY(!m_starts->wait(300));
    QCOMPARE(m_stops->count(), 0);
    QVERIFY(!m_manager->findChild<QTimer*>(u"activationTimer"_s)->isActive());
}

void GlobalHotkeyTest::eachPressCountsFromZero()
{
    start(1000);
    const auto* timer = m_manager->findChild<QTimer*>(u"activationTimer"_s);
    down(u"super"_s);
    down(u"space"_s);
    QTRY_VERIFY(timer->isActive() && timer->remainingTime() < 700);
    up(u"space"_s);
    QTRY_VERIFY(!timer->isActive());
    down(u"space"_s);
    QTRY_VERIFY(timer->isActive());
    QVERIFY(timer->remainingTime() > 700);
}

void GlobalHotkeyTest::repeatedPressesAreOneHold()
{
    start(60000);
    auto* timer = m_manager->findChild<QTimer*>(u"activationTimer"_s);
    QVERIFY(QMetaObject::invokeMethod(m_manager.get(), "onSpacebarPressed"));
    QTRY_VERIFY(timer->remainingTime() < 59900);
    QVERIFY(QMetaObject::invokeMethod(m_manager.get(), "onSpacebarPressed"));
    QVERIFY(timer->remainingTime() < 59900);
    timer->start(0);
    QVERIFY(m_starts->wait());
    QVERIFY(QMetaObject::invokeMethod(m_manager.get(), "onSpacebarPressed"));
    QVERIFY(!timer->isActive());
    QCOMPARE(m_starts->count(), 1);
    QCOMPARE(m_stops->count(), 0);
}

void GlobalHotkeyTest::releaseAndPressBeginANewHold()
{
    start(60000);
    const auto* timer = m_manager->findChild<QTimer*>(u"activationTimer"_s);
    QVERIFY(QMetaObject::invokeMethod(m_manager.get(), "onSpacebarPressed"));
    QTRY_VERIFY(timer->remainingTime() < 56000);
    QVERIFY(QMetaObject::invokeMethod(m_manager.get(), "onSpacebarReleased"));
    QVERIFY(QMetaObject::invokeMethod(m_manager.get(), "onSpacebarPressed"));
    QVERIFY(timer->remainingTime() > 56500);
    QCOMPARE(m_starts->count(), 0);
    QCOMPARE(m_stops->count(), 0);
}

void GlobalHotkeyTest::releaseAndPressOfAnActiveHoldStopIt()
{
    start();
    down(u"super"_s);
    down(u"space"_s);
    QVERIFY(m_starts->wait(5000));
    up(u"space"_s);
    down(u"space"_s);
    QTRY_COMPARE(m_stops->count(), 1);
    QTRY_COMPARE(m_starts->count(), 2);
}

void GlobalHotkeyTest::locksDoNotMatter_data()
{
    QTest::addColumn<QStringList>("locks");
    QTest::newRow("none") << QStringList{};
    QTest::newRow("NumLock") << QStringList{u"Num_Lock"_s};
    QTest::newRow("CapsLock") << QStringList{u"Caps_Lock"_s};
    QTest::newRow("both") << QStringList{u"Num_Lock"_s, u"Caps_Lock"_s};
}

void GlobalHotkeyTest::locksDoNotMatter()
{
    QFETCH(QStringList, locks);
    start();
    for (const QString& lock : locks) {
        QVERIFY(run(u"xdotool"_s, {u"key"_s, lock}));
    }
    down(u"super"_s);
    down(u"space"_s);
    const bool started = m_starts->wait(5000);
    up(u"space"_s);
    for (const QString& lock : locks) {
        QVERIFY(run(u"xdotool"_s, {u"key"_s, lock}));
    }
    QVERIFY(started);
    QTRY_COMPARE(m_stops->count(), 1);
}

void GlobalHotkeyTest::otherModifiersDoNotMatch_data()
{
    QTest::addColumn<QString>("modifier");
    QTest::newRow("shift") << u"shift"_s;
    QTest::newRow("control") << u"ctrl"_s;
    QTest::newRow("alt") << u"alt"_s;
}

void GlobalHotkeyTest::otherModifiersDoNotMatch()
{
    QFETCH(QString, modifier);
    start();
    down(modifier);
    down(u"super"_s);
    down(u"space"_s);
    QVERIFY(!m_starts->wait(600));
}

void GlobalHotkeyTest::superReleasedFirstStopsAtSpace()
{
    start();
    down(u"super"_s);
    down(u"space"_s);
    QVERIFY(m_starts->wait(5000));
    up(u"super"_s);
    QVERIFY(!m_stops->wait(300));
    up(u"space"_s);
    QVERIFY(m_stops->wait(5000));
}

void GlobalHotkeyTest::otherKeysAreNotOurs()
{
    start();
    down(u"super"_s);
    QVERIFY(run(u"xdotool"_s, {u"keydown"_s, u"a"_s}));
    QVERIFY(!m_starts->wait(500));
    QVERIFY(run(u"xdotool"_s, {u"keyup"_s, u"a"_s}));
    up(u"super"_s);
    down(u"space"_s);
    QVERIFY(!m_starts->wait(500));
}

void GlobalHotkeyTest::autoRepeatKeepsAHoldFromLasting()
{
    // The server tells each repeat as a release and a press, each of which counts.
    setRepeat(true);
    start(1500);
    down(u"super"_s);
    down(u"space"_s);
    QVERIFY(!m_starts->wait(3000));
    QCOMPARE(m_stops->count(), 0);
}

void GlobalHotkeyTest::detectableRepeatLetsAHoldLast()
{
    setRepeat(true);
    const ScopedVariable detectable("TARQ_X11_DETECTABLE_REPEAT", "1");
    start(1500);
    down(u"super"_s);
    down(u"space"_s);
    QVERIFY(m_starts->wait(5000));
    QVERIFY(!m_stops->wait(1000));
    up(u"space"_s);
    QVERIFY(m_stops->wait(5000));
    QCOMPARE(m_starts->count(), 1);
}

void GlobalHotkeyTest::otherValuesOfTheVariableAskForNothing()
{
    setRepeat(true);
    const ScopedVariable detectable("TARQ_X11_DETECTABLE_REPEAT", "0");
    start(1500);
    down(u"super"_s);
    down(u"space"_s);
    QVERIFY(!m_starts->wait(2500));
}

void GlobalHotkeyTest::everyGrabTakenMeansNoHotkey()
{
    const OtherGrabber other(
        {kSuper, kSuper | kNumLock, kSuper | kCapsLock, kSuper | kNumLock | kCapsLock});
    QVERIFY(other.hasAll());
    QTest::ignoreMessage(QtWarningMsg, "Failed to grab spacebar");
    m_manager = std::make_unique<GlobalHotkeyManager>();
    m_manager->registerSpacebarHold();
    QVERIFY(!isRegistered());
    // Without effect, and without harm.
    QVERIFY(QMetaObject::invokeMethod(m_manager.get(), "handleXcbEvents"));
}

void GlobalHotkeyTest::oneGrabIsEnough()
{
    const OtherGrabber other({kSuper, kSuper | kNumLock, kSuper | kCapsLock});
    QVERIFY(other.hasAll());
    start();
    QVERIFY(run(u"xdotool"_s, {u"key"_s, u"Num_Lock"_s, u"Caps_Lock"_s}));
    down(u"super"_s);
    down(u"space"_s);
    const bool started = m_starts->wait(5000);
    QVERIFY(run(u"xdotool"_s, {u"key"_s, u"Num_Lock"_s, u"Caps_Lock"_s}));
    QVERIFY(started);
}

void GlobalHotkeyTest::grabsGoWithTheManager()
{
    start();
    m_starts.reset();
    m_stops.reset();
    m_manager.reset();
    const OtherGrabber other(
        {kSuper, kSuper | kNumLock, kSuper | kCapsLock, kSuper | kNumLock | kCapsLock});
    QVERIFY(other.hasAll());
}

void GlobalHotkeyTest::noServerMeansNoHotkey()
{
    const ScopedVariable display("DISPLAY", ":59535"); // the last one that has a port
    QTest::ignoreMessage(QtWarningMsg, "Failed to connect to X server");
    m_manager = std::make_unique<GlobalHotkeyManager>();
    m_manager->registerSpacebarHold();
    QVERIFY(!isRegistered());
    m_manager.reset();
}

void GlobalHotkeyTest::fiveHundredTaps()
{
    start(1500);
    down(u"super"_s);
    QVERIFY(
        run(u"xdotool"_s, {u"key"_s, u"--repeat"_s, u"500"_s, u"--delay"_s, u"1"_s, u"space"_s}));
    QVERIFY(!m_starts->wait(300));
    QCOMPARE(m_stops->count(), 0);
    down(u"space"_s);
    QVERIFY(m_starts->wait(5000));
}

QTEST_GUILESS_MAIN(GlobalHotkeyTest)
#include "GlobalHotkeyTest.moc"
