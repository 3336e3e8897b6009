#include "desktop/TextInjectionService.h"
#include "desktop/InputFocusMonitor.h"
#include "desktop/PatientWaits.h"
#include "desktop/ScriptedTools.h"
#include "support/TarqTest.h"

#include <QClipboard>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QProcess>

#include <algorithm>
#include <memory>

#include <csignal>

using namespace Qt::StringLiterals;

namespace {

const QString kEditor = u"\"gedit\", \"Gedit\""_s;
const QString kTerminal = u"\"xterm\", \"XTerm\""_s;

const QString kRaise = u"xdotool|windowactivate|--sync|7"_s;
const QString kDirectPaste = u"xdotool|key|--clearmodifiers|ctrl+v"_s;
const QString kPaste = u"xdotool|key|--delay|12|--clearmodifiers|ctrl+v"_s;
const QString kTerminalPaste = u"xdotool|key|--delay|12|--clearmodifiers|ctrl+shift+v"_s;
const QString kWaylandPaste = u"wtype|-M|ctrl|v|-m|ctrl"_s;

QString clipboardText()
{
    return QGuiApplication::clipboard()->text(QClipboard::Clipboard);
}

// Collects the signals of a service as words: "finished", or the error.
class Outcomes final
{
public:
    explicit Outcomes(TextInjectionService* service)
        : m_service(service)
    {
        QObject::connect(service, &TextInjectionService::injectionFinished, &m_context,
            [this]() { m_words.append(u"finished"_s); });
        QObject::connect(service, &TextInjectionService::injectionFailed, &m_context,
            [this](const QString& error) { m_words.append(error); });
    }

    [[nodiscard]] QStringList words() const { return m_words; }
    /// No tool is left, so no further signal can come.
    [[nodiscard]] bool isOver() const
    {
        return !m_words.isEmpty() && m_service->findChildren<QProcess*>().isEmpty();
    }

private:
    TextInjectionService* const m_service;
    QStringList m_words;
    QObject m_context;
};

} // namespace

// The paste with tools that answer by script. A real paste is in PasteOnX11Test.
class TextInjectionServiceTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void blankTextIsReportedAndLeavesTheClipboardAlone_data();
    void blankTextIsReportedAndLeavesTheClipboardAlone();
    void trimmedTextGoesToTheClipboardAtOnce();
    void clipboardIsntRestored();
    void withoutAMonitorTheKeysAreSentDirectly();
    void withoutATextWindowTheKeysAreSentDirectly();
    void rememberedWindowIsRaisedFirst_data();
    void rememberedWindowIsRaisedFirst();
    void keysWaitForTheClipboardAndTheWindow();
    void windowIsChosenAtTheMomentOfThePaste();
    void closedWindowGetsNoKeys();
    void sessionDecidesTheTool_data();
    void sessionDecidesTheTool();
    void waylandIgnoresTheRememberedTerminal();
    void missingToolIsReported_data();
    void missingToolIsReported();
    void toolInstalledLaterIsntFound();
    void failingToolIsReported_data();
    void failingToolIsReported();
    void toolThatCantBeLaunchedIsReported_data();
    void toolThatCantBeLaunchedIsReported();
    void crashingToolIsReportedByBothHandlers();
    void raiseThatCantBeLaunchedIsSilent();
    void crashingRaiseGetsNoKeys();
    void hangingToolIsSilentUntilItEnds();
    void twoInjectionsRunSideBySide();

private:
    /// A monitor that has seen the window 7 of this class.
    [[nodiscard]] std::unique_ptr<InputFocusMonitor> monitorWith(const QString& windowClass) const
    {
        m_tools->answer(u"xdotool"_s, u"getactivewindow"_s, "echo 7"_ba);
        m_tools->answer(
            u"xprop"_s, u"7"_s, "echo 'WM_CLASS(STRING) = " + windowClass.toUtf8() + '\'');
        auto monitor = std::make_unique<InputFocusMonitor>();
        QMetaObject::invokeMethod(monitor.get(), "poll");
        m_tools->forgetRuns();
        return monitor;
    }

    const PatientWaits m_patience;
    std::unique_ptr<ScriptedTools> m_tools;
    std::unique_ptr<ScopedVariable> m_session;
};

void TextInjectionServiceTest::init()
{
    TarqTest::init();
    m_session = std::make_unique<ScopedVariable>("XDG_SESSION_TYPE", "x11"_ba);
    m_tools = std::make_unique<ScriptedTools>(homePath(u"tools"_s));
    for (const QString& tool : {u"xdotool"_s, u"xprop"_s, u"wtype"_s}) {
        m_tools->install(tool);
    }
    QGuiApplication::clipboard()->setText(u"before"_s);
}

void TextInjectionServiceTest::cleanup()
{
    m_tools.reset();
    m_session.reset();
    TarqTest::cleanup();
}

