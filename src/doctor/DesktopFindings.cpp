#include "doctor/DesktopFindings.h"

#include "app/Client.h"
#include "assist/PortalRequest.h"
#include "assist/WaylandMeans.h"
#include "assist/Xwayland.h"
#include "desktop/SessionDetector.h"
#include "desktop/XcbPointer.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusReply>
#include <QDBusVariant>
#include <QLocalSocket>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>

#include <memory>

#include <xcb/xcb.h>
#include <xcb/xcb_keysyms.h>

using namespace Qt::StringLiterals;

namespace Doctor {

namespace {

constexpr int kAnswerMs = 2000;
constexpr xcb_keysym_t kSpaceKeysym = 0x20;

const QString kBus = u"org.freedesktop.DBus"_s;

QDBusMessage ask(QDBusMessage call, const QVariantList& arguments)
{
    call.setArguments(arguments);
    return QDBusConnection::sessionBus().call(call, QDBus::Block, kAnswerMs);
}

bool nameIsThere(const QString& name)
{
    const QDBusMessage call
        = QDBusMessage::createMethodCall(kBus, u"/org/freedesktop/DBus"_s, kBus, u"NameHasOwner"_s);
    return ask(call, {name}).arguments().value(0).toBool();
}

// Or comes when it is called.
bool nameCanBeCalled(const QString& name)
{
    const QDBusMessage call = QDBusMessage::createMethodCall(
        kBus, u"/org/freedesktop/DBus"_s, kBus, u"ListActivatableNames"_s);
    return nameIsThere(name) || ask(call, {}).arguments().value(0).toStringList().contains(name);
}

bool isInstalled(const QString& tool)
{
    return !QStandardPaths::findExecutable(tool).isEmpty();
}

// The first number of what the tool says of itself, as far as it does.
QString versionOf(const QString& tool, const QString& option)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(tool, {option});
    if (!process.waitForFinished(kAnswerMs)) {
        process.kill();
        process.waitForFinished();
        return {};
    }
    static const QRegularExpression kNumber(u"\\d+(\\.\\d+)+"_s);
    return kNumber.match(QString::fromUtf8(process.readAll())).captured();
}

Finding examineTool(const QString& tool, const QString& versionOption, const QString& package)
{
    const QString subject = u"tool "_s + tool;
    if (!isInstalled(tool)) {
        return {subject, Verdict::Hint, u"Install %1."_s.arg(package)};
    }
    const QString version = versionOption.isEmpty() ? QString() : versionOf(tool, versionOption);
    return {subject, Verdict::Ok, version.isEmpty() ? u"installed"_s : version};
}

QString sessionText()
{
    const QString desktop = qEnvironmentVariable("XDG_CURRENT_DESKTOP");
    const QString type = SessionDetector::isWayland() ? u"Wayland"_s : u"X11"_s;
    return desktop.isEmpty() ? type : type + u", "_s + desktop;
}

Finding examineX11Delivery()
{
    if (!Assist::xServerAnswers()) {
        return {u"text"_s, Verdict::Problem, u"The X server refuses Tarq: see DISPLAY."_s};
    }
    if (!isInstalled(u"xdotool"_s) || !isInstalled(u"xprop"_s)) {
        return {u"text"_s, Verdict::Problem,
            u"Install xdotool and x11-utils, so that the text reaches its window."_s};
    }
    return {u"text"_s, Verdict::Ok, u"pasted by xdotool"_s};
}

QList<Finding> examineWaylandDelivery()
{
    Assist::WaylandFacts facts = Assist::measureWaylandFacts();
    facts.xwayland = Assist::xServerAnswers();
    facts.remoteDesktopPortal = portalVersion(u"org.freedesktop.portal.RemoteDesktop"_s) > 0;
    const Assist::WaylandMeans means = Assist::chooseWaylandMeans(facts);
    const bool arrives = means.clipboard != Assist::WaylandMeans::Clipboard::None
        && means.keys != Assist::WaylandMeans::Keys::None;
    QList<Finding> findings;
    if (arrives) {
        findings += {u"text"_s, Verdict::Ok, means.description()};
    }
    for (const QString& sentence : means.advice) {
        findings += {u"text"_s, arrives ? Verdict::Hint : Verdict::Problem, sentence};
    }
    return findings;
}

struct XcbDeleter {
    void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
    void operator()(xcb_key_symbols_t* symbols) const { xcb_key_symbols_free(symbols); }
};
template <typename T> using XcbOwner = std::unique_ptr<T, XcbDeleter>;

// By a grab of its own, which ends with the connection.
bool superAndSpaceAreFree()
{
    const XcbOwner<xcb_connection_t> connection(xcb_connect(nullptr, nullptr));
    if (xcb_connection_has_error(connection.get()) != 0) {
        return false;
    }
    const XcbOwner<xcb_key_symbols_t> symbols(xcb_key_symbols_alloc(connection.get()));
    const XcbPointer<xcb_keycode_t[]> keycodes(
        xcb_key_symbols_get_keycode(symbols.get(), kSpaceKeysym));
    if (keycodes == nullptr) {
        return false;
    }
    const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(connection.get())).data;
    const xcb_void_cookie_t cookie = xcb_grab_key_checked(connection.get(), 1, screen->root,
        XCB_MOD_MASK_4, keycodes[0], XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
    const XcbPointer<xcb_generic_error_t> error(xcb_request_check(connection.get(), cookie));
    return error == nullptr;
}

bool selectionIsOwned(const QByteArray& name)
{
    const XcbOwner<xcb_connection_t> connection(xcb_connect(nullptr, nullptr));
    if (xcb_connection_has_error(connection.get()) != 0) {
        return false;
    }
    const XcbPointer<xcb_intern_atom_reply_t> atom(xcb_intern_atom_reply(connection.get(),
        xcb_intern_atom(connection.get(), 1, static_cast<uint16_t>(name.size()), name.data()),
        nullptr));
    if (atom == nullptr || atom->atom == XCB_ATOM_NONE) {
        return false;
    }
    const XcbPointer<xcb_get_selection_owner_reply_t> owner(xcb_get_selection_owner_reply(
        connection.get(), xcb_get_selection_owner(connection.get(), atom->atom), nullptr));
    return owner != nullptr && owner->owner != XCB_WINDOW_NONE;
}

bool instanceListens()
{
    QLocalSocket socket;
    socket.connectToServer(kIpcName);
    return socket.waitForConnected(kAnswerMs);
}

} // namespace

