#include "desktop/InputFocusMonitor.h"
#include "desktop/PatientWaits.h"
#include "desktop/ScriptedTools.h"
#include "support/TarqTest.h"

#include <QTimer>

#include <memory>
#include <utility>

#include <csignal>

using namespace Qt::StringLiterals;

namespace {

const QString kEditor = u"\"gedit\", \"Gedit\""_s;

} // namespace

// The monitor's rounds with tools that answer by script. The windows of a real desktop are in
// PasteOnX11Test.
class InputFocusMonitorTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void newMonitorKnowsNothingAndPollsNothing();
    void startPollsAtOnceAndThenFourTimesASecond();
    void stopEndsThePolling();
    void withoutXdotoolNothingStarts();
    void withoutXpropNoWindowTakesText();

    void windowIsAskedForOnceWithTheseArguments();
    void idIsTakenTrimmedAndUnparsed();
    void classIsAllBehindTheFirstEqualsSign_data();
    void classIsAllBehindTheFirstEqualsSign();
    void fileManagerAfterAnEditorLeavesTheEditorRemembered();
    void changeBetweenTextWindowsIsSilent();
    void ownWindowChangesNothing_data();
    void ownWindowChangesNothing();
    void ownWindowFirstLeavesNothingRemembered();
    void noActiveWindowLosesTheFocusOnce();
    void windowThatReturnsAfterTheLossIsReadAnew();
    void emptyIdWithoutFocusKeepsTheCurrentWindow();
    void terminalIsRecognised();

    void failingToolCountsAsNoAnswer_data();
    void failingToolCountsAsNoAnswer();
    void slowToolCountsAsNoAnswerAndIsEnded();
    void slowXpropCountsAsNoClass();
    void toolRemovedAfterTheStartCountsAsNoAnswer();
    void failedClassIsntAskedForAgain();

private:
    void activate(const QString& id, const QString& windowClass) const
    {
        m_tools->answer(u"xdotool"_s, u"getactivewindow"_s, "echo " + id.toUtf8());
        m_tools->answer(u"xprop"_s, id, "echo 'WM_CLASS(STRING) = " + windowClass.toUtf8() + '\'');
    }

    void activateNothing() const
    {
        m_tools->answer(u"xdotool"_s, u"getactivewindow"_s, "exit 1"_ba);
    }

    static void poll(InputFocusMonitor& monitor)
    {
        QVERIFY(QMetaObject::invokeMethod(&monitor, "poll"));
    }

    /// The arguments of the signals since the last call.
    static QList<bool> taken(QSignalSpy& spy)
    {
        QList<bool> values;
        while (!spy.isEmpty()) {
            values.append(spy.takeFirst().first().toBool());
        }
        return values;
    }

    const PatientWaits m_patience;
    std::unique_ptr<ScriptedTools> m_tools;
};

void InputFocusMonitorTest::init()
{
    TarqTest::init();
    m_tools = std::make_unique<ScriptedTools>(homePath(u"tools"_s));
    m_tools->install(u"xdotool"_s);
    m_tools->install(u"xprop"_s);
}

void InputFocusMonitorTest::cleanup()
{
    m_tools.reset();
    TarqTest::cleanup();
}

void InputFocusMonitorTest::newMonitorKnowsNothingAndPollsNothing()
{
    const InputFocusMonitor monitor;
    QVERIFY(!monitor.hasInputFocus());
    QCOMPARE(monitor.lastTextWindowId(), QString());
    QCOMPARE(monitor.lastTextWindowClass(), QString());
    QVERIFY(!monitor.lastTextWindowIsTerminal());
    QVERIFY(!monitor.findChild<QTimer*>(u"pollTimer"_s)->isActive());
    QCOMPARE(m_tools->runs(), QStringList());
}

void InputFocusMonitorTest::startPollsAtOnceAndThenFourTimesASecond()
{
    activate(u"7"_s, kEditor);
    InputFocusMonitor monitor;
    QSignalSpy changed(&monitor, &InputFocusMonitor::inputFocusChanged);
    monitor.start();
    // Without the event loop.
    QCOMPARE(taken(changed), QList<bool>{true});
    QVERIFY(monitor.hasInputFocus());
    QCOMPARE(monitor.lastTextWindowId(), u"7"_s);

    const auto* timer = monitor.findChild<QTimer*>(u"pollTimer"_s);
    QVERIFY(timer->isActive());
    QVERIFY(!timer->isSingleShot());
    QCOMPARE(timer->interval(), 250);
    QTRY_VERIFY(m_tools->runs().size() >= 4);
    QCOMPARE(m_tools->runs().count(u"xprop|-id|7|WM_CLASS"_s), 1);
}

