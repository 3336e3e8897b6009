#pragma once

#include <QByteArray>
#include <QHash>
#include <QString>
#include <QStringList>

namespace Assist {

/// What a Wayland session offers to a program that brings a text into another program's window.
struct WaylandFacts {
    bool xwayland = false; ///< the program's own windows go through XWayland
    bool remoteDesktopPortal = false; ///< the portal presses keys, if the user allows it
    bool virtualKeyboard = false; ///< the compositor takes keys from wtype
    bool dataControl = false; ///< the compositor takes a clipboard from wl-copy
    bool primaryControl = false; ///< and the primary selection, too
    bool wtype = false; ///< installed
    bool wlClipboard = false; ///< wl-copy and wl-paste are installed
};

/// The way that a text takes.
struct WaylandMeans {
    enum class Clipboard { None, Qt, WlCopy };
    enum class Keys { None, Portal, Wtype };

    Clipboard clipboard = Clipboard::None;
    /// Whether the primary selection can be set, too.
    bool primary = false;
    Keys keys = Keys::None;
    /// What would make it better: sentences for the user, most important first.
    QStringList advice;

    /// For the log.
    [[nodiscard]] QString description() const;
};

[[nodiscard]] WaylandMeans chooseWaylandMeans(const WaylandFacts& facts);

/// The interfaces that the compositor announces (wl_registry), with their versions; empty if there
/// is none. Blocks for as long as the compositor takes to answer.
[[nodiscard]] QHash<QByteArray, uint> waylandInterfaces();

/// Everything but the portal, which answers later.
[[nodiscard]] WaylandFacts measureWaylandFacts();

} // namespace Assist
