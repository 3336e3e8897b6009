#include "app/QuitSignals.h"
#include "support/TarqTest.h"

#include <QThread>
#include <QTimer>

#include <csignal>
#include <memory>

class QuitFromThreadTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void signalToAThreadThatTheMainOneWaitsForEndsTheLoop_data();
    void signalToAThreadThatTheMainOneWaitsForEndsTheLoop();
};

void QuitFromThreadTest::signalToAThreadThatTheMainOneWaitsForEndsTheLoop_data()
{
    QTest::addColumn<int>("signal");
    QTest::newRow("SIGINT") << SIGINT;
    QTest::newRow("SIGTERM") << SIGTERM;
}

void QuitFromThreadTest::signalToAThreadThatTheMainOneWaitsForEndsTheLoop()
{
    constexpr int kLongMs = 10000;
    QFETCH(int, signal);
    installQuitSignals();
    // Raised in a thread, a signal goes to that thread.
    const std::unique_ptr<QThread> thread(QThread::create([signal]() { std::raise(signal); }));
    bool ended = false;
    QTimer::singleShot(0, this, [&thread, &ended]() {
        thread->start();
        ended = thread->wait(kLongMs);
    });
    QCOMPARE(QCoreApplication::exec(), 0);
    const bool endedByItself = ended;
    QVERIFY(thread->wait());
    QVERIFY(endedByItself);
}

// With windows, where a quit goes through the platform.
QTEST_MAIN(QuitFromThreadTest)
#include "QuitFromThreadTest.moc"