void InputFocusMonitorTest::stopEndsThePolling()
{
    activate(u"7"_s, kEditor);
    InputFocusMonitor monitor;
    monitor.start();
    monitor.stop();
    QVERIFY(!monitor.findChild<QTimer*>(u"pollTimer"_s)->isActive());
    QVERIFY(monitor.hasInputFocus());
    QCOMPARE(monitor.lastTextWindowId(), u"7"_s);
    monitor.start();
    QVERIFY(monitor.findChild<QTimer*>(u"pollTimer"_s)->isActive());
}

void InputFocusMonitorTest::withoutXdotoolNothingStarts()
{
    m_tools->remove(u"xdotool"_s);
    InputFocusMonitor monitor;
    const QSignalSpy changed(&monitor, &InputFocusMonitor::inputFocusChanged);
    // The tools are looked up once.
    m_tools->install(u"xdotool"_s);
    activate(u"7"_s, kEditor);
    monitor.start();
    QVERIFY(!monitor.findChild<QTimer*>(u"pollTimer"_s)->isActive());
    QCOMPARE(m_tools->runs(), QStringList());
    QCOMPARE(changed.count(), 0);
    QVERIFY(!monitor.hasInputFocus());
}

void InputFocusMonitorTest::withoutXpropNoWindowTakesText()
{
    m_tools->remove(u"xprop"_s);
    activate(u"7"_s, kEditor);
    InputFocusMonitor monitor;
    const QSignalSpy changed(&monitor, &InputFocusMonitor::inputFocusChanged);
    poll(monitor);
    QCOMPARE(m_tools->runs(), QStringList{u"xdotool|getactivewindow"_s});
    QVERIFY(!monitor.hasInputFocus());
    QCOMPARE(monitor.lastTextWindowId(), QString());
    QCOMPARE(changed.count(), 0);
}

void InputFocusMonitorTest::windowIsAskedForOnceWithTheseArguments()
{
    activate(u"7"_s, kEditor);
    InputFocusMonitor monitor;
    poll(monitor);
    poll(monitor);
    QCOMPARE(m_tools->runs(),
        (QStringList{u"xdotool|getactivewindow"_s, u"xprop|-id|7|WM_CLASS"_s,
            u"xdotool|getactivewindow"_s}));
    QCOMPARE(monitor.lastTextWindowClass(), kEditor);
}

void InputFocusMonitorTest::idIsTakenTrimmedAndUnparsed()
{
    m_tools->answer(u"xdotool"_s, u"getactivewindow"_s, "printf ' \\n0x1f junk \\n'"_ba);
    m_tools->answer(u"xprop"_s, u"0x1f junk"_s, "echo 'WM_CLASS(STRING) = \"a\"'"_ba);
    InputFocusMonitor monitor;
    poll(monitor);
    QCOMPARE(monitor.lastTextWindowId(), u"0x1f junk"_s);
}

void InputFocusMonitorTest::classIsAllBehindTheFirstEqualsSign_data()
{
    QTest::addColumn<QByteArray>("printed");
    QTest::addColumn<QString>("windowClass"); // null: none

    QTest::newRow("usual") << "WM_CLASS(STRING) = \"gedit\", \"Gedit\"\\n"_ba << kEditor;
    QTest::newRow("more equals signs") << "WM_CLASS = \"a=b\", \"C\""_ba << u"\"a=b\", \"C\""_s;
    QTest::newRow("white space around") << "\\n WM_CLASS =  \"a\" \\n\\n"_ba << u"\"a\""_s;
    QTest::newRow("umlauts") << "WM_CLASS = \"büro\""_ba << u"\"büro\""_s;
    QTest::newRow("no such property") << "WM_CLASS:  not found.\\n"_ba << QString();
    QTest::newRow("nothing behind the sign") << "WM_CLASS =  \\n"_ba << QString();
    QTest::newRow("nothing at all") << ""_ba << QString();
}

void InputFocusMonitorTest::classIsAllBehindTheFirstEqualsSign()
{
    QFETCH(const QByteArray, printed);
    QFETCH(const QString, windowClass);
    activate(u"7"_s, {});
    m_tools->answer(u"xprop"_s, u"7"_s, "printf '" + printed + '\'');
    InputFocusMonitor monitor;
    poll(monitor);
    QCOMPARE(monitor.lastTextWindowClass(), windowClass);
    QCOMPARE(monitor.hasInputFocus(), !windowClass.isNull());
}

