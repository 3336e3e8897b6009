#include "dictation/PipelineTest.h"
#include "support/AudioSources.h"

#include <QClipboard>
#include <QDir>
#include <QGuiApplication>
#include <QProcess>

using namespace Qt::StringLiterals;

// A dictation from its start to the text.
class TranscriptionPipelineTest final : public PipelineTest
{
    Q_OBJECT

private slots:
    void initTestCase();

    void dictationGoesThroughEveryState();
    void answerIsHandledInOrder();
    void keyIsSentTrimmed();
    void stopBeforeAnyAudioSendsABareHeader();
    void limitsAreOneAndTwoMinutes();
    void warningComesFirstAndEndsWithTheRecording();
    void recordingStopsByItselfAtTheLimit();
    void loudSoundMovesTheBars();
    void languageIsPassedOn();
    void microphoneIsPassedOn();
    void withoutAHistoryTheTextIsStillPasted();
};

void TranscriptionPipelineTest::initTestCase()
{
    QVERIFY(AudioSources::add(u"second"_s));
    QVERIFY(AudioSources::addSilent(u"silent"_s, QDir::temp().filePath(u"silent"_s)));
}

void TranscriptionPipelineTest::dictationGoesThroughEveryState()
{
    m_server->answerWith({{200, R"({"text":" two words "})"}});
    dictate();
    waitUntilIdle();
    QCOMPARE(m_states, (QStringList{u"recording"_s, u"processing"_s, u"idle"_s}));
    QCOMPARE(recordings(), QStringList());
    QCOMPARE(m_history->list().first().text, u"two words"_s);
    QCOMPARE(QGuiApplication::clipboard()->text(), u"two words"_s);
    QTRY_COMPARE(readFile(homePath(u"keys"_s)), "key --clearmodifiers ctrl+v\n"_ba);
}

void TranscriptionPipelineTest::answerIsHandledInOrder()
{
    m_server->answerWith({{200, R"({"text":"hello"})"}});
    m_overlay->setLastError(u"an old failure"_s);
    QStringList order;
    dictate();
    // The start has cleared the first one.
    m_overlay->setLastError(u"another failure"_s);
    connect(QGuiApplication::clipboard(), &QClipboard::dataChanged, m_pipeline.get(), [&]() {
        order << u"clipboard"_s;
        QCOMPARE(recordings(), QStringList());
    });
    connect(m_history.get(), &HistoryRepository::historyChanged, this,
        [&]() { order << u"history"_s; });
    connect(m_overlay.get(), &OverlayStateModel::lastErrorChanged, this,
        [&]() { order << u"error"_s; });
    connect(m_overlay.get(), &OverlayStateModel::visualStateChanged, this,
        [&]() { order << m_overlay->visualState(); });
    waitUntilIdle();
    QCOMPARE(order, (QStringList{u"clipboard"_s, u"history"_s, u"error"_s, u"idle"_s}));
    QCOMPARE(m_overlay->lastError(), QString());
    // The state is idle before the keys are pressed.
    QCOMPARE(readFile(homePath(u"keys"_s)), QByteArray());
}

void TranscriptionPipelineTest::keyIsSentTrimmed()
{
    m_server->answerWith({{200, R"({"text":"hello"})"}});
    m_pipeline->setApiKey(u"  padded\n"_s);
    dictate();
    waitUntilIdle();
    QCOMPARE(m_server->requests().first().headers.value("authorization"), "Bearer padded"_ba);
}

void TranscriptionPipelineTest::stopBeforeAnyAudioSendsABareHeader()
{
    m_server->answerWith({{200, R"({"text":""})"}});
    expectWarning(u"^Transcription failed: Empty transcript$"_s);
    expectWarning(u"^Audio preserved at: .*\\.wav$"_s);
    m_pipeline->setPreferredAudioDeviceId(u"silent"_s);
    dictate();
    waitUntilIdle();
    QCOMPARE(m_server->requests().first().formParts().last().body.size(), 44);
    QCOMPARE(m_overlay->lastError(), u"Empty transcript"_s);
}

