#include "app/QuitSignals.h"
#include "support/TarqTest.h"

#include <QTimer>

#include <csignal>

class QuitSignalsTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void signalEndsTheLoopWithStatusZero_data();
    void signalEndsTheLoopWithStatusZero();
    void signalBeforeTheLoopIsLost_data();
    void signalBeforeTheLoopIsLost();
    void signalWhileTheLoopBeginsEndsWithStatusZero();
};

void QuitSignalsTest::signalEndsTheLoopWithStatusZero_data()
{
    QTest::addColumn<int>("signal");
    QTest::newRow("SIGINT") << SIGINT;
    QTest::newRow("SIGTERM") << SIGTERM;
}

void QuitSignalsTest::signalEndsTheLoopWithStatusZero()
{
    QFETCH(int, signal);
    installQuitSignals();
    QTimer::singleShot(0, this, [signal]() { std::raise(signal); });
    QCOMPARE(QCoreApplication::exec(), 0);
}

void QuitSignalsTest::signalBeforeTheLoopIsLost_data()
{
    signalEndsTheLoopWithStatusZero_data();
}

void QuitSignalsTest::signalBeforeTheLoopIsLost()
{
    constexpr int kEndedByItself = 7;
    QFETCH(int, signal);
    installQuitSignals();
    std::raise(signal);
    QTimer::singleShot(0, this, []() { QCoreApplication::exit(kEndedByItself); });
    QCOMPARE(QCoreApplication::exec(), kEndedByItself);
}

// The moment lies within Qt's exec(), so what Qt makes of it is told here: it was seen in a
// debugger.
void QuitSignalsTest::signalWhileTheLoopBeginsEndsWithStatusZero()
{
    QCOMPARE(exitStatus(-1), 0);
    QCOMPARE(exitStatus(0), 0);
    QCOMPARE(exitStatus(3), 3);
}

QTEST_GUILESS_MAIN(QuitSignalsTest)
#include "QuitSignalsTest.moc"