void InputFocusMonitorTest::fileManagerAfterAnEditorLeavesTheEditorRemembered()
{
    InputFocusMonitor monitor;
    QSignalSpy changed(&monitor, &InputFocusMonitor::inputFocusChanged);
    activate(u"7"_s, kEditor);
    poll(monitor);
    QCOMPARE(taken(changed), QList<bool>{true});
    for (const auto& [id, windowClass] : {std::pair(u"8"_s, u"\"thunar\", \"Thunar\""_s),
             std::pair(u"9"_s, u"\"mpv\", \"mpv\""_s)}) {
        activate(id, windowClass);
        poll(monitor);
        QVERIFY(!monitor.hasInputFocus());
        QCOMPARE(monitor.lastTextWindowId(), u"7"_s);
        QCOMPARE(monitor.lastTextWindowClass(), kEditor);
    }
    QCOMPARE(taken(changed), QList<bool>{false});
}

void InputFocusMonitorTest::changeBetweenTextWindowsIsSilent()
{
    InputFocusMonitor monitor;
    QSignalSpy changed(&monitor, &InputFocusMonitor::inputFocusChanged);
    activate(u"7"_s, kEditor);
    poll(monitor);
    activate(u"8"_s, u"\"Navigator\", \"firefox\""_s);
    poll(monitor);
    QCOMPARE(taken(changed), QList<bool>{true});
    QCOMPARE(monitor.lastTextWindowId(), u"8"_s);
    QCOMPARE(monitor.lastTextWindowClass(), u"\"Navigator\", \"firefox\""_s);
    QVERIFY(!monitor.lastTextWindowIsTerminal());
}

void InputFocusMonitorTest::ownWindowChangesNothing_data()
{
    QTest::addColumn<QString>("windowClass");

    QTest::newRow("both names") << u"\"tarq-linux\", \"tarq-linux\""_s;
    QTest::newRow("capitals") << u"\"x\", \"Tarq-Linux\""_s;
    QTest::newRow("part of a name") << u"\"./tarq-linux-dev\", \"x\""_s;
    QTest::newRow("with an entry of the table") << u"\"tarq-linux\", \"thunar\""_s;
}

void InputFocusMonitorTest::ownWindowChangesNothing()
{
    QFETCH(const QString, windowClass);
    InputFocusMonitor monitor;
    QSignalSpy changed(&monitor, &InputFocusMonitor::inputFocusChanged);
    activate(u"7"_s, kEditor);
    poll(monitor);
    changed.clear();
    m_tools->forgetRuns();

    activate(u"8"_s, windowClass);
    poll(monitor);
    poll(monitor);
    QCOMPARE(changed.count(), 0);
    QVERIFY(monitor.hasInputFocus());
    QCOMPARE(monitor.lastTextWindowId(), u"7"_s);
    QCOMPARE(monitor.lastTextWindowClass(), kEditor);
    // It became the current window: its class isn't asked for again.
    QCOMPARE(m_tools->runs(),
        (QStringList{u"xdotool|getactivewindow"_s, u"xprop|-id|8|WM_CLASS"_s,
            u"xdotool|getactivewindow"_s}));
}

void InputFocusMonitorTest::ownWindowFirstLeavesNothingRemembered()
{
    InputFocusMonitor monitor;
    const QSignalSpy changed(&monitor, &InputFocusMonitor::inputFocusChanged);
    activate(u"8"_s, u"\"tarq-linux\", \"tarq-linux\""_s);
    poll(monitor);
    QVERIFY(!monitor.hasInputFocus());
    QCOMPARE(monitor.lastTextWindowId(), QString());
    QCOMPARE(changed.count(), 0);
}

void InputFocusMonitorTest::noActiveWindowLosesTheFocusOnce()
{
    InputFocusMonitor monitor;
    QSignalSpy changed(&monitor, &InputFocusMonitor::inputFocusChanged);
    activate(u"7"_s, kEditor);
    poll(monitor);
    changed.clear();
    activateNothing();
    poll(monitor);
    poll(monitor);
    QCOMPARE(taken(changed), QList<bool>{false});
    QVERIFY(!monitor.hasInputFocus());
    QCOMPARE(monitor.lastTextWindowId(), u"7"_s);
    QCOMPARE(monitor.lastTextWindowClass(), kEditor);
}

void InputFocusMonitorTest::windowThatReturnsAfterTheLossIsReadAnew()
{
    InputFocusMonitor monitor;
    QSignalSpy changed(&monitor, &InputFocusMonitor::inputFocusChanged);
    activate(u"7"_s, kEditor);
    poll(monitor);
    activateNothing();
    poll(monitor);
    changed.clear();
    activate(u"7"_s, kEditor);
    poll(monitor);
    QCOMPARE(taken(changed), QList<bool>{true});
    QCOMPARE(m_tools->runs().count(u"xprop|-id|7|WM_CLASS"_s), 2);
}

