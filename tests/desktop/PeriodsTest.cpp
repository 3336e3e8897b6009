#include "desktop/GlobalHotkeyManager.h"
#include "desktop/InputFocusMonitor.h"
#include "desktop/ScriptedTools.h"
#include "desktop/TextInjectionService.h"
#include "support/Moments.h"
#include "support/TarqTest.h"

#include <QProcess>
#include <QTimer>

#include <memory>

using namespace Qt::StringLiterals;

// That what waits does so neither for less nor for more than it should. Each is looked at between
// two moments, some more to either side than the twentieth that a timer may be off.
class PeriodsTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void holdStartsARecordingAfterOneAndAHalfSeconds();
    void focusIsPolledEveryQuarterOfASecond();
    void pasteWaitsATenthOfASecondForTheClipboard();
    void keysWaitThreeTenthsOfASecondForTheRaisedWindow();

private:
    std::unique_ptr<ScopedVariable> m_session;
    std::unique_ptr<ScriptedTools> m_tools;
};

void PeriodsTest::init()
{
    TarqTest::init();
    m_session = std::make_unique<ScopedVariable>("XDG_SESSION_TYPE", "x11"_ba);
    m_tools = std::make_unique<ScriptedTools>(homePath(u"tools"_s));
}

void PeriodsTest::cleanup()
{
    m_tools.reset();
    m_session.reset();
    TarqTest::cleanup();
}

void PeriodsTest::holdStartsARecordingAfterOneAndAHalfSeconds()
{
    Moments moments;
    GlobalHotkeyManager manager;
    connect(&manager, &GlobalHotkeyManager::recordingStartRequested, this,
        [&]() { moments.note(u"start"_s); });
    moments.noteIn(1400);
    QVERIFY(QMetaObject::invokeMethod(&manager, "onSpacebarPressed"));
    moments.noteIn(1600);
    QTRY_COMPARE(moments.seen(), (QStringList{u"1400"_s, u"start"_s, u"1600"_s}));
}

void PeriodsTest::focusIsPolledEveryQuarterOfASecond()
{
    m_tools->install(u"xdotool"_s);
    Moments moments;
    InputFocusMonitor monitor;
    connect(monitor.findChild<QTimer*>(u"pollTimer"_s), &QTimer::timeout, this,
        [&]() { moments.note(u"poll"_s); });
    moments.noteIn(220);
    monitor.start();
    moments.noteIn(280);
    QTRY_VERIFY(moments.seen().size() >= 3);
    QCOMPARE(moments.seen().first(3), (QStringList{u"220"_s, u"poll"_s, u"280"_s}));
}

void PeriodsTest::pasteWaitsATenthOfASecondForTheClipboard()
{
    // Without a tool the paste fails at the very moment at which it begins.
    Moments moments;
    TextInjectionService service(nullptr);
    connect(&service, &TextInjectionService::injectionFailed, this,
        [&](const QString& error) { moments.note(error); });
    moments.noteIn(85);
    service.inject(u"hello"_s);
    moments.noteIn(115);
    QTRY_COMPARE(moments.seen(), (QStringList{u"85"_s, u"xdotool not found"_s, u"115"_s}));
}

void PeriodsTest::keysWaitThreeTenthsOfASecondForTheRaisedWindow()
{
    m_tools->install(u"xdotool"_s);
    m_tools->install(u"xprop"_s);
    m_tools->answer(u"xdotool"_s, u"getactivewindow"_s, "echo 7"_ba);
    m_tools->answer(u"xprop"_s, u"7"_s, "echo 'WM_CLASS(STRING) = \"gedit\"'"_ba);
    m_tools->answer(u"xdotool"_s, u"windowactivate"_s,
        "until [ -e \"$directory/go\" ]; do /bin/sleep 0.01; done"_ba);
    // A busy machine may be too slow for a poll, and a monitor asks for a class but once.
    std::unique_ptr<InputFocusMonitor> monitor;
    const auto seesTheWindow = [&monitor]() {
        monitor = std::make_unique<InputFocusMonitor>();
        return QMetaObject::invokeMethod(monitor.get(), "poll")
            && monitor->lastTextWindowId() == u"7"_s;
    };
    QTRY_VERIFY(seesTheWindow());

    Moments moments;
    TextInjectionService service(monitor.get());
    const QSignalSpy finished(&service, &TextInjectionService::injectionFinished);
    service.inject(u"hello"_s);
    QTRY_COMPARE(service.findChildren<QProcess*>().size(), 2);
    for (QProcess* process : service.findChildren<QProcess*>()) {
        if (process->arguments().contains(u"windowactivate"_s)) {
            // Its state is told before its end is.
            connect(process, &QProcess::stateChanged, this, [&](QProcess::ProcessState state) {
                if (state == QProcess::NotRunning) {
                    moments.noteIn(270);
                }
            });
            connect(process, &QProcess::finished, this, [&]() { moments.noteIn(330); });
        } else {
            // When it is told to start, and not when a busy machine has started it.
            connect(process, &QProcess::stateChanged, this, [&](QProcess::ProcessState state) {
                if (state == QProcess::Starting) {
                    moments.note(u"keys"_s);
                }
            });
        }
    }
    writeFile(homePath(u"tools/go"_s), {});
    QTRY_COMPARE(moments.seen(), (QStringList{u"270"_s, u"keys"_s, u"330"_s}));
    QTRY_COMPARE(finished.count(), 1);
}

QTEST_MAIN(PeriodsTest)
#include "PeriodsTest.moc"
