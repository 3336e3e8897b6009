#include "desktop/TerminalWindow.h"

using namespace Qt::StringLiterals;

TerminalWindow::TerminalWindow(const Looks& looks, const QString& outputFile)
{
    // The rest of the keyboard is cut off, so that no other key leaves anything in the file.
    const QString translations = u"*VT100.translations: #override \\n "
                                 "%1: insert-selection(CLIPBOARD) \\n <KeyPress>: ignore()"_s;
    m_process.setProcessChannelMode(QProcess::ForwardedChannels);
    m_process.start(u"xterm"_s,
        {u"-name"_s, looks.instanceName, u"-class"_s, looks.className, u"-xrm"_s,
            translations.arg(looks.pasteKeys), u"-e"_s, u"sh"_s, u"-c"_s,
            u"stty raw -echo && : >\"$0\" && exec cat >\"$0\""_s, outputFile});
}

TerminalWindow::~TerminalWindow()
{
    close();
}

void TerminalWindow::close()
{
    m_process.terminate();
    m_process.waitForFinished();
}
