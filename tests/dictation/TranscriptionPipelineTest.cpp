#include "dictation/TranscriptionPipeline.h"
#include "desktop/InputFocusMonitor.h"
#include "dictation/OverlayStateModel.h"
#include "storage/HistoryRepository.h"
#include "support/AudioSources.h"
#include "support/HttpServer.h"
#include "support/TarqTest.h"

#include <QClipboard>
#include <QDir>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QProcess>
#include <QRegularExpression>
#include <QTimer>

using namespace Qt::StringLiterals;
using State = OverlayStateModel::State;

// The whole pipeline on a real microphone and a real HTTP server; only the tool that presses the
// paste keys is a script, since there is no window to press them in.
class TranscriptionPipelineTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void dictationGoesThroughEveryState();
    void answerIsHandledInOrder();
    void dictationWithoutAKeyNeverOpensTheMicrophone_data();
    void dictationWithoutAKeyNeverOpensTheMicrophone();
    void keyIsSentTrimmed();
    void explicitStartAndStopActInTheirStateOnly();
    void explicitStartAfterAToggleDoesNothing();
    void toggleWithin300MsIsSwallowed();
    void toggleAfter300MsActs();
    void toggleWhileProcessingOnlyRestartsTheGuard();
    void stopBeforeAnyAudioSendsABareHeader();
    void keyClearedWhileRecordingPreservesTheAudio();
    void keyClearedWhileProcessingCancelsNothing();
    void failedStartReportsOnce();
    void failedTranscriptionKeepsTheAudioAndTheError();
    void nextStartClearsTheError();
    void refusedTokenIsIdleBeforeItIsTold();
    void failedInjectionKeepsTheHistory();
    void fullDiskWhileRecordingDeletesTheAudio();
    void fullDiskAtTheStopReturnsToIdleInSilence();
    void limitsAreOneAndTwoMinutes();
    void warningComesFirstAndEndsWithTheRecording();
    void recordingStopsByItselfAtTheLimit();
    void loudSoundMovesTheBars();
    void languageIsPassedOn();
    void microphoneIsPassedOn();
    void withoutAnOverlayNothingHappens();
    void withoutAHistoryTheTextIsStillPasted();

private:
    void makeTool(const QByteArray& script);
    QTimer* timer(const char* name) const;
    QStringList recordings() const;
    void expectWarning(const QString& pattern) const;
    // From idle to a finished upload.
    void dictate();
    void waitUntilIdle();

    std::unique_ptr<HttpServer> m_server;
    std::unique_ptr<ScopedVariable> m_workerUrl;
    std::unique_ptr<ScopedVariable> m_path;
    std::unique_ptr<OverlayStateModel> m_overlay;
    std::unique_ptr<HistoryRepository> m_history;
    std::unique_ptr<TranscriptionPipeline> m_pipeline;
    QStringList m_states;
};

void TranscriptionPipelineTest::initTestCase()
{
    QVERIFY(AudioSources::add(u"second"_s));
    QVERIFY(AudioSources::addSilent(u"silent"_s, QDir::temp().filePath(u"silent"_s)));
}

void TranscriptionPipelineTest::init()
{
    TarqTest::init();
    makeTool("exit 0");
    m_path = std::make_unique<ScopedVariable>(
        "PATH", QFile::encodeName(homePath(u"bin"_s)) + ":/usr/bin:/bin");
    m_server = std::make_unique<HttpServer>();
    m_workerUrl = std::make_unique<ScopedVariable>("WORKER_URL", m_server->url().toUtf8());
    m_overlay = std::make_unique<OverlayStateModel>();
    m_history = std::make_unique<HistoryRepository>(homePath(u"history.json"_s));
    m_pipeline = std::make_unique<TranscriptionPipeline>(m_overlay.get(), m_history.get(), nullptr);
    m_pipeline->setApiKey(u"the-key"_s);
    m_states.clear();
    connect(m_overlay.get(), &OverlayStateModel::visualStateChanged, this,
        [this]() { m_states << m_overlay->visualState(); });
    QGuiApplication::clipboard()->setText(u"what was there before"_s);
}

void TranscriptionPipelineTest::cleanup()
{
    m_pipeline.reset();
    m_history.reset();
    m_overlay.reset();
    m_workerUrl.reset();
    m_server.reset();
    m_path.reset();
    TarqTest::cleanup();
}

