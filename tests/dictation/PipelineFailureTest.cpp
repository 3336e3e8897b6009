#include "dictation/PipelineTest.h"

#include <QClipboard>
#include <QGuiApplication>

using namespace Qt::StringLiterals;

// Dictations that fail, and what they leave.
class PipelineFailureTest final : public PipelineTest
{
    Q_OBJECT

private slots:
    void keyClearedWhileRecordingPreservesTheAudio();
    void keyClearedWhileProcessingCancelsNothing();
    void failedStartReportsOnce();
    void failedTranscriptionKeepsTheAudioAndTheError();
    void nextStartClearsTheError();
    void refusedTokenIsIdleBeforeItIsTold();
    void failedInjectionKeepsTheHistory();
    void fullDiskWhileRecordingDeletesTheAudio();
    void fullDiskAtTheStopReturnsToIdleInSilence();
};

void PipelineFailureTest::keyClearedWhileRecordingPreservesTheAudio()
{
    m_pipeline->startRecordingExplicit();
    m_pipeline->setApiKey({});
    expectWarning(u"^Transcription failed: Not authenticated$"_s);
    expectWarning(u"^Audio preserved at: .*\\.wav$"_s);
    m_pipeline->stopRecordingExplicit();
    QCOMPARE(m_states, (QStringList{u"recording"_s, u"processing"_s, u"idle"_s}));
    QCOMPARE(m_overlay->lastError(), u"Not authenticated"_s);
    QCOMPARE(recordings().size(), 1);
    QCOMPARE(m_server->requests().size(), 0);
}

void PipelineFailureTest::keyClearedWhileProcessingCancelsNothing()
{
    m_server->answerWith({{200, R"({"text":"still here"})"}});
    dictate();
    m_pipeline->setApiKey({});
    waitUntilIdle();
    QCOMPARE(QGuiApplication::clipboard()->text(), u"still here"_s);
    QCOMPARE(m_history->count(), 1);
}

void PipelineFailureTest::failedStartReportsOnce()
{
    writeFile(homePath(u".cache"_s), "a file, where the directory should be"_ba);
    const QString message = u"Failed to create cache directory: %1"_s.arg(cachePath());
    QSignalSpy errors(m_overlay.get(), &OverlayStateModel::lastErrorChanged);
    QTest::ignoreMessage(QtWarningMsg, qPrintable(message));
    m_pipeline->startRecordingExplicit();
    QCOMPARE(m_overlay->lastError(), message);
    QCOMPARE(errors.count(), 1);
    QCOMPARE(m_states, QStringList());
    QVERIFY(!timer("waveTimer")->isActive());
}

void PipelineFailureTest::failedTranscriptionKeepsTheAudioAndTheError()
{
    m_server->answerWith({{403, "not you"}});
    expectWarning(u"^Transcription failed: Request failed \\(HTTP 403\\): not you$"_s);
    expectWarning(u"^Audio preserved at: .*/tarq-linux-.*\\.wav$"_s);
    dictate();
    waitUntilIdle();
    QCOMPARE(recordings().size(), 1);
    QCOMPARE(m_overlay->lastError(), u"Request failed (HTTP 403): not you"_s);
    QCOMPARE(m_history->count(), 0);
    QCOMPARE(QGuiApplication::clipboard()->text(), u"what was there before"_s);
}

void PipelineFailureTest::nextStartClearsTheError()
{
    m_overlay->setLastError(u"an old failure"_s);
    m_pipeline->startRecordingExplicit();
    QCOMPARE(m_overlay->lastError(), QString());
}

void PipelineFailureTest::refusedTokenIsIdleBeforeItIsTold()
{
    m_server->answerWith({{401, "expired"}});
    expectWarning(u"^Audio preserved at: .*\\.wav$"_s);
    QStringList statesAtSignal;
    connect(m_pipeline.get(), &TranscriptionPipeline::authRequired, this,
        [&]() { statesAtSignal << m_overlay->visualState(); });
    dictate();
    waitUntilIdle();
    QCOMPARE(statesAtSignal, QStringList{u"idle"_s});
    QCOMPARE(recordings().size(), 1);
    QCOMPARE(m_overlay->lastError(), QString());
    QCOMPARE(m_history->count(), 0);
}

void PipelineFailureTest::failedInjectionKeepsTheHistory()
{
    makeTool("exit 1");
    m_server->answerWith({{200, R"({"text":"hello"})"}});
    expectWarning(u"^Text injection failed: xdotool paste failed$"_s);
    dictate();
    QTRY_COMPARE_WITH_TIMEOUT(m_overlay->lastError(), u"xdotool paste failed"_s, 10000);
    QCOMPARE(m_history->list().first().text, u"hello"_s);
    QCOMPARE(m_states, (QStringList{u"recording"_s, u"processing"_s, u"idle"_s}));
    QCOMPARE(recordings(), QStringList());
}

void PipelineFailureTest::fullDiskWhileRecordingDeletesTheAudio()
{
    m_pipeline->startRecordingExplicit();
    expectWarning(u"^Audio error: Failed to append audio data to .*\\.wav$"_s);
    {
        const FileSizeLimit full(100);
        waitUntilIdle();
    }
    QVERIFY(m_overlay->lastError().startsWith("Failed to append audio data to "_L1));
    QCOMPARE(recordings(), QStringList());
    QVERIFY(!timer("waveTimer")->isActive());
    QVERIFY(!timer("maxDurationTimer")->isActive());
    QVERIFY(!timer("warningTimer")->isActive());
    QCOMPARE(m_server->requests().size(), 0);
}

void PipelineFailureTest::fullDiskAtTheStopReturnsToIdleInSilence()
{
    m_pipeline->startRecordingExplicit();
    expectWarning(u"^Failed to (seek to the|write) WAV header"_s);
    {
        const FileSizeLimit full(0);
        m_pipeline->stopRecordingExplicit();
    }
    QCOMPARE(m_states, (QStringList{u"recording"_s, u"idle"_s}));
    QCOMPARE(m_overlay->lastError(), QString());
    QCOMPARE(m_server->requests().size(), 0);
}

QTEST_MAIN(PipelineFailureTest)
#include "PipelineFailureTest.moc"
