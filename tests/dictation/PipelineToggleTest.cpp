#include "dictation/PipelineTest.h"

#include <QDir>
#include <QElapsedTimer>

using namespace Qt::StringLiterals;

// What starts and stops a dictation, and what doesn't.
class PipelineToggleTest final : public PipelineTest
{
    Q_OBJECT

private slots:
    void dictationWithoutAKeyNeverOpensTheMicrophone_data();
    void dictationWithoutAKeyNeverOpensTheMicrophone();
    void explicitStartAndStopActInTheirStateOnly();
    void explicitStartAfterAToggleDoesNothing();
    void toggleWithin300MsIsSwallowed();
    void toggleAfter300MsActs();
    void toggleWhileProcessingOnlyRestartsTheGuard();
    void withoutAnOverlayNothingHappens();
};

void PipelineToggleTest::dictationWithoutAKeyNeverOpensTheMicrophone_data()
{
    QTest::addColumn<QString>("key");
    QTest::newRow("no key") << QString();
    QTest::newRow("a key of blanks") << u" \t "_s;
}

void PipelineToggleTest::dictationWithoutAKeyNeverOpensTheMicrophone()
{
    QFETCH(QString, key);
    m_pipeline->setApiKey(key);
    QSignalSpy auth(m_pipeline.get(), &TranscriptionPipeline::authRequired);
    m_pipeline->startRecordingExplicit();
    QCOMPARE(m_overlay->lastError(), u"Sign in to use Tarq."_s);

    m_overlay->clearError();
    QTest::qWait(310); // the guard is shared by every pipeline of the process
    m_pipeline->toggle();
    QCOMPARE(m_overlay->lastError(), u"Sign in to use Tarq."_s);
    QCOMPARE(m_states, QStringList());
    QCOMPARE(auth.count(), 0);
    QVERIFY(!QDir(cachePath()).exists());
}

void PipelineToggleTest::explicitStartAndStopActInTheirStateOnly()
{
    m_pipeline->stopRecordingExplicit();
    QCOMPARE(m_states, QStringList());

    m_server->answerWith({{200, R"({"text":"hello"})"}});
    dictate();
    m_pipeline->startRecordingExplicit();
    m_pipeline->stopRecordingExplicit();
    QCOMPARE(m_overlay->state(), State::Processing);
    waitUntilIdle();
    QCOMPARE(m_server->requests().size(), 1);
}

void PipelineToggleTest::explicitStartAfterAToggleDoesNothing()
{
    QTest::qWait(310); // the guard is shared by every pipeline of the process
    m_pipeline->toggle();
    m_pipeline->startRecordingExplicit();
    QCOMPARE(m_states, QStringList{u"recording"_s});
    QCOMPARE(recordings().size(), 1);
}

void PipelineToggleTest::toggleWithin300MsIsSwallowed()
{
    QTest::qWait(310);
    // Started before the guard, this clock is never behind it.
    QElapsedTimer clock;
    clock.start();
    m_pipeline->toggle();
    QCOMPARE(m_overlay->state(), State::Recording);
    while (clock.elapsed() < 270) {
        m_pipeline->toggle();
        QCOMPARE(m_overlay->state(), State::Recording);
    }
}

void PipelineToggleTest::toggleAfter300MsActs()
{
    m_server->answerWith({{200, R"({"text":"hello"})"}});
    QTest::qWait(310);
    m_pipeline->toggle();
    QElapsedTimer clock;
    clock.start();
    // A call that is swallowed doesn't restart the guard.
    while (clock.elapsed() < 300) {
        if (clock.elapsed() < 250) {
            m_pipeline->toggle();
        }
    }
    m_pipeline->toggle();
    QCOMPARE(m_overlay->state(), State::Processing);
    waitUntilIdle();
}

void PipelineToggleTest::toggleWhileProcessingOnlyRestartsTheGuard()
{
    m_server->answerWith({{200, R"({"text":"hello"})"}});
    dictate();
    QTest::qWait(310);
    m_overlay->setState(State::Processing); // the answer may have come in the meantime
    m_pipeline->toggle();
    QCOMPARE(m_overlay->state(), State::Processing);
    m_overlay->setState(State::Idle);
    m_pipeline->toggle();
    QCOMPARE(m_overlay->state(), State::Idle);
}

void PipelineToggleTest::withoutAnOverlayNothingHappens()
{
    QTest::qWait(310);
    TranscriptionPipeline pipeline(nullptr, m_history.get(), nullptr);
    pipeline.setApiKey(u"the-key"_s);
    pipeline.toggle();
    pipeline.startRecordingExplicit();
    pipeline.stopRecordingExplicit();
    QVERIFY(!QDir(cachePath()).exists());
}

QTEST_MAIN(PipelineToggleTest)
#include "PipelineToggleTest.moc"