void TextInjectionServiceTest::blankTextIsReportedAndLeavesTheClipboardAlone_data()
{
    QTest::addColumn<QString>("text");

    QTest::newRow("null") << QString();
    QTest::newRow("blanks and line feeds") << u" \n\t \r\n"_s;
}

void TextInjectionServiceTest::blankTextIsReportedAndLeavesTheClipboardAlone()
{
    QFETCH(const QString, text);
    TextInjectionService service(nullptr);
    const Outcomes outcomes(&service);
    service.inject(text);
    QCOMPARE(outcomes.words(), QStringList{u"Empty transcript"_s});
    QCOMPARE(clipboardText(), u"before"_s);

    // A paste that follows is the only one.
    service.inject(u"a"_s);
    QTRY_VERIFY(outcomes.isOver());
    QTRY_COMPARE(m_tools->runs(), QStringList{kDirectPaste});
}

void TextInjectionServiceTest::trimmedTextGoesToTheClipboardAtOnce()
{
    TextInjectionService service(nullptr);
    const Outcomes outcomes(&service);
    service.inject(u" \n hello  wörld\n"_s);
    QCOMPARE(clipboardText(), u"hello  wörld"_s);
    QCOMPARE(outcomes.words(), QStringList());
    QCOMPARE(m_tools->runs(), QStringList());
    QTRY_VERIFY(outcomes.isOver());
}

void TextInjectionServiceTest::clipboardIsntRestored()
{
    TextInjectionService service(nullptr);
    const Outcomes outcomes(&service);
    service.inject(u"hello"_s);
    QTRY_VERIFY(outcomes.isOver());
    QCOMPARE(clipboardText(), u"hello"_s);
}

void TextInjectionServiceTest::withoutAMonitorTheKeysAreSentDirectly()
{
    TextInjectionService service(nullptr);
    const Outcomes outcomes(&service);
    service.inject(u"hello"_s);
    QTRY_VERIFY(outcomes.isOver());
    QCOMPARE(outcomes.words(), QStringList{u"finished"_s});
    QCOMPARE(m_tools->runs(), QStringList{kDirectPaste});
}

void TextInjectionServiceTest::withoutATextWindowTheKeysAreSentDirectly()
{
    const auto monitor = monitorWith(u"\"thunar\", \"Thunar\""_s);
    TextInjectionService service(monitor.get());
    const Outcomes outcomes(&service);
    service.inject(u"hello"_s);
    QTRY_VERIFY(outcomes.isOver());
    QCOMPARE(outcomes.words(), QStringList{u"finished"_s});
    QCOMPARE(m_tools->runs(), QStringList{kDirectPaste});
}

void TextInjectionServiceTest::rememberedWindowIsRaisedFirst_data()
{
    QTest::addColumn<QString>("windowClass");
    QTest::addColumn<QString>("paste");

    QTest::newRow("editor") << kEditor << kPaste;
    QTest::newRow("terminal") << kTerminal << kTerminalPaste;
}

void TextInjectionServiceTest::rememberedWindowIsRaisedFirst()
{
    QFETCH(const QString, windowClass);
    QFETCH(const QString, paste);
    const auto monitor = monitorWith(windowClass);
    TextInjectionService service(monitor.get());
    const Outcomes outcomes(&service);
    service.inject(u"hello"_s);
    QTRY_VERIFY(outcomes.isOver());
    QCOMPARE(outcomes.words(), QStringList{u"finished"_s});
    QCOMPARE(m_tools->runs(), (QStringList{kRaise, paste}));
}

void TextInjectionServiceTest::keysWaitForTheClipboardAndTheWindow()
{
    // The least that may pass; how much more it is isn't this test's business. Timers may be early
    // by a twentieth.
    const auto monitor = monitorWith(kEditor);
    TextInjectionService service(monitor.get());
    const Outcomes outcomes(&service);
    QElapsedTimer clock;
    clock.start();
    service.inject(u"hello"_s);
    QTRY_VERIFY(m_tools->runs().contains(kRaise));
    QVERIFY(clock.elapsed() >= 95);
    QTRY_VERIFY(outcomes.isOver());
    QVERIFY(clock.elapsed() >= 95 + 285);
}

void TextInjectionServiceTest::windowIsChosenAtTheMomentOfThePaste()
{
    const auto monitor = monitorWith(u"\"thunar\", \"Thunar\""_s);
    TextInjectionService service(monitor.get());
    const Outcomes outcomes(&service);
    service.inject(u"hello"_s);
    m_tools->answer(u"xdotool"_s, u"getactivewindow"_s, "echo 8"_ba);
    m_tools->answer(u"xprop"_s, u"8"_s, "echo 'WM_CLASS(STRING) = \"gedit\"'"_ba);
    QVERIFY(QMetaObject::invokeMethod(monitor.get(), "poll"));
    m_tools->forgetRuns();
    QTRY_VERIFY(outcomes.isOver());
    QCOMPARE(m_tools->runs(), (QStringList{u"xdotool|windowactivate|--sync|8"_s, kPaste}));
}

