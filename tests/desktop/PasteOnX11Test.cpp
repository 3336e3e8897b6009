#include "desktop/InputFocusMonitor.h"
#include "desktop/PatientWaits.h"
#include "desktop/TerminalWindow.h"
#include "desktop/TextInjectionService.h"
#include "support/TarqTest.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QProcess>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

const TerminalWindow::Looks kEditor{u"gedit"_s, u"Gedit"_s, u"Ctrl ~Shift <KeyPress>v"_s};
const TerminalWindow::Looks kTerminal{u"xterm"_s, u"XTerm"_s, u"Ctrl Shift <KeyPress>v"_s};
const TerminalWindow::Looks kFileManager{u"thunar"_s, u"Thunar"_s, u"Ctrl <KeyPress>v"_s};
const TerminalWindow::Looks kOurs{u"tarq-linux"_s, u"tarq-linux"_s, u"Ctrl <KeyPress>v"_s};

QString windowClassOf(const TerminalWindow::Looks& looks)
{
    return u"\"%1\", \"%2\""_s.arg(looks.instanceName, looks.className);
}

QString outputOf(const QString& tool, const QStringList& arguments)
{
    QProcess process;
    process.start(tool, arguments);
    process.waitForFinished();
    return QString::fromUtf8(process.readAllStandardOutput()).trimmed();
}

bool isActive(const TerminalWindow::Looks& looks)
{
    const QString id = outputOf(u"xdotool"_s, {u"getactivewindow"_s});
    return outputOf(u"xprop"_s, {u"-id"_s, id, u"WM_CLASS"_s}).contains(looks.className);
}

} // namespace

// The real tools, on real windows of a real X server.
class PasteOnX11Test final : public TarqTest
{
    Q_OBJECT

private slots:
    void cleanupTestCase();
    void emptyDesktopHasNoTextWindow();
    void editorTakesTextAndAFileManagerDoesnt();
    void lastTextWindowSurvivesItsEnd();
    void ownWindowKeepsTheEditorsFocus();
    void textIsPastedIntoTheEditorBehindAFileManager();
    void textIsPastedIntoATerminal();
    void closedWindowLeavesTheTextOnTheClipboard();
    void selectionIsLeftAlone();

private:
    /// A file manager is what becomes active whenever the windows of a test are gone. Without any
    /// window the last one that was active would stay so.
    void openWindowBehind();

    [[nodiscard]] QString outputPath(const QString& name) const { return homePath(name); }

    /// Returns when the monitor has seen the window.
    static void waitForText(const InputFocusMonitor& monitor, const TerminalWindow::Looks& looks)
    {
        QTRY_COMPARE(monitor.lastTextWindowClass(), windowClassOf(looks));
        QTRY_VERIFY(monitor.hasInputFocus());
    }

    const PatientWaits m_patience;
    std::unique_ptr<TerminalWindow> m_windowBehind;
};

void PasteOnX11Test::openWindowBehind()
{
    if (!m_windowBehind) {
        m_windowBehind = std::make_unique<TerminalWindow>(kFileManager, u"/dev/null"_s);
    }
    QTRY_VERIFY(isActive(kFileManager));
}

void PasteOnX11Test::cleanupTestCase()
{
    m_windowBehind.reset();
}

void PasteOnX11Test::emptyDesktopHasNoTextWindow()
{
    InputFocusMonitor monitor;
    const QSignalSpy changed(&monitor, &InputFocusMonitor::inputFocusChanged);
    monitor.start();
    QVERIFY(!monitor.hasInputFocus());
    QCOMPARE(monitor.lastTextWindowId(), QString());
    QCOMPARE(changed.count(), 0);
}

void PasteOnX11Test::editorTakesTextAndAFileManagerDoesnt()
{
    openWindowBehind();
    InputFocusMonitor monitor;
    const QSignalSpy changed(&monitor, &InputFocusMonitor::inputFocusChanged);
    monitor.start();
    const TerminalWindow editor(kEditor, outputPath(u"editor"_s));
    waitForText(monitor, kEditor);
    QVERIFY(!monitor.lastTextWindowIsTerminal());
    QVERIFY(monitor.lastTextWindowId().toULongLong() > 0);
    const QString editorId = monitor.lastTextWindowId();

    const TerminalWindow fileManager(kFileManager, outputPath(u"files"_s));
    QTRY_VERIFY(!monitor.hasInputFocus());
    QCOMPARE(monitor.lastTextWindowId(), editorId);
    QCOMPARE(changed.count(), 2);
    QCOMPARE(changed.at(0).first().toBool(), true);
    QCOMPARE(changed.at(1).first().toBool(), false);
}