uint portalVersion(const QString& interface)
{
    const QDBusMessage call
        = QDBusMessage::createMethodCall(QLatin1StringView(Assist::kPortalService),
            QLatin1StringView(Assist::kPortalPath), u"org.freedesktop.DBus.Properties"_s, u"Get"_s);
    const QDBusReply<QDBusVariant> reply = ask(call, {interface, u"version"_s});
    return reply.isValid() ? reply.value().variant().toUInt() : 0;
}

bool portalWatchesForHotkeys()
{
    return portalVersion(u"org.freedesktop.portal.GlobalShortcuts"_s) > 0
        && portalVersion(u"org.freedesktop.host.portal.Registry"_s) > 0;
}

QList<Finding> examineDelivery(Assist::Features features)
{
    const QString session = u"session"_s;
    switch (SessionDetector::detect()) {
    case SessionDetector::SessionType::Unknown:
        return {{session, Verdict::Problem, u"Start Tarq inside a desktop session."_s}};
    case SessionDetector::SessionType::X11:
        return {{session, Verdict::Ok, sessionText()}, examineX11Delivery()};
    case SessionDetector::SessionType::Wayland:
        break;
    }
    QList<Finding> findings{{session, Verdict::Ok, sessionText()}};
    if (!features.testFlag(Assist::Feature::Wayland)) {
        return findings
            += {u"text"_s, Verdict::Problem,
                u"Run tarq-doctor --setup, so that the text reaches its window on Wayland. Started "
                "from the menu, Tarq does without."_s};
    }
    return findings += examineWaylandDelivery();
}

QList<Finding> examineTools()
{
    QList<Finding> findings;
    if (SessionDetector::isWayland()) {
        findings += examineTool(u"wl-copy"_s, u"--version"_s, u"wl-clipboard"_s);
        findings += examineTool(u"wtype"_s, QString(), u"wtype"_s);
    } else {
        findings += examineTool(u"xdotool"_s, u"version"_s, u"xdotool"_s);
        findings += examineTool(u"xprop"_s, QString(), u"x11-utils"_s);
    }
    return findings += examineTool(u"pactl"_s, u"--version"_s, u"pulseaudio-utils"_s);
}

Finding examinePortals()
{
    const uint keys = portalVersion(u"org.freedesktop.portal.RemoteDesktop"_s);
    QStringList words;
    if (keys > 0) {
        words += u"keys (RemoteDesktop %1)"_s.arg(keys);
    }
    if (portalWatchesForHotkeys()) {
        words += u"hotkeys (GlobalShortcuts)"_s;
    }
    return {u"portals"_s, Verdict::Ok,
        words.isEmpty() ? u"none that Tarq could use"_s : words.join(u", "_s)};
}

Finding examineChannel()
{
    if (instanceListens()) {
        return {u"running"_s, Verdict::Ok, u"Tarq is running and listens"_s};
    }
    return {u"running"_s, Verdict::Hint, u"Start Tarq."_s};
}

Finding examineHotkey(Assist::Features features)
{
    const QString subject = u"hotkey"_s;
    if (SessionDetector::isWayland()) {
        if (portalWatchesForHotkeys() && features.testFlag(Assist::Feature::Hold)) {
            return {subject, Verdict::Ok,
                nameIsThere(u"org.gnome.Shell"_s) ? u"hold Ctrl+Super+Space"_s
                                                  : u"hold Super+Space"_s};
        }
        return {subject, Verdict::Hint,
            u"Run tarq-doctor --setup, or bind tarq-linux --toggle to a key of the desktop."_s};
    }
    if (instanceListens()) {
        return {subject, Verdict::Ok, u"Super+Space is for Tarq, which is running, to take"_s};
    }
    if (superAndSpaceAreFree()) {
        return {subject, Verdict::Ok, u"Super+Space is free"_s};
    }
    return {subject, Verdict::Hint,
        u"Another program has Super+Space: give it another key there, or click the bubble."_s};
}

Finding examineTray()
{
    const bool embedding = SessionDetector::isX11() && selectionIsOwned("_NET_SYSTEM_TRAY_S0");
    if (embedding || nameIsThere(u"org.kde.StatusNotifierWatcher"_s)) {
        return {u"tray"_s, Verdict::Ok, u"there"_s};
    }
    return {u"tray"_s, Verdict::Hint,
        u"This desktop shows no icons of programs: install an extension, or do without."_s};
}

Finding examineNotifications()
{
    if (nameCanBeCalled(u"org.freedesktop.Notifications"_s)) {
        return {u"notifications"_s, Verdict::Ok, u"there"_s};
    }
    return {u"notifications"_s, Verdict::Hint,
        u"Install a notification service, for example dunst or mako."_s};
}

} // namespace Doctor
