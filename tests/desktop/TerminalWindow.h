#pragma once

#include <QProcess>
#include <QString>

// A real X11 window under any WM_CLASS that pastes the clipboard into a file when its keys are
// pressed: an xterm that passes for another program.
class TerminalWindow final
{
public:
    struct Looks {
        QString instanceName;
        QString className;
        /// In the form of the X Toolkit, for example "Ctrl <Key>v".
        QString pasteKeys;
    };

    TerminalWindow(const Looks& looks, const QString& outputFile);
    ~TerminalWindow();
    Q_DISABLE_COPY_MOVE(TerminalWindow)

    void close();

private:
    QProcess m_process;
};