void TextInjectionServiceTest::closedWindowGetsNoKeys()
{
    const auto monitor = monitorWith(kEditor);
    m_tools->answer(u"xdotool"_s, u"windowactivate"_s, "exit 1"_ba);
    TextInjectionService service(monitor.get());
    const Outcomes outcomes(&service);
    service.inject(u"hello"_s);
    QTRY_VERIFY(outcomes.isOver());
    QCOMPARE(outcomes.words(), QStringList{u"xdotool windowactivate failed"_s});
    QCOMPARE(m_tools->runs(), QStringList{kRaise});
    QCOMPARE(clipboardText(), u"hello"_s);
}

void TextInjectionServiceTest::sessionDecidesTheTool_data()
{
    QTest::addColumn<QByteArray>("session");
    QTest::addColumn<QString>("run");

    QTest::newRow("X11") << "x11"_ba << kDirectPaste;
    QTest::newRow("Wayland") << "wayland"_ba << kWaylandPaste;
    QTest::newRow("unknown counts as X11") << "tty"_ba << kDirectPaste;
}

void TextInjectionServiceTest::sessionDecidesTheTool()
{
    QFETCH(const QByteArray, session);
    QFETCH(const QString, run);
    const ScopedVariable waylandDisplay("WAYLAND_DISPLAY");
    const ScopedVariable display("DISPLAY");
    TextInjectionService service(nullptr);
    const Outcomes outcomes(&service);
    service.inject(u"hello"_s);
    // Asked for at the moment of the paste.
    qputenv("XDG_SESSION_TYPE", session);
    QTRY_VERIFY(outcomes.isOver());
    QCOMPARE(outcomes.words(), QStringList{u"finished"_s});
    QCOMPARE(m_tools->runs(), QStringList{run});
}

void TextInjectionServiceTest::waylandIgnoresTheRememberedTerminal()
{
    const auto monitor = monitorWith(kTerminal);
    qputenv("XDG_SESSION_TYPE", "wayland");
    TextInjectionService service(monitor.get());
    const Outcomes outcomes(&service);
    service.inject(u"hello"_s);
    QTRY_VERIFY(outcomes.isOver());
    QCOMPARE(outcomes.words(), QStringList{u"finished"_s});
    QCOMPARE(m_tools->runs(), QStringList{kWaylandPaste});
}

void TextInjectionServiceTest::missingToolIsReported_data()
{
    QTest::addColumn<QByteArray>("session");
    QTest::addColumn<QString>("tool");
    QTest::addColumn<QString>("error");

    QTest::newRow("X11") << "x11"_ba << u"xdotool"_s << u"xdotool not found"_s;
    QTest::newRow("Wayland") << "wayland"_ba << u"wtype"_s << u"wtype not found"_s;
}

void TextInjectionServiceTest::missingToolIsReported()
{
    QFETCH(const QByteArray, session);
    QFETCH(const QString, tool);
    QFETCH(const QString, error);
    qputenv("XDG_SESSION_TYPE", session);
    m_tools->remove(tool);
    TextInjectionService service(nullptr);
    const Outcomes outcomes(&service);
    service.inject(u"hello"_s);
    QTRY_VERIFY(outcomes.isOver());
    QCOMPARE(outcomes.words(), QStringList{error});
    // The other tool, which is there, doesn't step in.
    QCOMPARE(m_tools->runs(), QStringList());
    QCOMPARE(clipboardText(), u"hello"_s);
}

void TextInjectionServiceTest::toolInstalledLaterIsntFound()
{
    m_tools->remove(u"xdotool"_s);
    TextInjectionService service(nullptr);
    m_tools->install(u"xdotool"_s);
    const Outcomes outcomes(&service);
    service.inject(u"hello"_s);
    QTRY_VERIFY(outcomes.isOver());
    QCOMPARE(outcomes.words(), QStringList{u"xdotool not found"_s});
}

void TextInjectionServiceTest::failingToolIsReported_data()
{
    QTest::addColumn<QByteArray>("session");
    QTest::addColumn<QString>("error");

    QTest::newRow("X11") << "x11"_ba << u"xdotool paste failed"_s;
    QTest::newRow("Wayland") << "wayland"_ba << u"wtype failed"_s;
}

