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

QTEST_GUILESS_MAIN(QuitSignalsTest)
#include "QuitSignalsTest.moc"
