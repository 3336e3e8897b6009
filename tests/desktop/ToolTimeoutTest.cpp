#include "desktop/InputFocusMonitor.h"
#include "desktop/ScriptedTools.h"
#include "support/TarqTest.h"

#include <QElapsedTimer>

using namespace Qt::StringLiterals;

// How long the program stands still for a tool that hangs.
class ToolTimeoutTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void hangingToolIsWaitedForAFifthOfASecond_data();
    void hangingToolIsWaitedForAFifthOfASecond();
};

void ToolTimeoutTest::hangingToolIsWaitedForAFifthOfASecond_data()
{
    QTest::addColumn<QString>("tool");
    QTest::addColumn<QString>("argument");

    QTest::newRow("the active window") << u"xdotool"_s << u"getactivewindow"_s;
    QTest::newRow("its class") << u"xprop"_s << u"-id"_s;
}

void ToolTimeoutTest::hangingToolIsWaitedForAFifthOfASecond()
{
    QFETCH(const QString, tool);
    QFETCH(const QString, argument);
    const ScriptedTools tools(homePath(u"tools"_s));
    tools.install(u"xdotool"_s);
    tools.install(u"xprop"_s);
    tools.answer(u"xdotool"_s, u"getactivewindow"_s, "echo 7"_ba);
    tools.answer(tool, argument, tools.hang());

    // A busy machine makes it longer, and never shorter: that it can be short is told by one that
    // is.
    constexpr qint64 kEnoughMs = 300;
    qint64 shortestMs = 0;
    for (int attempt = 0; attempt < 20 && (attempt == 0 || shortestMs >= kEnoughMs); ++attempt) {
        InputFocusMonitor monitor;
        QElapsedTimer clock;
        clock.start();
        QVERIFY(QMetaObject::invokeMethod(&monitor, "poll"));
        const qint64 elapsedMs = clock.elapsed();
        QVERIFY2(elapsedMs >= 200, qPrintable(QString::number(elapsedMs)));
        shortestMs = attempt == 0 ? elapsedMs : qMin(shortestMs, elapsedMs);
    }
    QVERIFY2(shortestMs < kEnoughMs, qPrintable(QString::number(shortestMs)));
}

QTEST_GUILESS_MAIN(ToolTimeoutTest)
#include "ToolTimeoutTest.moc"