void TranscriptionPipelineTest::makeTool(const QByteArray& script)
{
    const QString path = homePath(u"bin/xdotool"_s);
    writeFile(path,
        "#!/bin/sh\necho \"$@\" >> " + QFile::encodeName(homePath(u"keys"_s)) + '\n' + script
            + '\n');
    QVERIFY(QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
}

QTimer* TranscriptionPipelineTest::timer(const char* name) const
{
    return m_pipeline->findChild<QTimer*>(QString::fromLatin1(name));
}

QStringList TranscriptionPipelineTest::recordings() const
{
    return QDir(cachePath()).entryList(QDir::Files);
}

void TranscriptionPipelineTest::expectWarning(const QString& pattern) const
{
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(pattern));
}

void TranscriptionPipelineTest::dictate()
{
    m_pipeline->startRecordingExplicit();
    QCOMPARE(m_overlay->state(), State::Recording);
    m_pipeline->stopRecordingExplicit();
    QCOMPARE(m_overlay->state(), State::Processing);
}

void TranscriptionPipelineTest::waitUntilIdle()
{
    QTRY_COMPARE_WITH_TIMEOUT(m_overlay->state(), State::Idle, 10000);
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

void TranscriptionPipelineTest::dictationWithoutAKeyNeverOpensTheMicrophone_data()
{
    QTest::addColumn<QString>("key");
    QTest::newRow("no key") << QString();
    QTest::newRow("a key of blanks") << u" \t "_s;
}

void TranscriptionPipelineTest::dictationWithoutAKeyNeverOpensTheMicrophone()
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

void TranscriptionPipelineTest::keyIsSentTrimmed()
{
    m_server->answerWith({{200, R"({"text":"hello"})"}});
    m_pipeline->setApiKey(u"  padded\n"_s);
    dictate();
    waitUntilIdle();
    QCOMPARE(m_server->requests().first().headers.value("authorization"), "Bearer padded"_ba);
}

void TranscriptionPipelineTest::explicitStartAndStopActInTheirStateOnly()
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

void TranscriptionPipelineTest::explicitStartAfterAToggleDoesNothing()
{
    QTest::qWait(310); // the guard is shared by every pipeline of the process
    m_pipeline->toggle();
    m_pipeline->startRecordingExplicit();
    QCOMPARE(m_states, QStringList{u"recording"_s});
    QCOMPARE(recordings().size(), 1);
}

void TranscriptionPipelineTest::toggleWithin300MsIsSwallowed()
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

void TranscriptionPipelineTest::toggleAfter300MsActs()
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

void TranscriptionPipelineTest::toggleWhileProcessingOnlyRestartsTheGuard()
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

void TranscriptionPipelineTest::keyClearedWhileRecordingPreservesTheAudio()
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

void TranscriptionPipelineTest::keyClearedWhileProcessingCancelsNothing()
{
    m_server->answerWith({{200, R"({"text":"still here"})"}});
    dictate();
    m_pipeline->setApiKey({});
    waitUntilIdle();
    QCOMPARE(QGuiApplication::clipboard()->text(), u"still here"_s);
    QCOMPARE(m_history->count(), 1);
}

void TranscriptionPipelineTest::failedStartReportsOnce()
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

void TranscriptionPipelineTest::failedTranscriptionKeepsTheAudioAndTheError()
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

void TranscriptionPipelineTest::nextStartClearsTheError()
{
    m_overlay->setLastError(u"an old failure"_s);
    m_pipeline->startRecordingExplicit();
    QCOMPARE(m_overlay->lastError(), QString());
}

void TranscriptionPipelineTest::refusedTokenIsIdleBeforeItIsTold()
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

void TranscriptionPipelineTest::failedInjectionKeepsTheHistory()
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

void TranscriptionPipelineTest::fullDiskWhileRecordingDeletesTheAudio()
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

void TranscriptionPipelineTest::fullDiskAtTheStopReturnsToIdleInSilence()
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

void TranscriptionPipelineTest::withoutAnOverlayNothingHappens()
{
    QTest::qWait(310);
    TranscriptionPipeline pipeline(nullptr, m_history.get(), nullptr);
    pipeline.setApiKey(u"the-key"_s);
    pipeline.toggle();
    pipeline.startRecordingExplicit();
    pipeline.stopRecordingExplicit();
    QVERIFY(!QDir(cachePath()).exists());
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
