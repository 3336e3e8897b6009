#include "desktop/InputFocusMonitor.h"
#include "dictation/OverlayStateModel.h"
#include "dictation/TranscriptionPipeline.h"
#include "storage/HistoryRepository.h"
#include "support/HttpServer.h"
#include "support/RecordedLog.h"
#include "support/TarqTest.h"

#include <QDir>
#include <QRegularExpression>
#include <QTimer>

using namespace Qt::StringLiterals;
using State = OverlayStateModel::State;

namespace {

constexpr int kWavHeaderBytes = 44;

} // namespace

// What those who listen to the overlay hear of a dictation, in which order, and what has been done
// by then. Everything is made to differ from its rest before each step, so that each call is heard.
class DictationOrderTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void startClearsTheErrorThenTheWaveThenTellsTheState();
    void startHasTheMicrophoneOpenBeforeItTellsAnything();
    void startRunsTheTimersLast();
    void stopTellsTheStateThenTheWaveThenSends();
    void stopHasFinishedTheFileBeforeItTellsTheState();
    void stopWithoutAFileOnlyResets();
    void answerClearsTheErrorAndResets();
    void failureTellsTheErrorAndResets();
    void refusedTokenLeavesTheErrorToTheListener();
    void failedStartTellsTheErrorAndResets();
    void lostCaptureTellsTheErrorAndResets();
    void failedPasteLeavesTheNextRecordingAlone();

private:
    // Makes whatever a reset sets differ from its rest.
    void disturb();
    void record();
    void makePasteTool(const QByteArray& commands);
    [[nodiscard]] QTimer* timer(const char* name) const;
    [[nodiscard]] QList<QTimer*> timers() const;
    [[nodiscard]] bool isAnyTimerActive() const;
    [[nodiscard]] QStringList recordings() const;
    void waitUntil(State state);

    std::unique_ptr<HttpServer> m_server;
    std::unique_ptr<ScopedVariable> m_workerUrl;
    std::unique_ptr<ScopedVariable> m_path;
    std::unique_ptr<OverlayStateModel> m_overlay;
    std::unique_ptr<HistoryRepository> m_history;
    std::unique_ptr<TranscriptionPipeline> m_pipeline;
    QStringList m_order;
};

void DictationOrderTest::init()
{
    TarqTest::init();
    makePasteTool("exit 0");
    m_path = std::make_unique<ScopedVariable>(
        "PATH", QFile::encodeName(homePath(u"bin"_s)) + ":/usr/bin:/bin");
    m_server = std::make_unique<HttpServer>();
    m_workerUrl = std::make_unique<ScopedVariable>("WORKER_URL", m_server->url().toUtf8());
    m_overlay = std::make_unique<OverlayStateModel>();
    m_history = std::make_unique<HistoryRepository>(homePath(u"history.json"_s));
    m_pipeline = std::make_unique<TranscriptionPipeline>(m_overlay.get(), m_history.get(), nullptr);
    m_pipeline->setApiKey(u"the-key"_s);

    connect(m_overlay.get(), &OverlayStateModel::visualStateChanged, this,
        [this]() { m_order << m_overlay->visualState(); });
    connect(m_overlay.get(), &OverlayStateModel::waveScalesChanged, this, [this]() {
        const bool rests = m_overlay->waveScales() == QVariantList(5, 0.1F);
        m_order << (rests ? u"wave rests"_s : u"wave moves"_s);
    });
    connect(m_overlay.get(), &OverlayStateModel::lastErrorChanged, this, [this]() {
        m_order << (m_overlay->lastError().isEmpty() ? u"no error"_s : m_overlay->lastError());
    });
    connect(m_overlay.get(), &OverlayStateModel::recordingWarningChanged, this,
        [this]() { m_order << (m_overlay->recordingWarning() ? u"warning"_s : u"no warning"_s); });
    connect(m_pipeline.get(), &TranscriptionPipeline::authRequired, this,
        [this]() { m_order << u"sign in"_s; });
}

