#include "PopupWindow.h"

#include <QGuiApplication>
#include <QMouseEvent>
#include <QScreen>

using namespace Qt::StringLiterals;

namespace {

// The start of a stretch of `size` that begins at `wanted`, or ends there if the limit comes
// before.
int placed(int wanted, int size, int lowest, int highest)
{
    const int start = wanted + size > highest ? wanted - size : wanted;
    return qMax(start, lowest);
}

} // namespace

PopupWindow::PopupWindow(QWindow* parent)
    : QQuickWindow(parent)
{
    setFlags(Qt::Popup | Qt::FramelessWindowHint | Qt::NoDropShadowWindowHint);
}

void PopupWindow::popup(QWindow* owner, const QPointF& position)
{
    setTransientParent(owner);
    owner->installEventFilter(this);
    setScreen(owner->screen());
    const QPoint corner = owner->mapToGlobal(position.toPoint());
    const QRect screen = owner->screen()->availableGeometry();
    setPosition(placed(corner.x(), width(), screen.left(), screen.right() + 1),
        placed(corner.y(), height(), screen.top(), screen.bottom() + 1));
    show();
}

bool PopupWindow::eventFilter(QObject* watched, QEvent* event)
{
    // A Wayland compositor may leave the keyboard with the owner.
    const bool isKey = event->type() == QEvent::KeyPress || event->type() == QEvent::KeyRelease;
    if (isKey && isVisible() && watched == transientParent()) {
        return QCoreApplication::sendEvent(this, event);
    }
    return QQuickWindow::eventFilter(watched, event);
}

void PopupWindow::exposeEvent(QExposeEvent* event)
{
    QQuickWindow::exposeEvent(event);
    // Wayland compositors do this for popups by themselves.
    if (!isExposed() || QGuiApplication::platformName() != "xcb"_L1) {
        return;
    }
    if (!setMouseGrabEnabled(true)) {
        // Somebody else holds the pointer, and a press elsewhere would go unnoticed.
        close();
        return;
    }
    setKeyboardGrabEnabled(true);
}

void PopupWindow::hideEvent(QHideEvent* event)
{
    if (QGuiApplication::platformName() == "xcb"_L1) {
        setKeyboardGrabEnabled(false);
        setMouseGrabEnabled(false);
    }
    QQuickWindow::hideEvent(event);
}

void PopupWindow::mousePressEvent(QMouseEvent* event)
{
    if (!QRect(QPoint(), size()).contains(event->position().toPoint())) {
        close();
        return;
    }
    QQuickWindow::mousePressEvent(event);
}
