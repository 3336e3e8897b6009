#include "app/WindowHints.h"
#include "desktop/ScriptedTools.h"
#include "support/TarqTest.h"

#include <QWindow>

using namespace Qt::StringLiterals;

class WindowHintsTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void typeAndStateAreSetAMomentLater();
    void twoCallsAreBothCarriedOut();
    void destroyedWindowIsLeftAlone();
    void withoutXpropNothingHappens();
    void noWindowIsIgnored();
    void failingXpropIsSilent();
};

void WindowHintsTest::typeAndStateAreSetAMomentLater()
{
    const ScriptedTools tools(homePath());
    tools.install(u"xprop"_s);
    QWindow window;
    window.create();
    applyX11WindowHints(&window);
    QCOMPARE(tools.runs(), QStringList());
    QTRY_COMPARE(tools.runs().size(), 2);
    QStringList runs = tools.runs();
    runs.sort(); // the two run side by side
    const QString id = QString::number(window.winId());
    QCOMPARE(runs,
        (QStringList{"xprop|-id|"_L1 + id
                + "|-f|_NET_WM_STATE|32a|-set|_NET_WM_STATE|_NET_WM_STATE_ABOVE,_NET_WM_STATE_SKIP_TASKBAR,_NET_WM_STATE_SKIP_PAGER"_L1,
            "xprop|-id|"_L1 + id
                + "|-f|_NET_WM_WINDOW_TYPE|32a|-set|_NET_WM_WINDOW_TYPE|_NET_WM_WINDOW_TYPE_UTILITY"_L1}));
}

void WindowHintsTest::twoCallsAreBothCarriedOut()
{
    const ScriptedTools tools(homePath());
    tools.install(u"xprop"_s);
    QWindow window;
    applyX11WindowHints(&window);
    applyX11WindowHints(&window);
    QTRY_COMPARE(tools.runs().size(), 4);
}

void WindowHintsTest::destroyedWindowIsLeftAlone()
{
    const ScriptedTools tools(homePath());
    tools.install(u"xprop"_s);
    QWindow survivor;
    {
        QWindow window;
        applyX11WindowHints(&window);
    }
    // By the time that the survivor's come, the other's would have come too.
    applyX11WindowHints(&survivor);
    QTRY_COMPARE(tools.runs().size(), 2);
    const QString id = QString::number(survivor.winId());
    for (const QString& run : tools.runs()) {
        QVERIFY2(run.startsWith("xprop|-id|"_L1 + id + u'|'), qPrintable(run));
    }
}

void WindowHintsTest::withoutXpropNothingHappens()
{
    const ScriptedTools tools(homePath());
    QWindow window;
    applyX11WindowHints(&window);
    // Not even the window's system resources are needed then.
    QVERIFY(window.handle() == nullptr);
}

void WindowHintsTest::noWindowIsIgnored()
{
    const ScriptedTools tools(homePath());
    tools.install(u"xprop"_s);
    applyX11WindowHints(nullptr);
    QWindow window;
    applyX11WindowHints(&window);
    QTRY_COMPARE(tools.runs().size(), 2);
}

void WindowHintsTest::failingXpropIsSilent()
{
    const ScriptedTools tools(homePath());
    tools.install(u"xprop"_s);
    tools.answer(u"xprop"_s, u"-id"_s, "exit 1"_ba);
    QWindow window;
    applyX11WindowHints(&window);
    QTRY_COMPARE(tools.runs().size(), 2);
}

QTEST_MAIN(WindowHintsTest)
#include "WindowHintsTest.moc"
