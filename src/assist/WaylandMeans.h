#pragma once

#include <QByteArray>
#include <QSet>
#include <QString>
#include <QStringList>

namespace Assist {

/// What a Wayland session offers to a program that brings a text into another program's window.
struct WaylandFacts {
    bool xwayland = false; ///< the program's own windows go through XWayland
    bool remoteDesktopPortal = false; ///< the portal presses keys, if the user allows it
    bool virtualKeyboard = false; ///< the compositor takes keys from wtype
    bool dataControl = false; ///< the compositor takes a clipboard from wl-copy
    bool wtype = false; ///< installed
    bool wlClipboard = false; ///< wl-copy and wl-paste are installed
};

/// The way that a text takes.
struct WaylandMeans {
    enum class Clipboard { None, Qt, WlCopy };
    enum class Keys { None, Portal, Wtype };

    Clipboard clipboard = Clipboard::None;
    /// Whether to try the primary selection, too: KWin 5.27 doesn't tell that it takes none.
    bool primary = false;
    Keys keys = Keys::None;
    /// What would make it better: sentences for the user, most important first.
    QStringList advice;

    /// For the log.
    [[nodiscard]] QString description() const;
};

[[nodiscard]] WaylandMeans chooseWaylandMeans(const WaylandFacts& facts);

/// The names of the interfaces that the compositor announces (wl_registry); empty if there is none.
/// Blocks for as long as the compositor takes to answer.
[[nodiscard]] QSet<QByteArray> waylandInterfaces();

/// Everything but the portal, which answers later.
[[nodiscard]] WaylandFacts measureWaylandFacts();

} // namespace Assist