void TextInjectionServiceTest::failingToolIsReported()
{
    QFETCH(const QByteArray, session);
    QFETCH(const QString, error);
    qputenv("XDG_SESSION_TYPE", session);
    m_tools->answer(u"xdotool"_s, u"key"_s, "exit 3"_ba);
    m_tools->answer(u"wtype"_s, u"-M"_s, "exit 3"_ba);
    TextInjectionService service(nullptr);
    const Outcomes outcomes(&service);
    service.inject(u"hello"_s);
    QTRY_VERIFY(outcomes.isOver());
    QCOMPARE(outcomes.words(), QStringList{error});
    QCOMPARE(clipboardText(), u"hello"_s);
}

void TextInjectionServiceTest::toolThatCantBeLaunchedIsReported_data()
{
    QTest::addColumn<QByteArray>("session");
    QTest::addColumn<QString>("tool");
    QTest::addColumn<QString>("error");

    QTest::newRow("X11") << "x11"_ba << u"xdotool"_s << u"Failed to launch xdotool"_s;
    QTest::newRow("Wayland") << "wayland"_ba << u"wtype"_s << u"Failed to launch wtype"_s;
}

void TextInjectionServiceTest::toolThatCantBeLaunchedIsReported()
{
    QFETCH(const QByteArray, session);
    QFETCH(const QString, tool);
    QFETCH(const QString, error);
    qputenv("XDG_SESSION_TYPE", session);
    TextInjectionService service(nullptr);
    m_tools->remove(tool);
    const Outcomes outcomes(&service);
    service.inject(u"hello"_s);
    QTRY_VERIFY(outcomes.isOver());
    QCOMPARE(outcomes.words(), QStringList{error});
    QCOMPARE(clipboardText(), u"hello"_s);
}

void TextInjectionServiceTest::crashingToolIsReportedByBothHandlers()
{
    m_tools->answer(u"xdotool"_s, u"key"_s, "kill -KILL $$"_ba);
    TextInjectionService service(nullptr);
    const Outcomes outcomes(&service);
    service.inject(u"hello"_s);
    QTRY_VERIFY(outcomes.isOver());
    QCOMPARE(
        outcomes.words(), (QStringList{u"Failed to launch xdotool"_s, u"xdotool paste failed"_s}));
}

void TextInjectionServiceTest::raiseThatCantBeLaunchedIsSilent()
{
    const auto monitor = monitorWith(kEditor);
    TextInjectionService service(monitor.get());
    m_tools->remove(u"xdotool"_s);
    const Outcomes outcomes(&service);
    service.inject(u"hello"_s);
    const auto failedToStart = [&]() {
        const QList<QProcess*> processes = service.findChildren<QProcess*>();
        return std::any_of(processes.begin(), processes.end(),
            [](const QProcess* process) { return process->error() == QProcess::FailedToStart; });
    };
    QTRY_VERIFY(failedToStart());
    QCOMPARE(outcomes.words(), QStringList());
    // The paste wasn't started either, and nothing else is under way.
    for (const QProcess* process : service.findChildren<QProcess*>()) {
        QCOMPARE(process->state(), QProcess::NotRunning);
    }
    QCOMPARE(clipboardText(), u"hello"_s);
}

void TextInjectionServiceTest::crashingRaiseGetsNoKeys()
{
    const auto monitor = monitorWith(kEditor);
    m_tools->answer(u"xdotool"_s, u"windowactivate"_s, "kill -KILL $$"_ba);
    TextInjectionService service(monitor.get());
    const Outcomes outcomes(&service);
    service.inject(u"hello"_s);
    QTRY_VERIFY(outcomes.isOver());
    QCOMPARE(outcomes.words(), QStringList{u"xdotool windowactivate failed"_s});
    QCOMPARE(m_tools->runs(), QStringList{kRaise});
}

void TextInjectionServiceTest::hangingToolIsSilentUntilItEnds()
{
    m_tools->answer(u"xdotool"_s, u"key"_s, m_tools->hang());
    TextInjectionService service(nullptr);
    const Outcomes outcomes(&service);
    service.inject(u"hello"_s);
    QTRY_VERIFY(m_tools->pidOfHanging() > 0);
    QCOMPARE(outcomes.words(), QStringList());
    ::kill(m_tools->pidOfHanging(), SIGKILL);
    QTRY_VERIFY(outcomes.isOver());
}

void TextInjectionServiceTest::twoInjectionsRunSideBySide()
{
    const auto monitor = monitorWith(kEditor);
    TextInjectionService service(monitor.get());
    const Outcomes outcomes(&service);
    service.inject(u"first"_s);
    service.inject(u"second"_s);
    QTRY_COMPARE(outcomes.words(), (QStringList{u"finished"_s, u"finished"_s}));
    QTRY_VERIFY(outcomes.isOver());
    QCOMPARE(m_tools->runs().count(kRaise), 2);
    QCOMPARE(m_tools->runs().count(kPaste), 2);
    QCOMPARE(clipboardText(), u"second"_s);
}

QTEST_MAIN(TextInjectionServiceTest)
#include "TextInjectionServiceTest.moc"
