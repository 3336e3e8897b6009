#pragma once

#include <QObject>
#include <QWindow>

// The keys of this desktop, pressed as a user does, with the X server's own repeats.
class Keyboard final : public QObject
{
    Q_OBJECT

public:
    Keyboard();

    // Holds a combination in xdotool's words until its last key has been repeated a few times, and
    // returns when everything that came of it has arrived.
    Q_INVOKABLE void hold(const QString& keys);
    // The same in its steps.
    Q_INVOKABLE void press(const QString& keys);
    Q_INVOKABLE void waitForRepeats();
    Q_INVOKABLE void letGo(const QString& keys);
    Q_INVOKABLE void release(const QString& keys); // and wait for what comes of it

    // One event as the display would send it at this time, in milliseconds.
    Q_INVOKABLE void send(QWindow* window, bool press, int key, int time, bool marked);

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    int m_presses = 0;
    bool m_markReleased = false;
};