void DictationOrderTest::cleanup()
{
    m_pipeline.reset();
    m_history.reset();
    m_overlay.reset();
    m_workerUrl.reset();
    m_server.reset();
    m_path.reset();
    TarqTest::cleanup();
}

void DictationOrderTest::disturb()
{
    m_overlay->setWaveScales({1, 1, 1, 1, 1});
    m_overlay->setRecordingWarning(true);
    m_overlay->setLastError(u"an old failure"_s);
    m_order.clear();
}

// Until sound is in the file. The wave doesn't move meanwhile.
void DictationOrderTest::record()
{
    m_pipeline->startRecordingExplicit();
    QCOMPARE(m_overlay->state(), State::Recording);
    timer("waveTimer")->stop();
    const QFileInfo file(cachePath(recordings().value(0)));
    const auto size = [&file]() {
        QFileInfo now(file.filePath());
        return now.size();
    };
    QTRY_VERIFY_WITH_TIMEOUT(size() > kWavHeaderBytes, 20000);
}

void DictationOrderTest::makePasteTool(const QByteArray& commands)
{
    const QString path = homePath(u"bin/xdotool"_s);
    writeFile(path, "#!/bin/sh\n" + commands + '\n');
    QVERIFY(QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
}

QTimer* DictationOrderTest::timer(const char* name) const
{
    return m_pipeline->findChild<QTimer*>(QString::fromLatin1(name));
}

QList<QTimer*> DictationOrderTest::timers() const
{
    return {timer("waveTimer"), timer("warningTimer"), timer("maxDurationTimer")};
}

bool DictationOrderTest::isAnyTimerActive() const
{
    const QList<QTimer*> all = timers();
    return std::any_of(all.begin(), all.end(), [](const QTimer* one) { return one->isActive(); });
}

QStringList DictationOrderTest::recordings() const
{
    return QDir(cachePath()).entryList(QDir::Files);
}

void DictationOrderTest::waitUntil(State state)
{
    QTRY_COMPARE_WITH_TIMEOUT(m_overlay->state(), state, 20000);
}

void DictationOrderTest::startClearsTheErrorThenTheWaveThenTellsTheState()
{
    m_overlay->setWaveScales({1, 1, 1, 1, 1});
    m_overlay->setLastError(u"an old failure"_s);
    m_order.clear();
    m_pipeline->startRecordingExplicit();
    QCOMPARE(m_order, (QStringList{u"no error"_s, u"wave rests"_s, u"recording"_s}));
}

void DictationOrderTest::startHasTheMicrophoneOpenBeforeItTellsAnything()
{
    disturb();
    qsizetype files = 0;
    connect(m_overlay.get(), &OverlayStateModel::lastErrorChanged, this,
        [&]() { files = recordings().size(); });
    m_pipeline->startRecordingExplicit();
    QCOMPARE(files, 1);
}

void DictationOrderTest::startRunsTheTimersLast()
{
    QList<bool> active;
    connect(m_overlay.get(), &OverlayStateModel::visualStateChanged, this,
        [&]() { active << isAnyTimerActive(); });
    m_pipeline->startRecordingExplicit();
    QCOMPARE(active, QList<bool>{false});

    // As they run, and not only as they were made.
    QCOMPARE(timer("waveTimer")->interval(), 50);
    QVERIFY(!timer("waveTimer")->isSingleShot());
    QCOMPARE(timer("warningTimer")->interval(), 60000);
    QVERIFY(timer("warningTimer")->isSingleShot());
    QCOMPARE(timer("maxDurationTimer")->interval(), 120000);
    QVERIFY(timer("maxDurationTimer")->isSingleShot());
    for (const QTimer* one : timers()) {
        QVERIFY2(one->isActive(), qPrintable(one->objectName()));
        // A coarse timer may be five per cent late.
        QVERIFY(one->remainingTime() <= one->interval() + one->interval() / 20);
    }
}

void DictationOrderTest::stopTellsTheStateThenTheWaveThenSends()
{
    record();
    // What is sent without a key fails at once, and so shows when.
    m_pipeline->setApiKey({});
    disturb();
    bool ticks = true;
    connect(m_overlay.get(), &OverlayStateModel::recordingWarningChanged, this,
        [&]() { ticks = isAnyTimerActive(); });
    QTest::ignoreMessage(QtWarningMsg, "Transcription failed: Not authenticated");
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"^Audio preserved at: "_s));
    m_pipeline->stopRecordingExplicit();
    QCOMPARE(m_order,
        (QStringList{
            u"no warning"_s, u"processing"_s, u"wave rests"_s, u"Not authenticated"_s, u"idle"_s}));
    QVERIFY(!ticks);
}

