#include "Keyboard.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QProcess>
#include <QTest>
#include <QtTest/qtestspontaneevent.h>

using namespace Qt::StringLiterals;

namespace {

constexpr int kRepeats = 5;
// Follows a release, to tell that all before it has arrived. No control minds it.
constexpr auto kMark = "Shift_R"_L1;

void run(const QString& program, const QStringList& arguments)
{
    QCOMPARE(QProcess::execute(program, arguments), 0);
}

} // namespace

Keyboard::Keyboard()
{
    qGuiApp->installEventFilter(this);
    // After 100 ms, 50 times a second.
    run(u"xset"_s, {u"r"_s, u"rate"_s, u"100"_s, u"50"_s});
}

void Keyboard::hold(const QString& keys)
{
    press(keys);
    waitForRepeats();
    release(keys);
}

void Keyboard::press(const QString& keys)
{
    m_presses = 0;
    run(u"xdotool"_s, {u"keydown"_s, keys});
    QTRY_VERIFY(m_presses > keys.count(u'+'));
}

void Keyboard::waitForRepeats()
{
    m_presses = 0;
    QTRY_VERIFY(m_presses >= kRepeats);
}

void Keyboard::letGo(const QString& keys)
{
    run(u"xdotool"_s, {u"keyup"_s, keys});
}

void Keyboard::release(const QString& keys)
{
    m_markReleased = false;
    run(u"xdotool"_s, {u"keyup"_s, keys, u"key"_s, kMark});
    QTRY_VERIFY(m_markReleased);
}

void Keyboard::send(QWindow* window, bool press, int key, int time, bool marked)
{
    QKeyEvent event(press ? QEvent::KeyPress : QEvent::KeyRelease, key, Qt::NoModifier,
        key == Qt::Key_Space ? u" "_s : QString(), marked);
    event.setTimestamp(static_cast<quint64>(time));
    QSpontaneKeyEvent::setSpontaneous(&event);
    qGuiApp->notify(window, &event); // sendEvent() takes the mark away
}

bool Keyboard::eventFilter(QObject* watched, QEvent* event)
{
    if (watched->isWindowType() && event->spontaneous()) {
        if (event->type() == QEvent::KeyPress) {
            ++m_presses;
        } else if (event->type() == QEvent::KeyRelease
            && static_cast<QKeyEvent*>(event)->key() == Qt::Key_Shift) {
            m_markReleased = true;
        }
    }
    return false;
}
