#include "desktop/GlobalHotkeyManager.h"

#include "desktop/SessionDetector.h"

#include <QDBusConnection>
#include <QDBusInterface>
#include <QDBusMessage>
#include <QDebug>
#include <QDir>
#include <QFile>
#include <QLocalServer>
#include <QLocalSocket>
#include <QSocketNotifier>
#include <QUuid>

#include <array>
#include <cstdlib>

#include <xcb/xcb.h>
#include <xcb/xcb_keysyms.h>
// The header names a member "explicit".
#define explicit explicit_
#include <xcb/xkb.h>
#undef explicit

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

struct Free {
    void operator()(void* pointer) const { std::free(pointer); }
};
template <typename T> using XcbPointer = std::unique_ptr<T, Free>;

constexpr int kConnectTimeoutMs = 500;
constexpr int kWriteTimeoutMs = 1000;

const QByteArray kToggleCommand = "toggle"_ba;
const QByteArray kShowHistoryCommand = "show-history"_ba;

bool sendCommand(const QString& serverName, const QByteArray& command)
{
    const QString token = GlobalHotkeyManager::readToken();
    if (token.isEmpty()) {
        return false;
    }
    QLocalSocket socket;
    socket.connectToServer(serverName, QIODevice::ReadWrite);
    if (!socket.waitForConnected(kConnectTimeoutMs)) {
        return false;
    }
    socket.write(token.toUtf8() + ':' + command);
    socket.flush();
    socket.waitForBytesWritten(kWriteTimeoutMs);
    socket.disconnectFromServer();
    return true;
}

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

// By default an X server tells every repeat of a held key as a release and a press, and a hold
// never lasts. With XKB's detectable auto-repeat, which a client has to ask for, repeats are
// presses alone.
void askForDetectableRepeat(xcb_connection_t* connection)
{
    const XcbPointer<xcb_xkb_use_extension_reply_t> extension(xcb_xkb_use_extension_reply(
        connection, xcb_xkb_use_extension(connection, XCB_XKB_MAJOR_VERSION, XCB_XKB_MINOR_VERSION),
        nullptr));
    if (extension == nullptr || extension->supported == 0) {
        qWarning().noquote() << "X server has no XKB extension, key repeat stays as it is";
        return;
    }
    constexpr uint32_t kFlag = XCB_XKB_PER_CLIENT_FLAG_DETECTABLE_AUTO_REPEAT;
    xcb_xkb_per_client_flags_unchecked(connection, XCB_XKB_ID_USE_CORE_KBD, kFlag, kFlag, 0, 0, 0);
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

void GlobalHotkeyManager::setupIpcServer(const QString& name)
{
    // A process that crashed leaves its socket behind.
    QLocalServer::removeServer(name);
    m_ipcName = name;
    m_ipcToken = generateToken();
    m_ipcServer = new QLocalServer(this);
    if (!m_ipcServer->listen(name)) {
        qWarning().noquote() << "Failed to start IPC server:" << m_ipcServer->errorString();
        return;
    }
    connect(
        m_ipcServer, &QLocalServer::newConnection, this, &GlobalHotkeyManager::handleNewConnection);
}

bool GlobalHotkeyManager::sendToggleCommand(const QString& name)
{
    return sendCommand(name, kToggleCommand);
}

bool GlobalHotkeyManager::sendShowHistoryCommand(const QString& name)
{
    return sendCommand(name, kShowHistoryCommand);
}

QString GlobalHotkeyManager::tokenFilePath()
{
    return QDir::home().filePath(u".config/Tarq-Linux/ipc-token"_s);
}

QString GlobalHotkeyManager::generateToken()
{
    const QString token = QUuid::createUuid().toString(QUuid::WithoutBraces);
    QFile file(tokenFilePath());
    if (file.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        file.write(token.toUtf8());
        file.close();
        QFile::setPermissions(file.fileName(), QFile::ReadOwner | QFile::WriteOwner);
    }
    return token;
}

QString GlobalHotkeyManager::readToken()
{
    QFile file(tokenFilePath());
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    return QString::fromUtf8(file.readAll()).trimmed();
}

void GlobalHotkeyManager::handleNewConnection()
{
    QLocalSocket* socket = m_ipcServer->nextPendingConnection();
    if (socket == nullptr) {
        return;
    }
    // A socket gets one read: a message is small enough to arrive whole, and whoever sends one in
    // pieces isn't ours.
    const auto once
        = static_cast<Qt::ConnectionType>(Qt::AutoConnection | Qt::SingleShotConnection);
    connect(
        socket, &QLocalSocket::readyRead, this, [this, socket]() { handleMessage(socket); }, once);
    connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
    // The server closes itself when it meets a client for whom the process has no file left. Each
    // client that leaves frees one.
    connect(socket, &QObject::destroyed, this, [this]() {
        if (!m_ipcServer->isListening()) {
            m_ipcServer->listen(m_ipcName);
        }
    });
}

void GlobalHotkeyManager::handleMessage(QLocalSocket* socket)
{
    const QByteArray message = socket->readAll().trimmed();
    socket->deleteLater();

    // Compared byte by byte: decoding would overlook a byte order mark.
    const qsizetype colon = message.indexOf(':');
    if (colon <= 0 || message.first(colon) != m_ipcToken.toUtf8()) {
        return;
    }
    const QByteArray command = message.sliced(colon + 1);
    if (command == kToggleCommand) {
        emit toggleRequested();
    } else if (command == kShowHistoryCommand) {
        emit showHistoryRequested();
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

bool GlobalHotkeyManager::registerWaylandPortalShortcut()
{
    QDBusInterface portal(u"org.freedesktop.portal.Desktop"_s, u"/org/freedesktop/portal/desktop"_s,
        u"org.freedesktop.portal.GlobalShortcuts"_s, QDBusConnection::sessionBus());
    if (!portal.isValid()) {
        qInfo().noquote()
            << "Wayland: GlobalShortcuts portal not available — use 'tarq-linux --toggle' "
               "from your compositor's keybinding";
        return false;
    }
    const QString token = QUuid::createUuid().toString(QUuid::WithoutBraces).first(8);
    const QVariantMap options{
        {u"handle_token"_s, "tarq_"_L1 + token},
        {u"session_handle_token"_s, "tarq_session_"_L1 + token},
    };
    // The session alone binds no key; it lets a compositor that supports it show its dialog.
    const QDBusMessage reply = portal.call(QDBus::AutoDetect, u"CreateSession"_s, options);
    if (reply.type() == QDBusMessage::ErrorMessage) {
        qWarning() << "Portal CreateSession failed:" << reply.errorMessage();
        qInfo().noquote()
            << "Wayland fallback: bind 'tarq-linux --toggle' in your compositor settings";
        return false;
    }
    qInfo().noquote() << "Wayland portal session requested — if your compositor supports "
                         "GlobalShortcuts, a system dialog will let you bind a key to Tarq.";
    qInfo().noquote()
        << "Otherwise, manually bind 'tarq-linux --toggle' in your compositor settings.";
    return true;
}