void DictationOrderTest::stopHasFinishedTheFileBeforeItTellsTheState()
{
    m_server->answerWith({{200, R"({"text":"hello"})"}});
    record();
    QByteArray wav;
    connect(m_overlay.get(), &OverlayStateModel::visualStateChanged, this, [&]() {
        if (m_overlay->state() == State::Processing) {
            wav = readFile(cachePath(recordings().value(0)));
        }
    });
    m_pipeline->stopRecordingExplicit();
    waitUntil(State::Idle);
    QVERIFY(wav.size() > kWavHeaderBytes);
    QCOMPARE(m_server->requests().first().formParts().last().body, wav);
}

void DictationOrderTest::stopWithoutAFileOnlyResets()
{
    record();
    disturb();
    QTest::ignoreMessage(
        QtWarningMsg, QRegularExpression(u"^Failed to (seek to the|write) WAV header"_s));
    {
        const FileSizeLimit full(0);
        m_pipeline->stopRecordingExplicit();
    }
    QCOMPARE(m_order, (QStringList{u"no warning"_s, u"wave rests"_s, u"idle"_s}));
    QCOMPARE(m_overlay->lastError(), u"an old failure"_s);
}

void DictationOrderTest::answerClearsTheErrorAndResets()
{
    m_server->answerWith({{200, R"({"text":"hello"})"}});
    record();
    m_pipeline->stopRecordingExplicit();
    disturb();
    int kept = 0;
    connect(m_overlay.get(), &OverlayStateModel::lastErrorChanged, this,
        [&]() { kept = m_history->count(); });
    waitUntil(State::Idle);
    QCOMPARE(m_order, (QStringList{u"no error"_s, u"no warning"_s, u"wave rests"_s, u"idle"_s}));
    QCOMPARE(kept, 1);
}

void DictationOrderTest::failureTellsTheErrorAndResets()
{
    m_server->answerWith({{403, "not you"}});
    record();
    m_pipeline->stopRecordingExplicit();
    disturb();
    const RecordedLog log;
    QStringList linesByThen;
    connect(m_overlay.get(), &OverlayStateModel::lastErrorChanged, this,
        [&]() { linesByThen = log.lines(); });
    const QString error = u"Request failed (HTTP 403): not you"_s;
    const QString file = cachePath(recordings().value(0));
    QTest::ignoreMessage(QtWarningMsg, qPrintable("Transcription failed: "_L1 + error));
    QTest::ignoreMessage(QtWarningMsg, qPrintable("Audio preserved at: "_L1 + file));
    waitUntil(State::Idle);
    QCOMPARE(m_order, (QStringList{error, u"no warning"_s, u"wave rests"_s, u"idle"_s}));
    QCOMPARE(linesByThen,
        (QStringList{"warning: Transcription failed: "_L1 + error,
            "warning: Audio preserved at: "_L1 + file}));
    QVERIFY(QFile::exists(file));
}

