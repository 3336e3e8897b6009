#include "desktop/HotkeyTest.h"

#include <xcb/xcb.h>
#include <xcb/xcb_keysyms.h>

#include <cstdlib>
#include <utility>

#include <dlfcn.h>

using namespace Qt::StringLiterals;

namespace {

xcb_connection_t* lastConnection = nullptr;
bool keepsConnections = false;
QList<xcb_connection_t*> keptConnections;

template <typename Function> Function* realOf(Function* /*ours*/, const char* name)
{
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

} // namespace

// A program's own symbols come before those of a library, so these two see the connection that the
// manager has for itself.
extern "C" xcb_connection_t* xcb_connect(const char* display, int* screen)
{
    lastConnection = realOf(xcb_connect, "xcb_connect")(display, screen);
    return lastConnection;
}

extern "C" void xcb_disconnect(xcb_connection_t* connection)
{
    if (keepsConnections) {
        keptConnections.append(connection);
    } else {
        realOf(xcb_disconnect, "xcb_disconnect")(connection);
    }
}

namespace {

// While it lives, no connection to the X server ends: what a client held without giving it back, it
// still holds.
class KeptConnections final
{
public:
    KeptConnections() { keepsConnections = true; }
    ~KeptConnections()
    {
        keepsConnections = false;
        for (xcb_connection_t* connection : std::exchange(keptConnections, {})) {
            xcb_disconnect(connection);
        }
    }
    Q_DISABLE_COPY_MOVE(KeptConnections)
};

// Another client, for what a keyboard can't do.
class XClient final
{
public:
    XClient()
        : m_connection(xcb_connect(nullptr, nullptr))
    {
    }
    ~XClient() { xcb_disconnect(m_connection); }
    Q_DISABLE_COPY_MOVE(XClient)

    [[nodiscard]] static xcb_window_t rootOf(xcb_connection_t* connection)
    {
        return xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    }

    /// The key that the keyboard has for the keysym, without any that a test has added.
    [[nodiscard]] xcb_keycode_t keycodeOf(xcb_keysym_t keysym) const
    {
        xcb_key_symbols_t* symbols = xcb_key_symbols_alloc(m_connection);
        xcb_keycode_t* keycodes = xcb_key_symbols_get_keycode(symbols, keysym);
        const xcb_keycode_t first = keycodes[0];
        std::free(keycodes);
        xcb_key_symbols_free(symbols);
        return first;
    }

    [[nodiscard]] bool map(xcb_keycode_t keycode, xcb_keysym_t keysym) const
    {
        return succeeds(xcb_change_keyboard_mapping_checked(m_connection, 1, keycode, 1, &keysym));
    }

    [[nodiscard]] bool send(uint8_t type, xcb_keycode_t keycode, xcb_event_mask_t mask) const
    {
        xcb_key_press_event_t event{};
        event.response_type = type;
        event.detail = keycode;
        event.root = rootOf(m_connection);
        event.event = event.root;
        event.same_screen = 1;
        return succeeds(xcb_send_event_checked(
            m_connection, 0, event.root, mask, reinterpret_cast<const char*>(&event)));
    }

private:
    [[nodiscard]] bool succeeds(xcb_void_cookie_t cookie) const
    {
        xcb_generic_error_t* error = xcb_request_check(m_connection, cookie);
        const bool done = error == nullptr;
        std::free(error);
        return done;
    }

