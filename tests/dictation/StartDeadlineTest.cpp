#include "dictation/StartDeadline.h"
#include "support/TarqTest.h"

#include <unistd.h>

// That it ends a process which is stuck is tested with the whole program.
class StartDeadlineTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void callThatReturnsLeavesNothingBehind();
};

void StartDeadlineTest::callThatReturnsLeavesNothingBehind()
{
    struct sigaction before {
    };
    QCOMPARE(::sigaction(SIGALRM, nullptr, &before), 0);
    {
        const StartDeadline deadline;
        const unsigned int left = ::alarm(0);
        QVERIFY(left >= 7);
        QVERIFY(left <= 8);
    }
    QCOMPARE(::alarm(0), 0U);
    {
        const StartDeadline deadline;
    }
    QCOMPARE(::alarm(0), 0U);
    struct sigaction after {
    };
    QCOMPARE(::sigaction(SIGALRM, nullptr, &after), 0);
    QVERIFY(before.sa_handler == after.sa_handler);
}

QTEST_GUILESS_MAIN(StartDeadlineTest)
#include "StartDeadlineTest.moc"
