#include "assist/KeptAbove.h"

#include "desktop/XcbPointer.h"

#include <QSocketNotifier>
#include <QWindow>

namespace Assist {

namespace {

constexpr uint8_t kSentMask = 0x80; // of an event's type: another client has sent it

// Whether a window of the window manager has come, or has changed its place in the order.
bool restacksManagedWindow(const xcb_generic_event_t& event)
{
    switch (event.response_type & ~kSentMask) {
    case XCB_CONFIGURE_NOTIFY:
        return reinterpret_cast<const xcb_configure_notify_event_t&>(event).override_redirect == 0;
    case XCB_MAP_NOTIFY:
        return reinterpret_cast<const xcb_map_notify_event_t&>(event).override_redirect == 0;
    default:
        return false;
    }
}

} // namespace

KeptAbove::KeptAbove(QWindow* window)
    : QObject(window)
    , m_connection(xcb_connect(nullptr, nullptr), &xcb_disconnect)
    , m_window(static_cast<xcb_window_t>(window->winId()))
{
    xcb_connection_t* connection = m_connection.get();
    if (xcb_connection_has_error(connection) != 0) {
        return;
    }
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    constexpr uint32_t kEvents = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
    xcb_change_window_attributes(connection, root, XCB_CW_EVENT_MASK, &kEvents);
    xcb_flush(connection);
    auto* notifier
        = new QSocketNotifier(xcb_get_file_descriptor(connection), QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, [this, notifier]() {
        handleEvents();
        // The descriptor of a server that is gone would announce itself without end.
        notifier->setEnabled(xcb_connection_has_error(m_connection.get()) == 0);
    });
}

void KeptAbove::handleEvents()
{
    bool restacked = false;
    while (const XcbPointer<xcb_generic_event_t> event{xcb_poll_for_event(m_connection.get())}) {
        restacked = restacked || restacksManagedWindow(*event);
    }
    if (restacked) {
        constexpr uint32_t kAbove = XCB_STACK_MODE_ABOVE;
        xcb_configure_window(m_connection.get(), m_window, XCB_CONFIG_WINDOW_STACK_MODE, &kAbove);
        xcb_flush(m_connection.get());
    }
}

} // namespace Assist