void TranscriptionPipelineTest::limitsAreOneAndTwoMinutes()
{
    QCOMPARE(timer("warningTimer")->interval(), 60000);
    QVERIFY(timer("warningTimer")->isSingleShot());
    QCOMPARE(timer("maxDurationTimer")->interval(), 120000);
    QVERIFY(timer("maxDurationTimer")->isSingleShot());
    QCOMPARE(timer("waveTimer")->interval(), 50);
    QCOMPARE(timer("waveTimer")->timerType(), Qt::PreciseTimer);
    m_pipeline->startRecordingExplicit();
    QVERIFY(timer("warningTimer")->isActive());
    QVERIFY(timer("maxDurationTimer")->isActive());
    QVERIFY(timer("waveTimer")->isActive());
}

void TranscriptionPipelineTest::warningComesFirstAndEndsWithTheRecording()
{
    m_server->answerWith({{200, R"({"text":"hello"})"}});
    m_pipeline->startRecordingExplicit();
    QVERIFY(!m_overlay->recordingWarning());
    timer("warningTimer")->start(0);
    QTRY_VERIFY(m_overlay->recordingWarning());
    QCOMPARE(m_overlay->state(), State::Recording);

    // The warning ends at the start of the stop, before the state changes.
    QStringList order;
    connect(m_overlay.get(), &OverlayStateModel::recordingWarningChanged, this,
        [&]() { order << u"warning off"_s; });
    connect(m_overlay.get(), &OverlayStateModel::visualStateChanged, this,
        [&]() { order << m_overlay->visualState(); });
    m_pipeline->stopRecordingExplicit();
    QVERIFY(!m_overlay->recordingWarning());
    QCOMPARE(order, (QStringList{u"warning off"_s, u"processing"_s}));
    waitUntilIdle();
}

void TranscriptionPipelineTest::recordingStopsByItselfAtTheLimit()
{
    m_server->answerWith({{200, R"({"text":"a long speech"})"}});
    m_pipeline->startRecordingExplicit();
    timer("maxDurationTimer")->start(0);
    waitUntilIdle();
    QCOMPARE(m_states, (QStringList{u"recording"_s, u"processing"_s, u"idle"_s}));
    QCOMPARE(m_history->list().first().text, u"a long speech"_s);
}

void TranscriptionPipelineTest::loudSoundMovesTheBars()
{
    m_pipeline->startRecordingExplicit();
    QProcess player;
    player.start(u"paplay"_s,
        {u"--device=virtmic"_s, u"--raw"_s, u"--latency-msec=50"_s, u"/dev/urandom"_s});
    const auto middle = [this]() {
        return m_overlay->waveScales().at(2).toDouble();
    };
    QTRY_VERIFY_WITH_TIMEOUT(middle() > 0.5, 10000);
    QVERIFY(m_overlay->waveScales().at(0).toDouble() < middle());
    m_server->answerWith({{200, R"({"text":"hello"})"}});
    m_pipeline->stopRecordingExplicit();
    QCOMPARE(m_overlay->waveScales(), (QVariantList{0.1F, 0.1F, 0.1F, 0.1F, 0.1F}));
    waitUntilIdle();
    player.kill();
    player.waitForFinished();
}

void TranscriptionPipelineTest::languageIsPassedOn()
{
    m_server->answerWith({{200, R"({"text":"hallo"})"}});
    m_pipeline->setTranscriptionLanguage(u"de"_s);
    dictate();
    waitUntilIdle();
    const QList<FormPart> parts = m_server->requests().first().formParts();
    QCOMPARE(parts.size(), 4);
    QCOMPARE(parts[2].body, "de"_ba);
}

void TranscriptionPipelineTest::microphoneIsPassedOn()
{
    m_pipeline->setPreferredAudioDeviceId(u"second"_s);
    m_pipeline->startRecordingExplicit();
    QTRY_COMPARE(AudioSources::recorded(), u"second"_s);
}

void TranscriptionPipelineTest::withoutAHistoryTheTextIsStillPasted()
{
    m_server->answerWith({{200, R"({"text":"hello"})"}});
    TranscriptionPipeline pipeline(m_overlay.get(), nullptr, nullptr);
    pipeline.setApiKey(u"the-key"_s);
    pipeline.startRecordingExplicit();
    pipeline.stopRecordingExplicit();
    waitUntilIdle();
    QCOMPARE(QGuiApplication::clipboard()->text(), u"hello"_s);
}

QTEST_MAIN(TranscriptionPipelineTest)
#include "TranscriptionPipelineTest.moc"
