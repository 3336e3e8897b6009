#pragma once

#include <QObject>
#include <QString>

class InputFocusMonitor;
class QProcess;
class TextDelivery;

// Puts a text into the window that last took text: through the clipboard, and by having a tool
// press the paste keys, xdotool on X11 and wtype on Wayland. The text stays on the clipboard; what
// was there before is gone. Each inject() ends in one of the two signals, with two exceptions: a
// tool that hangs, or a windowactivate that can't be started, ends in none, and a tool that crashes
// may end in two. Nothing is queued: a second inject() runs beside the first.
class TextInjectionService final : public QObject
{
    Q_OBJECT

public:
    /// Finds the tools. `focusMonitor` may be null: then no window is raised before the paste.
    explicit TextInjectionService(InputFocusMonitor* focusMonitor, QObject* parent = nullptr);
    /// Kills the tools that still run.
    ~TextInjectionService() override;

    /// From now on this one brings the texts into their windows, in place of the clipboard and the
    /// tools; null for those again. It is a child of this, or of somebody who goes with it.
    void setDelivery(TextDelivery* delivery) { m_delivery = delivery; }

    /// Pastes the trimmed text.
    void inject(const QString& text);

signals:
    /// The tool pressed the keys; whether the window took the text can't be known.
    void injectionFinished();
    void injectionFailed(const QString& error);

private:
    void performPaste();
    void pasteOnWayland();
    void pasteOnX11();
    QProcess* createPasteProcess(const QString& failedMessage, const QString& notStartedMessage);

    InputFocusMonitor* const m_focusMonitor;
    const QString m_xdotoolPath;
    const QString m_wtypePath;
    TextDelivery* m_delivery = nullptr;
};
