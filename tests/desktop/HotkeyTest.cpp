#include "desktop/HotkeyTest.h"

#include <QProcess>
#include <QSocketNotifier>
#include <QTimer>

#include <xcb/xcb.h>
#include <xcb/xcb_keysyms.h>

#include <cstdlib>

using namespace Qt::StringLiterals;

OtherGrabber::OtherGrabber(const QList<uint16_t>& modifiers)
    : m_connection(xcb_connect(nullptr, nullptr))
{
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root;
    xcb_key_symbols_t* symbols = xcb_key_symbols_alloc(m_connection);
    xcb_keycode_t* keycodes = xcb_key_symbols_get_keycode(symbols, 0x20);
    for (const uint16_t modifier : modifiers) {
        const xcb_void_cookie_t cookie = xcb_grab_key_checked(
            m_connection, 0, root, modifier, keycodes[0], XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
        xcb_generic_error_t* error = xcb_request_check(m_connection, cookie);
        m_complete = m_complete && error == nullptr;
        std::free(error);
    }
    std::free(keycodes);
    xcb_key_symbols_free(symbols);
}

OtherGrabber::~OtherGrabber()
{
    xcb_disconnect(m_connection);
}

bool HotkeyTest::run(const QString& program, const QStringList& arguments)
{
    return QProcess::execute(program, arguments) == 0;
}

void HotkeyTest::down(const QString& key)
{
    QVERIFY(run(u"xdotool"_s, {u"keydown"_s, key}));
}

void HotkeyTest::up(const QString& key)
{
    QVERIFY(run(u"xdotool"_s, {u"keyup"_s, key}));
}

void HotkeyTest::setRepeat(bool on)
{
    QVERIFY(run(u"xset"_s, {u"r"_s, on ? u"on"_s : u"off"_s}));
}

void HotkeyTest::start(int holdMs)
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

void HotkeyTest::stop()
{
    m_starts.reset();
    m_stops.reset();
    m_manager.reset();
}

bool HotkeyTest::isRegistered() const
{
    return m_manager->findChild<QSocketNotifier*>() != nullptr;
}

void HotkeyTest::init()
{
    TarqTest::init();
    setRepeat(false);
}

void HotkeyTest::cleanup()
{
    for (const QString& key : {u"space"_s, u"super"_s, u"shift"_s, u"ctrl"_s, u"alt"_s}) {
        up(key);
    }
    stop();
    TarqTest::cleanup();
}