void DictationOrderTest::refusedTokenLeavesTheErrorToTheListener()
{
    m_server->answerWith({{401, "expired"}});
    record();
    m_pipeline->stopRecordingExplicit();
    disturb();
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"^Audio preserved at: "_s));
    waitUntil(State::Idle);
    QTRY_COMPARE(m_order.last(), u"sign in"_s);
    QCOMPARE(m_order, (QStringList{u"no warning"_s, u"wave rests"_s, u"idle"_s, u"sign in"_s}));
    QCOMPARE(m_overlay->lastError(), u"an old failure"_s);
}

void DictationOrderTest::failedStartTellsTheErrorAndResets()
{
    writeFile(homePath(u".cache"_s), "a file, where the directory should be"_ba);
    disturb();
    const QString error = u"Failed to create cache directory: %1"_s.arg(cachePath());
    QTest::ignoreMessage(QtWarningMsg, qPrintable(error));
    m_pipeline->startRecordingExplicit();
    QCOMPARE(m_order, (QStringList{error, u"no warning"_s, u"wave rests"_s}));
    QVERIFY(!isAnyTimerActive());
}

void DictationOrderTest::lostCaptureTellsTheErrorAndResets()
{
    record();
    disturb();
    const RecordedLog log;
    QStringList linesByThen;
    QStringList filesByThen{u"none looked for yet"_s};
    connect(m_overlay.get(), &OverlayStateModel::lastErrorChanged, this, [&]() {
        linesByThen = log.lines();
        filesByThen = recordings();
    });
    const QString error = "Failed to append audio data to "_L1 + cachePath(recordings().value(0));
    QTest::ignoreMessage(QtWarningMsg, qPrintable("Audio error: "_L1 + error));
    {
        const FileSizeLimit full(100);
        waitUntil(State::Idle);
    }
    QCOMPARE(m_order, (QStringList{error, u"no warning"_s, u"wave rests"_s, u"idle"_s}));
    QCOMPARE(linesByThen, QStringList{"warning: Audio error: "_L1 + error});
    QCOMPARE(filesByThen, QStringList());
    QVERIFY(!isAnyTimerActive());
}

// Somebody who speaks on while the last text is being pasted loses nothing to the paste.
void DictationOrderTest::failedPasteLeavesTheNextRecordingAlone()
{
    makePasteTool("while [ ! -e \"$HOME/fail\" ]; do sleep 0.05; done; exit 1");
    m_server->answerWith({{200, R"({"text":"one"})"}, {200, R"({"text":"two"})"}});
    record();
    m_pipeline->stopRecordingExplicit();
    waitUntil(State::Idle);

    record();
    timer("waveTimer")->start();
    const QStringList files = recordings();
    m_order.clear();
    QTest::ignoreMessage(QtWarningMsg, "Text injection failed: xdotool paste failed");
    writeFile(homePath(u"fail"_s), {});
    QTRY_COMPARE_WITH_TIMEOUT(m_overlay->lastError(), u"xdotool paste failed"_s, 20000);
    QCOMPARE(m_overlay->state(), State::Recording);
    QVERIFY(!m_order.contains(u"idle"_s));
    QCOMPARE(recordings(), files);
    for (const QTimer* one : timers()) {
        QVERIFY2(one->isActive(), qPrintable(one->objectName()));
    }

    const qint64 size = QFileInfo(cachePath(files.first())).size();
    QTRY_VERIFY_WITH_TIMEOUT(QFileInfo(cachePath(files.first())).size() > size, 20000);
    makePasteTool("exit 0");
    m_pipeline->stopRecordingExplicit();
    waitUntil(State::Idle);
    QCOMPARE(m_history->list().first().text, u"two"_s);
    QCOMPARE(m_history->count(), 2);
    QVERIFY(m_server->requests().last().formParts().last().body.size() > size);
}

QTEST_MAIN(DictationOrderTest)
#include "DictationOrderTest.moc"