    xcb_connection_t* m_connection;
};

constexpr xcb_keysym_t kSpaceKeysym = 0x20;

} // namespace

// Which key is grabbed, what it takes for that, and that it is given back.
class HotkeyGrabTest final : public HotkeyTest
{
    Q_OBJECT

private slots:
    void everyGrabTakenMeansNoHotkey();
    void eachGrabAloneIsEnough_data();
    void eachGrabAloneIsEnough();
    void firstOfSeveralSpaceKeysIsTheHotkey_data();
    void firstOfSeveralSpaceKeysIsTheHotkey();
    void keysThatAreSentCount();
    void grabsGoWithTheManager();
    void grabsAreGivenBackBeforeTheConnectionEnds();
};

void HotkeyGrabTest::everyGrabTakenMeansNoHotkey()
{
    const OtherGrabber other(Grabs::kAll);
    QVERIFY(other.hasAll());
    QTest::ignoreMessage(QtWarningMsg, "Failed to grab spacebar");
    m_manager = std::make_unique<GlobalHotkeyManager>();
    m_manager->registerSpacebarHold();
    QVERIFY(!isRegistered());
    // Without effect, and without harm.
    QVERIFY(QMetaObject::invokeMethod(m_manager.get(), "handleXcbEvents"));
}

void HotkeyGrabTest::eachGrabAloneIsEnough_data()
{
    QTest::addColumn<int>("free");
    QTest::addColumn<QStringList>("locks");

    QTest::newRow("Super") << 0 << QStringList{};
    QTest::newRow("with NumLock") << 1 << QStringList{u"Num_Lock"_s};
    QTest::newRow("with CapsLock") << 2 << QStringList{u"Caps_Lock"_s};
    QTest::newRow("with both") << 3 << QStringList{u"Num_Lock"_s, u"Caps_Lock"_s};
}

void HotkeyGrabTest::eachGrabAloneIsEnough()
{
    QFETCH(const int, free);
    QFETCH(const QStringList, locks);
    QList<uint16_t> taken = Grabs::kAll;
    taken.removeAt(free);
    const OtherGrabber other(taken);
    QVERIFY(other.hasAll());
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
}

void HotkeyGrabTest::firstOfSeveralSpaceKeysIsTheHotkey_data()
{
    QTest::addColumn<int>("added");

    QTest::newRow("one before the space bar") << 49;
    QTest::newRow("one behind the space bar") << 248;
}

void HotkeyGrabTest::firstOfSeveralSpaceKeysIsTheHotkey()
{
    QFETCH(const int, added);
    const XClient client;
    const int spaceBar = client.keycodeOf(kSpaceKeysym);
    constexpr xcb_keysym_t kGrave = 0x60;
    const xcb_keysym_t previous = added == 49 ? kGrave : XCB_NO_SYMBOL;
    QVERIFY(client.map(static_cast<xcb_keycode_t>(added), kSpaceKeysym));
    start();
    const QString first = QString::number(qMin(spaceBar, added));
    const QString second = QString::number(qMax(spaceBar, added));
    down(u"super"_s);
    down(second);
    const bool startedBySecond = m_starts->wait(600);
    up(second);
    down(first);
    const bool startedByFirst = m_starts->wait(5000);
    up(first);
    QVERIFY(client.map(static_cast<xcb_keycode_t>(added), previous));
    QVERIFY(!startedBySecond);
    QVERIFY(startedByFirst);
}

// An on-screen keyboard may send its keys instead of pressing them.
void HotkeyGrabTest::keysThatAreSentCount()
{
    start();
    // Only who listens on a window is sent anything; a grab isn't asked.
    xcb_connection_t* managers = lastConnection;
    const uint32_t mask = XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_KEY_RELEASE;
    const xcb_void_cookie_t cookie = xcb_change_window_attributes_checked(
        managers, XClient::rootOf(managers), XCB_CW_EVENT_MASK, &mask);
    QVERIFY(xcb_request_check(managers, cookie) == nullptr);

    const XClient client;
    const xcb_keycode_t space = client.keycodeOf(kSpaceKeysym);
    QVERIFY(client.send(XCB_KEY_PRESS, space, XCB_EVENT_MASK_KEY_PRESS));
    QVERIFY(m_starts->wait(5000));
    QVERIFY(client.send(XCB_KEY_RELEASE, space, XCB_EVENT_MASK_KEY_RELEASE));
    QVERIFY(m_stops->wait(5000));
    QCOMPARE(m_starts->count(), 1);
}

void HotkeyGrabTest::grabsGoWithTheManager()
{
    start();
    stop();
    const OtherGrabber other(Grabs::kAll);
    QVERIFY(other.hasAll());
}

void HotkeyGrabTest::grabsAreGivenBackBeforeTheConnectionEnds()
{
    start();
    const KeptConnections kept;
    stop();
    const OtherGrabber other(Grabs::kAll);
    QVERIFY(other.hasAll());
}

QTEST_GUILESS_MAIN(HotkeyGrabTest)
#include "HotkeyGrabTest.moc"
