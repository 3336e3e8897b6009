#pragma once

class QWindow;

/// Has xprop set the EWMH properties of the bubble's window, a moment from now, since a window
/// manager resets them when it maps a window: a utility window above the others, in no task bar and
/// no pager. Nothing is reported: without xprop, or on Wayland, the window stays as QML made it. A
/// null window is ignored.
void applyX11WindowHints(QWindow* window);