void InputFocusMonitorTest::emptyIdWithoutFocusKeepsTheCurrentWindow()
{
    InputFocusMonitor monitor;
    const QSignalSpy changed(&monitor, &InputFocusMonitor::inputFocusChanged);
    activate(u"8"_s, u"\"thunar\", \"Thunar\""_s);
    poll(monitor);
    activateNothing();
    poll(monitor);
    activate(u"8"_s, kEditor);
    m_tools->forgetRuns();
    poll(monitor);
    QCOMPARE(m_tools->runs(), QStringList{u"xdotool|getactivewindow"_s});
    QVERIFY(!monitor.hasInputFocus());
    QCOMPARE(changed.count(), 0);
}

void InputFocusMonitorTest::terminalIsRecognised()
{
    InputFocusMonitor monitor;
    activate(u"7"_s, u"\"gnome-terminal-server\", \"Gnome-terminal\""_s);
    poll(monitor);
    QVERIFY(monitor.hasInputFocus());
    QVERIFY(monitor.lastTextWindowIsTerminal());
}

void InputFocusMonitorTest::failingToolCountsAsNoAnswer_data()
{
    QTest::addColumn<QByteArray>("commands");

    QTest::newRow("prints nothing") << ":"_ba;
    QTest::newRow("prints blanks") << "printf ' \\n'"_ba;
    QTest::newRow("prints and fails") << "echo 9; exit 1"_ba;
    QTest::newRow("fails with an odd code") << "echo 9; exit 255"_ba;
    QTest::newRow("complains") << "echo 'no window' >&2; exit 1"_ba;
    QTest::newRow("crashes") << "echo 9; kill -SEGV $$"_ba;
}

void InputFocusMonitorTest::failingToolCountsAsNoAnswer()
{
    QFETCH(const QByteArray, commands);
    InputFocusMonitor monitor;
    QSignalSpy changed(&monitor, &InputFocusMonitor::inputFocusChanged);
    activate(u"7"_s, kEditor);
    poll(monitor);
    changed.clear();
    // What some of them print is a window that would count.
    activate(u"9"_s, kEditor);
    m_tools->answer(u"xdotool"_s, u"getactivewindow"_s, commands);
    poll(monitor);
    QCOMPARE(taken(changed), QList<bool>{false});
    QCOMPARE(monitor.lastTextWindowId(), u"7"_s);
}

void InputFocusMonitorTest::slowToolCountsAsNoAnswerAndIsEnded()
{
    InputFocusMonitor monitor;
    QSignalSpy changed(&monitor, &InputFocusMonitor::inputFocusChanged);
    activate(u"7"_s, kEditor);
    poll(monitor);
    changed.clear();
    m_tools->answer(u"xdotool"_s, u"getactivewindow"_s, "echo 8\n" + m_tools->hang());
    // Any word about it in the log would fail this test.
    poll(monitor);
    QCOMPARE(taken(changed), QList<bool>{false});
    QVERIFY(m_tools->pidOfHanging() > 0);
    QCOMPARE(::kill(m_tools->pidOfHanging(), 0), -1);
}

void InputFocusMonitorTest::slowXpropCountsAsNoClass()
{
    InputFocusMonitor monitor;
    const QSignalSpy changed(&monitor, &InputFocusMonitor::inputFocusChanged);
    activate(u"7"_s, kEditor);
    m_tools->answer(u"xprop"_s, u"7"_s, "echo 'WM_CLASS(STRING) = \"gedit\"'\n" + m_tools->hang());
    poll(monitor);
    QVERIFY(!monitor.hasInputFocus());
    QCOMPARE(monitor.lastTextWindowId(), QString());
    QCOMPARE(changed.count(), 0);
    QVERIFY(m_tools->pidOfHanging() > 0);
    QCOMPARE(::kill(m_tools->pidOfHanging(), 0), -1);
}

void InputFocusMonitorTest::toolRemovedAfterTheStartCountsAsNoAnswer()
{
    InputFocusMonitor monitor;
    QSignalSpy changed(&monitor, &InputFocusMonitor::inputFocusChanged);
    activate(u"7"_s, kEditor);
    poll(monitor);
    m_tools->remove(u"xprop"_s);
    activate(u"8"_s, kEditor);
    poll(monitor);
    m_tools->remove(u"xdotool"_s);
    poll(monitor);
    QCOMPARE(taken(changed), (QList<bool>{true, false}));
    QCOMPARE(monitor.lastTextWindowId(), u"7"_s);
}

void InputFocusMonitorTest::failedClassIsntAskedForAgain()
{
    InputFocusMonitor monitor;
    activate(u"7"_s, kEditor);
    m_tools->answer(u"xprop"_s, u"7"_s, "exit 1"_ba);
    poll(monitor);
    activate(u"7"_s, kEditor);
    poll(monitor);
    QVERIFY(!monitor.hasInputFocus());
    QCOMPARE(m_tools->runs().count(u"xprop|-id|7|WM_CLASS"_s), 1);
}

QTEST_GUILESS_MAIN(InputFocusMonitorTest)
#include "InputFocusMonitorTest.moc"