void PasteOnX11Test::lastTextWindowSurvivesItsEnd()
{
    openWindowBehind();
    InputFocusMonitor monitor;
    monitor.start();
    TerminalWindow editor(kEditor, outputPath(u"editor"_s));
    waitForText(monitor, kEditor);
    const QString editorId = monitor.lastTextWindowId();
    editor.close();
    QTRY_VERIFY(!monitor.hasInputFocus());
    QCOMPARE(monitor.lastTextWindowId(), editorId);
    QCOMPARE(monitor.lastTextWindowClass(), windowClassOf(kEditor));
}

void PasteOnX11Test::ownWindowKeepsTheEditorsFocus()
{
    openWindowBehind();
    InputFocusMonitor monitor;
    const QSignalSpy changed(&monitor, &InputFocusMonitor::inputFocusChanged);
    monitor.start();
    const TerminalWindow editor(kEditor, outputPath(u"editor"_s));
    waitForText(monitor, kEditor);
    const QString editorId = monitor.lastTextWindowId();

    {
        const TerminalWindow bubble(kOurs, outputPath(u"ours"_s));
        QTRY_VERIFY(isActive(kOurs));
        QVERIFY(QMetaObject::invokeMethod(&monitor, "poll"));
        QVERIFY(monitor.hasInputFocus());
        QCOMPARE(monitor.lastTextWindowId(), editorId);
    }
    QCOMPARE(changed.count(), 1);
}

void PasteOnX11Test::textIsPastedIntoTheEditorBehindAFileManager()
{
    openWindowBehind();
    InputFocusMonitor monitor;
    monitor.start();
    const TerminalWindow editor(kEditor, outputPath(u"editor"_s));
    waitForText(monitor, kEditor);
    const TerminalWindow fileManager(kFileManager, outputPath(u"files"_s));
    QTRY_VERIFY(!monitor.hasInputFocus());
    QTRY_VERIFY(QFile::exists(outputPath(u"files"_s)));

    TextInjectionService service(&monitor);
    const QSignalSpy finished(&service, &TextInjectionService::injectionFinished);
    const QSignalSpy failed(&service, &TextInjectionService::injectionFailed);
    service.inject(u" Hello editor. \n"_s);
    QTRY_COMPARE(finished.count(), 1);
    QTRY_COMPARE(readFile(outputPath(u"editor"_s)), "Hello editor."_ba);
    QCOMPARE(readFile(outputPath(u"files"_s)), QByteArray());
    QCOMPARE(failed.count(), 0);
    // It was raised on the way.
    QTRY_VERIFY(monitor.hasInputFocus());
}

void PasteOnX11Test::textIsPastedIntoATerminal()
{
    openWindowBehind();
    InputFocusMonitor monitor;
    monitor.start();
    const TerminalWindow terminal(kTerminal, outputPath(u"terminal"_s));
    waitForText(monitor, kTerminal);
    QVERIFY(monitor.lastTextWindowIsTerminal());

    TextInjectionService service(&monitor);
    const QSignalSpy finished(&service, &TextInjectionService::injectionFinished);
    service.inject(u"echo hello"_s);
    QTRY_COMPARE(readFile(outputPath(u"terminal"_s)), "echo hello"_ba);
    QTRY_COMPARE(finished.count(), 1);
}

void PasteOnX11Test::closedWindowLeavesTheTextOnTheClipboard()
{
    openWindowBehind();
    InputFocusMonitor monitor;
    monitor.start();
    {
        const TerminalWindow editor(kEditor, outputPath(u"editor"_s));
        waitForText(monitor, kEditor);
    }
    QTRY_VERIFY(!monitor.hasInputFocus());

    TextInjectionService service(&monitor);
    const QSignalSpy finished(&service, &TextInjectionService::injectionFinished);
    const QSignalSpy failed(&service, &TextInjectionService::injectionFailed);
    service.inject(u"hello"_s);
    QTRY_COMPARE(failed.count(), 1);
    QCOMPARE(failed.first().first().toString(), u"xdotool windowactivate failed"_s);
    QCOMPARE(finished.count(), 0);
    QCOMPARE(QGuiApplication::clipboard()->text(), u"hello"_s);
}

// What the user has selected is there for the middle button, and isn't ours to replace.
void PasteOnX11Test::selectionIsLeftAlone()
{
    QClipboard* clipboard = QGuiApplication::clipboard();
    QVERIFY(clipboard->supportsSelection());
    clipboard->setText(u"selected"_s, QClipboard::Selection);
    TextInjectionService service(nullptr);
    QSignalSpy finished(&service, &TextInjectionService::injectionFinished);
    service.inject(u"spoken"_s);
    QVERIFY(finished.wait());
    QCOMPARE(clipboard->text(QClipboard::Clipboard), u"spoken"_s);
    QCOMPARE(clipboard->text(QClipboard::Selection), u"selected"_s);
}

QTEST_MAIN(PasteOnX11Test)
#include "PasteOnX11Test.moc"
