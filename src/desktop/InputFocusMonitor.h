#pragma once

#include <QObject>
#include <QString>
#include <QTimer>

// Watches which window is active by polling xdotool and xprop, and remembers the last one that
// takes text: the target of the next paste. Whether a window takes text is judged by its WM_CLASS
// (ICCCM) alone: every window does that isn't known not to. Without xdotool it never starts, and
// nothing is reported. Created by main, lent to the pipeline.
class InputFocusMonitor final : public QObject
{
    Q_OBJECT

public:
    /// Finds the two tools. No poll runs before start().
    explicit InputFocusMonitor(QObject* parent = nullptr);

    /// Polls at once and then every 250 ms. A poll blocks for as long as the tools take, at most
    /// 200 ms for each of the two.
    void start();
    void stop();

    [[nodiscard]] bool hasInputFocus() const { return m_hasInputFocus; }
    /// The window's id in the form that xdotool prints and takes; empty if there was none yet. It
    /// outlives the window.
    [[nodiscard]] QString lastTextWindowId() const { return m_lastTextWindowId; }
    /// The value of WM_CLASS as xprop prints it: both names, quoted.
    [[nodiscard]] QString lastTextWindowClass() const { return m_lastTextWindowClass; }
    [[nodiscard]] bool lastTextWindowIsTerminal() const;

    /// Both take the value of WM_CLASS, and give false for an empty one.
    [[nodiscard]] static bool isTextInputWindow(const QString& windowClass);
    [[nodiscard]] static bool isTerminalWindow(const QString& windowClass);

signals:
    void inputFocusChanged(bool hasFocus);

private slots:
    void poll();

private:
    [[nodiscard]] QString queryActiveWindowId() const;
    [[nodiscard]] QString queryWindowClass(const QString& windowId) const;

    QTimer m_pollTimer{this};
    const QString m_xdotoolPath;
    const QString m_xpropPath;
    bool m_hasInputFocus = false;
    QString m_currentWindowId;
    QString m_lastTextWindowId;
    QString m_lastTextWindowClass;
};
