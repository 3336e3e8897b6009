#include "dictation/TranscriptionTest.h"
#include "support/RunningTimers.h"

#include <QElapsedTimer>

using namespace Qt::StringLiterals;

// What one attempt takes over from the one before, and how long it waits.
class TranscriptionAttemptsTest final : public TranscriptionTest
{
    Q_OBJECT

private slots:
    void retryHasTheLanguageOfItsTime();
    void retryGoesToTheWorkerOfItsTime();
    void refusedTokenAtTheThirdAttemptExpiresTheSession();
    void refusalAtTheThirdAttemptIsTheFailure();
    void waitsAreOneAndTwoSeconds();
};

void TranscriptionAttemptsTest::retryHasTheLanguageOfItsTime()
{
    m_server->answerWith({{500, "down"}, {500, "down"}, {200, kHello}});
    expectRetryWarning(1, u"1000"_s);
    expectRetryWarning(2, u"2000"_s);
    m_client->setLanguage(u"fr"_s);
    transcribe();
    QTRY_COMPARE(m_server->requests().size(), 1);
    m_client->setLanguage(u"de"_s);
    QTRY_COMPARE(m_server->requests().size(), 2);
    m_client->setLanguage(u"auto"_s);
    QCOMPARE(outcome(), kHelloOutcome);
    QCOMPARE(m_server->requests()[0].formParts()[2].body, "fr"_ba);
    QCOMPARE(m_server->requests()[1].formParts()[2].body, "de"_ba);
    QCOMPARE(m_server->requests()[2].formParts().size(), 3);
}

void TranscriptionAttemptsTest::retryGoesToTheWorkerOfItsTime()
{
    HttpServer another;
    another.answerWith({{200, kHello}});
    m_server->answerWith({{500, "down"}});
    expectRetryWarning(1, u"1000"_s);
    transcribe();
    QTRY_COMPARE(m_server->requests().size(), 1);
    qputenv("WORKER_URL", another.url().toUtf8());
    QCOMPARE(outcome(), kHelloOutcome);
    QCOMPARE(m_server->requests().size(), 1);
    QCOMPARE(another.requests().size(), 1);
}

void TranscriptionAttemptsTest::refusedTokenAtTheThirdAttemptExpiresTheSession()
{
    m_server->answerWith({{500, "down"}, {429, "busy"}, {401, "who are you"}});
    expectRetryWarning(1, u"1000"_s);
    expectRetryWarning(2, u"2000"_s);
    transcribe();
    QCOMPARE(outcome(), u"expired"_s);
    QCOMPARE(m_server->requests().size(), 3);
}

void TranscriptionAttemptsTest::refusalAtTheThirdAttemptIsTheFailure()
{
    m_server->answerWith({{500, "down"}, {408, "late"}, {403, "no"}});
    expectRetryWarning(1, u"1000"_s);
    expectRetryWarning(2, u"2000"_s);
    transcribe();
    QCOMPARE(outcome(), u"failed: Request failed (HTTP 403): no"_s);
    QCOMPARE(m_server->requests().size(), 3);
}

void TranscriptionAttemptsTest::waitsAreOneAndTwoSeconds()
{
    m_server->answerWith({{500, "down"}, {500, "down"}, {200, kHello}});
    const int ofASecond = runningTimers(1000);
    const int ofTwoSeconds = runningTimers(2000);
    expectRetryWarning(1, u"1000"_s);
    QElapsedTimer clock;
    clock.start();
    transcribe();
    QTRY_COMPARE(runningTimers(1000), ofASecond + 1);
    QCOMPARE(m_server->requests().size(), 1);
    expectRetryWarning(2, u"2000"_s);
    QTRY_COMPARE(runningTimers(2000), ofTwoSeconds + 1);
    QCOMPARE(runningTimers(1000), ofASecond);
    QCOMPARE(m_server->requests().size(), 2);
    QCOMPARE(outcome(30000), kHelloOutcome);
    // Generous for a loaded machine, and less than one more wait would take.
    QVERIFY2(clock.elapsed() < 7000, qPrintable(QString::number(clock.elapsed())));
    QCOMPARE(runningTimers(1000), ofASecond);
    QCOMPARE(runningTimers(2000), ofTwoSeconds);
}

QTEST_GUILESS_MAIN(TranscriptionAttemptsTest)
#include "TranscriptionAttemptsTest.moc"
