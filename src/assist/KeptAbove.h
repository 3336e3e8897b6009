#pragma once

#include <QObject>

#include <xcb/xcb.h>

#include <memory>

class QWindow;

namespace Assist {

// Keeps a window that no window manager knows above all others of its X server. Wayland compositors
// draw it above, but XWayland hands a press to the window that is above in its own order, where
// each managed one goes to the top when it gets the focus. Belongs to the window, which has to be
// shown or about to be.
class KeptAbove final : public QObject
{
    Q_OBJECT

public:
    explicit KeptAbove(QWindow* window);

private:
    void handleEvents();

    const std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> m_connection;
    const xcb_window_t m_window;
};

} // namespace Assist
