// The hotkey itself: the grab on X11, and what is done with its key. The rest of the class is in
// the files beside this one.

#include "desktop/GlobalHotkeyManager.h"

#include "desktop/DetectableRepeat.h"
#include "desktop/SessionDetector.h"
#include "desktop/XcbPointer.h"

#include <QDebug>
#include <QSocketNotifier>

#include <array>

#include <xcb/xcb.h>
#include <xcb/xcb_keysyms.h>

using namespace Qt::StringLiterals;

namespace {

constexpr int kHoldToActivateMs = 1500;

constexpr xcb_keysym_t kSpaceKeysym = 0x20;
// Super, alone and with each combination of the locks: a grab matches its modifiers exactly.
constexpr std::array<uint16_t, 4> kGrabbedModifiers{
    XCB_MOD_MASK_4,
    XCB_MOD_MASK_4 | XCB_MOD_MASK_2,
    XCB_MOD_MASK_4 | XCB_MOD_MASK_LOCK,
    XCB_MOD_MASK_4 | XCB_MOD_MASK_2 | XCB_MOD_MASK_LOCK,
};
// The top bit of a response type marks an event that another client sent.
constexpr uint8_t kResponseTypeMask = 0x7f;

bool grabKey(xcb_connection_t* connection, xcb_window_t root, xcb_keycode_t keycode)
{
    bool anyGrabbed = false;
    for (const uint16_t modifiers : kGrabbedModifiers) {
        const xcb_void_cookie_t cookie = xcb_grab_key_checked(
            connection, 1, root, modifiers, keycode, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
        const XcbPointer<xcb_generic_error_t> error(xcb_request_check(connection, cookie));
        anyGrabbed = anyGrabbed || error == nullptr;
    }
    return anyGrabbed;
}

} // namespace

struct GlobalHotkeyManager::XcbState {
    XcbState() = default;
    ~XcbState()
    {
        if (keySymbols != nullptr) {
            xcb_key_symbols_free(keySymbols);
        }
        if (connection != nullptr) {
            xcb_disconnect(connection);
        }
    }
    Q_DISABLE_COPY_MOVE(XcbState)

    xcb_connection_t* connection = nullptr; ///< our own, apart from Qt's
    xcb_key_symbols_t* keySymbols = nullptr;
    xcb_keycode_t keycode = 0; ///< of the space key
    xcb_screen_t* screen = nullptr; ///< the first one
};

GlobalHotkeyManager::GlobalHotkeyManager(QObject* parent)
    : QObject(parent)
{
    m_activationTimer.setObjectName(u"activationTimer"_s);
    m_activationTimer.setSingleShot(true);
    m_activationTimer.setInterval(kHoldToActivateMs);
    connect(
        &m_activationTimer, &QTimer::timeout, this, &GlobalHotkeyManager::onActivationTimerFired);
}

GlobalHotkeyManager::~GlobalHotkeyManager()
{
    if (m_xcbState != nullptr) {
        xcb_ungrab_key(m_xcbState->connection, m_xcbState->keycode, m_xcbState->screen->root,
            XCB_MOD_MASK_ANY);
        xcb_flush(m_xcbState->connection);
    }
}

void GlobalHotkeyManager::registerSpacebarHold()
{
    if (SessionDetector::isX11()) {
        registerX11Grab();
        return;
    }
    qInfo().noquote() << "Wayland session detected — trying GlobalShortcuts portal...";
    if (!registerWaylandPortalShortcut()) {
        qInfo().noquote() << "\nWayland hotkey setup:\n"
                          << "  1. Bind a custom keyboard shortcut in your compositor settings\n"
                          << "  2. Set the command to: tarq-linux --toggle\n"
                          << "  3. Suggested key: Super+Space\n"
                          << "  GNOME: Settings → Keyboard → Keyboard Shortcuts → Custom\n"
                          << "  KDE:   System Settings → Shortcuts → Custom Shortcuts\n"
                          << "  sway/hyprland: edit your config and reload";
    }
}

void GlobalHotkeyManager::handleXcbEvents()
{
    if (m_xcbState == nullptr) {
        return;
    }
    while (
        const XcbPointer<xcb_generic_event_t> event{xcb_poll_for_event(m_xcbState->connection)}) {
        // Presses and releases have the same form. Which modifiers are down doesn't matter any
        // more: the grab has seen to them at the press, and a release of space ends the hold in any
        // case.
        const auto* key = reinterpret_cast<const xcb_key_press_event_t*>(event.get());
        switch (event->response_type & kResponseTypeMask) {
        case XCB_KEY_PRESS:
            if (key->detail == m_xcbState->keycode) {
                onSpacebarPressed();
            }
            break;
        case XCB_KEY_RELEASE:
            if (key->detail == m_xcbState->keycode) {
                onSpacebarReleased();
            }
            break;
        default:
            break;
        }
    }
    // Nothing comes any more from a connection that is broken, but its descriptor stays readable,
    // and would turn the event loop for ever.
    if (xcb_connection_has_error(m_xcbState->connection) != 0) {
        m_notifier->setEnabled(false);
    }
}

void GlobalHotkeyManager::onSpacebarPressed()
{
    if (m_spacebarHeld) {
        return;
    }
    m_spacebarHeld = true;
    m_activated = false;
    m_activationTimer.start();
}

void GlobalHotkeyManager::onSpacebarReleased()
{
    if (!m_spacebarHeld) {
        return;
    }
    m_spacebarHeld = false;
    m_activationTimer.stop();
    if (m_activated) {
        m_activated = false;
        emit recordingStopRequested();
    }
}

void GlobalHotkeyManager::onActivationTimerFired()
{
    if (m_spacebarHeld && !m_activated) {
        m_activated = true;
        emit recordingStartRequested();
    }
}

void GlobalHotkeyManager::registerX11Grab()
{
    auto state = std::make_unique<XcbState>();
    state->connection = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(state->connection) != 0) {
        qWarning().noquote() << "Failed to connect to X server";
        return;
    }
    state->keySymbols = xcb_key_symbols_alloc(state->connection);
    if (state->keySymbols == nullptr) {
        qWarning().noquote() << "Failed to allocate key symbols";
        return;
    }
    const XcbPointer<xcb_keycode_t[]> keycodes(
        xcb_key_symbols_get_keycode(state->keySymbols, kSpaceKeysym));
    if (keycodes == nullptr || keycodes[0] == 0) {
        qWarning().noquote() << "Failed to resolve spacebar keycode";
        return;
    }
    state->keycode = keycodes[0];
    state->screen = xcb_setup_roots_iterator(xcb_get_setup(state->connection)).data;
    if (!grabKey(state->connection, state->screen->root, state->keycode)) {
        qWarning().noquote() << "Failed to grab spacebar";
        return;
    }
    if (qEnvironmentVariable("TARQ_X11_DETECTABLE_REPEAT") == "1"_L1) {
        askForDetectableRepeat(state->connection);
    }
    xcb_flush(state->connection);

    m_xcbState = std::move(state);
    m_notifier = new QSocketNotifier(
        xcb_get_file_descriptor(m_xcbState->connection), QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &GlobalHotkeyManager::handleXcbEvents);
    qInfo().noquote() << "Super+Space hold-to-record registered (hold 1.5s to activate)";
}
