#include "desktop/InputFocusMonitor.h"
#include "desktop/PatientWaits.h"
#include "desktop/ScriptedTools.h"
#include "support/TarqTest.h"

#include <memory>

using namespace Qt::StringLiterals;

namespace {

const QString kTerminal = u"\"xterm\", \"XTerm\""_s;

} // namespace

// What a listener of the focus monitor finds when it is told of a change.
class FocusOrderTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void gainIsToldWithTheWindowKnown();
    void lossToAnotherWindowIsToldWithTheLastOneKept();
    void lossOfEveryWindowIsToldWithTheLastOneKept();
    void gainIsToldWhenTheWindowIsTheCurrentOne();
    void lossIsToldWhenNoWindowIsTheCurrentOne();

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

    // Polls, and gives what a listener found: what it was told, and what the monitor knew.
    static QStringList pollAndListen(InputFocusMonitor& monitor)
    {
        QStringList found;
        const auto listening = QObject::connect(
            &monitor, &InputFocusMonitor::inputFocusChanged, &monitor, [&](bool hasFocus) {
                found << (hasFocus ? u"focus"_s : u"no focus"_s)
                      << (monitor.hasInputFocus() ? u"focus"_s : u"no focus"_s)
                      << monitor.lastTextWindowId() << monitor.lastTextWindowClass()
                      << (monitor.lastTextWindowIsTerminal() ? u"terminal"_s : u"no terminal"_s);
            });
        poll(monitor);
        QObject::disconnect(listening);
        return found;
    }

    const PatientWaits m_patience;
    std::unique_ptr<ScriptedTools> m_tools;
};

void FocusOrderTest::init()
{
    TarqTest::init();
    m_tools = std::make_unique<ScriptedTools>(homePath(u"tools"_s));
    m_tools->install(u"xdotool"_s);
    m_tools->install(u"xprop"_s);
}

void FocusOrderTest::cleanup()
{
    m_tools.reset();
    TarqTest::cleanup();
}

void FocusOrderTest::gainIsToldWithTheWindowKnown()
{
    InputFocusMonitor monitor;
    activate(u"7"_s, kTerminal);
    QCOMPARE(pollAndListen(monitor),
        (QStringList{u"focus"_s, u"focus"_s, u"7"_s, kTerminal, u"terminal"_s}));
}

void FocusOrderTest::lossToAnotherWindowIsToldWithTheLastOneKept()
{
    InputFocusMonitor monitor;
    activate(u"7"_s, kTerminal);
    poll(monitor);
    activate(u"8"_s, u"\"thunar\", \"Thunar\""_s);
    QCOMPARE(pollAndListen(monitor),
        (QStringList{u"no focus"_s, u"no focus"_s, u"7"_s, kTerminal, u"terminal"_s}));
}

void FocusOrderTest::lossOfEveryWindowIsToldWithTheLastOneKept()
{
    InputFocusMonitor monitor;
    activate(u"7"_s, kTerminal);
    poll(monitor);
    activateNothing();
    QCOMPARE(pollAndListen(monitor),
        (QStringList{u"no focus"_s, u"no focus"_s, u"7"_s, kTerminal, u"terminal"_s}));
}

void FocusOrderTest::gainIsToldWhenTheWindowIsTheCurrentOne()
{
    InputFocusMonitor monitor;
    activate(u"7"_s, kTerminal);
    connect(&monitor, &InputFocusMonitor::inputFocusChanged, this, [&]() {
        m_tools->forgetRuns();
        poll(monitor);
        // The class of the current window isn't asked for again.
        QCOMPARE(m_tools->runs(), QStringList{u"xdotool|getactivewindow"_s});
    });
    const QSignalSpy changed(&monitor, &InputFocusMonitor::inputFocusChanged);
    poll(monitor);
    QCOMPARE(changed.count(), 1);
}

void FocusOrderTest::lossIsToldWhenNoWindowIsTheCurrentOne()
{
    InputFocusMonitor monitor;
    activate(u"7"_s, kTerminal);
    poll(monitor);
    QList<bool> told;
    connect(&monitor, &InputFocusMonitor::inputFocusChanged, this, [&](bool hasFocus) {
        told << hasFocus;
        if (!hasFocus) {
            // The same window is back at once, and is looked at anew.
            activate(u"7"_s, kTerminal);
            poll(monitor);
        }
    });
    activateNothing();
    poll(monitor);
    QCOMPARE(told, (QList<bool>{false, true}));
    QVERIFY(monitor.hasInputFocus());
}

QTEST_GUILESS_MAIN(FocusOrderTest)
#include "FocusOrderTest.moc"
