#include "assist/WaylandMeans.h"

#include <QGuiApplication>
#include <QStandardPaths>

#include <wayland-client.h>

using namespace Qt::StringLiterals;

namespace Assist {

namespace {

void collect(void* interfaces, wl_registry* /*registry*/, uint32_t /*name*/, const char* interface,
    uint32_t /*version*/)
{
    static_cast<QSet<QByteArray>*>(interfaces)->insert(interface);
}

void ignoreRemoval(void* /*interfaces*/, wl_registry* /*registry*/, uint32_t /*name*/) { }

bool isInstalled(const QString& tool)
{
    return !QStandardPaths::findExecutable(tool).isEmpty();
}

QString nameOf(WaylandMeans::Clipboard clipboard)
{
    switch (clipboard) {
    case WaylandMeans::Clipboard::Qt:
        return u"Qt"_s;
    case WaylandMeans::Clipboard::WlCopy:
        return u"wl-copy"_s;
    case WaylandMeans::Clipboard::None:
        break;
    }
    return u"nothing"_s;
}

QString nameOf(WaylandMeans::Keys keys)
{
    switch (keys) {
    case WaylandMeans::Keys::Portal:
        return u"the desktop portal"_s;
    case WaylandMeans::Keys::Wtype:
        return u"wtype"_s;
    case WaylandMeans::Keys::None:
        break;
    }
    return u"nothing"_s;
}

QString adviceOnKeys(const WaylandFacts& facts)
{
    return facts.virtualKeyboard
        ? u"Install wtype, so that Tarq can press the paste keys."_s
        : u"Install this desktop's xdg-desktop-portal, so that Tarq can press the paste keys."_s;
}

} // namespace

QString WaylandMeans::description() const
{
    return u"Wayland: clipboard by %1, keys by %2"_s.arg(nameOf(clipboard), nameOf(keys));
}

WaylandMeans chooseWaylandMeans(const WaylandFacts& facts)
{
    WaylandMeans means;
    if (facts.dataControl && facts.wlClipboard) {
        means.clipboard = WaylandMeans::Clipboard::WlCopy;
        means.primary = true;
    } else if (facts.xwayland && (facts.remoteDesktopPortal || !facts.dataControl)) {
        // Compositors that have data control and no such portal pass over the clipboard of an X11
        // program without the focus, and all that have data control over its primary selection.
        means.clipboard = WaylandMeans::Clipboard::Qt;
        means.primary = !facts.dataControl;
    }
    if (facts.remoteDesktopPortal) {
        means.keys = WaylandMeans::Keys::Portal;
    } else if (facts.virtualKeyboard && facts.wtype) {
        means.keys = WaylandMeans::Keys::Wtype;
    }

    if (means.keys == WaylandMeans::Keys::None) {
        means.advice += adviceOnKeys(facts);
    }
    if (facts.dataControl && !facts.wlClipboard) {
        means.advice += u"Install wl-clipboard, so that the text reaches the clipboard."_s;
    }
    if (!facts.xwayland) {
        means.advice += u"Install XWayland, so that the bubble leaves the keyboard alone."_s;
    }
    return means;
}

QSet<QByteArray> waylandInterfaces()
{
    QSet<QByteArray> interfaces;
    wl_display* display = wl_display_connect(nullptr);
    if (display == nullptr) {
        return interfaces;
    }
    constexpr wl_registry_listener kListener{collect, ignoreRemoval};
    wl_registry* registry = wl_display_get_registry(display);
    wl_registry_add_listener(registry, &kListener, &interfaces);
    wl_display_roundtrip(display);
    wl_registry_destroy(registry);
    wl_display_disconnect(display);
    return interfaces;
}

WaylandFacts measureWaylandFacts()
{
    const QSet<QByteArray> interfaces = waylandInterfaces();
    WaylandFacts facts;
    facts.xwayland = QGuiApplication::platformName() == "xcb"_L1;
    facts.virtualKeyboard = interfaces.contains("zwp_virtual_keyboard_manager_v1");
    facts.dataControl = interfaces.contains("zwlr_data_control_manager_v1")
        || interfaces.contains("ext_data_control_manager_v1");
    facts.wtype = isInstalled(u"wtype"_s);
    facts.wlClipboard = isInstalled(u"wl-copy"_s) && isInstalled(u"wl-paste"_s);
    return facts;
}

} // namespace Assist
