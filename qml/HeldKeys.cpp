#include "HeldKeys.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QQuickItem>

namespace {

bool clicks(const QKeyEvent& event)
{
    switch (event.key()) {
    case Qt::Key_Space:
    case Qt::Key_Return:
    case Qt::Key_Enter:
        return true;
    case Qt::Key_Tab:
        // Alone it walks from control to control for as long as it is held. With these it is a part
        // of a hotkey, after which it must not walk away.
        return event.modifiers().testAnyFlags(
            Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier);
    default:
        return false;
    }
}

bool focusTakesText()
{
    const auto* item = qobject_cast<QQuickItem*>(QGuiApplication::focusObject());
    return item != nullptr && item->flags().testFlag(QQuickItem::ItemAcceptsInputMethod);
}

} // namespace

HeldKeys::HeldKeys(QObject* parent)
    : QObject(parent)
{
    qGuiApp->installEventFilter(this);
    connect(qGuiApp, &QGuiApplication::focusObjectChanged, this, &HeldKeys::leaveHolds);
}

bool HeldKeys::eventFilter(QObject* watched, QEvent* event)
{
    // As it comes from the display, and not once more on its way to a control or to a menu.
    if (!event->spontaneous() || !watched->isWindowType()) {
        return false;
    }
    switch (event->type()) {
    case QEvent::KeyPress:
        return swallowsPress(static_cast<const QKeyEvent&>(*event));
    case QEvent::KeyRelease:
        return swallowsRelease(static_cast<const QKeyEvent&>(*event));
    case QEvent::MouseButtonPress:
    case QEvent::TouchBegin:
        // The click that begins here may be on the control that a key is held on.
        leaveHolds();
        return false;
    default:
        return false;
    }
}

bool HeldKeys::concerns(const QKeyEvent& event) const
{
    return clicks(event) || m_holds.contains(event.key());
}

void HeldKeys::leaveHolds()
{
    for (Stage& stage : m_holds) {
        stage = Stage::Void;
    }
}

// X11 repeats a key by a release and a press of the same time. Qt marks the two as repeated only if
// both are in its queue when it looks at the first, which is why the mark alone won't do.
bool HeldKeys::repeats(const QKeyEvent& press) const
{
    return m_holds.value(press.key()) == Stage::Pressed
        || (m_lastRelease && m_lastRelease->key == press.key()
            && m_lastRelease->time == press.timestamp());
}

bool HeldKeys::swallowsPress(const QKeyEvent& event)
{
    if (repeats(event)) {
        const bool isBlank = event.key() == Qt::Key_Space && focusTakesText();
        return !isBlank || m_holds.value(event.key()) == Stage::Void;
    }
    m_lastRelease.reset();
    if (clicks(event)) {
        m_holds[event.key()] = Stage::Pressed;
    } else {
        m_holds.remove(event.key());
    }
    return false;
}

bool HeldKeys::swallowsRelease(const QKeyEvent& event)
{
    if (!concerns(event)) {
        return false;
    }
    m_lastRelease = Release{event.key(), event.timestamp()};
    Stage& stage = m_holds[event.key()];
    if (event.isAutoRepeat() || stage != Stage::Pressed) {
        return true;
    }
    stage = Stage::Released;
    return false;
}
