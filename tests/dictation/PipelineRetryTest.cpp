#include "dictation/OverlayStateModel.h"
#include "dictation/TranscriptionPipeline.h"
#include "storage/HistoryRepository.h"
#include "support/HttpServer.h"
#include "support/RecordedLog.h"
#include "support/TarqTest.h"

#include <QClipboard>
#include <QDir>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QRegularExpression>

using namespace Qt::StringLiterals;
using State = OverlayStateModel::State;

// A dictation whose transcription needs more than one attempt, on a real microphone and a real HTTP
// server.
class PipelineRetryTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void nothingStartsOrStopsDuringTheWait();
    void recordingThatIsGoneIsNamed();

private:
    [[nodiscard]] QStringList recordings() const;
    static void expectWarning(const QString& pattern);

    std::unique_ptr<HttpServer> m_server;
    std::unique_ptr<ScopedVariable> m_workerUrl;
    std::unique_ptr<ScopedVariable> m_path;
    std::unique_ptr<OverlayStateModel> m_overlay;
    std::unique_ptr<HistoryRepository> m_history;
    std::unique_ptr<TranscriptionPipeline> m_pipeline;
    QStringList m_states;
};

void PipelineRetryTest::init()
{
    TarqTest::init();
    // There is no window to press the paste keys in.
    const QString tool = homePath(u"bin/xdotool"_s);
    writeFile(tool, "#!/bin/sh\n");
    QVERIFY(QFile::setPermissions(tool, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
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
}

void PipelineRetryTest::cleanup()
{
    m_pipeline.reset();
    m_history.reset();
    m_overlay.reset();
    m_workerUrl.reset();
    m_server.reset();
    m_path.reset();
    TarqTest::cleanup();
}

QStringList PipelineRetryTest::recordings() const
{
    return QDir(cachePath()).entryList(QDir::Files);
}

void PipelineRetryTest::expectWarning(const QString& pattern)
{
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(pattern));
}

void PipelineRetryTest::nothingStartsOrStopsDuringTheWait()
{
    m_server->answerWith({{500, "down"}, {500, "down"}, {200, R"({"text":"hello"})"}});
    m_pipeline->startRecordingExplicit();
    QCOMPARE(m_overlay->state(), State::Recording);
    m_pipeline->stopRecordingExplicit();
    const QStringList kept = recordings();
    QCOMPARE(kept.size(), 1);

    const RecordedLog log;
    const qsizetype before = log.lines().size();
    for (qsizetype attempt = 1; attempt <= 2; ++attempt) {
        expectWarning(u"^Transcription transient error \\(attempt %1 of 3 \\)"_s.arg(attempt));
        QTRY_COMPARE(log.lines().size(), before + attempt);
        // The wait has just begun, and is longer than the guard of the toggle.
        QElapsedTimer clock;
        clock.start();
        do {
            m_pipeline->toggle();
            m_pipeline->startRecordingExplicit();
            m_pipeline->stopRecordingExplicit();
            QCOMPARE(m_overlay->state(), State::Processing);
            QTest::qWait(50);
        } while (clock.elapsed() < 700);
        QCOMPARE(recordings(), kept);
        QCOMPARE(m_server->requests().size(), attempt);
    }
    QTRY_COMPARE(m_overlay->state(), State::Idle);
    QCOMPARE(m_states, (QStringList{u"recording"_s, u"processing"_s, u"idle"_s}));
    QCOMPARE(m_server->requests().size(), 3);
    QCOMPARE(m_history->count(), 1);
    QCOMPARE(QGuiApplication::clipboard()->text(), u"hello"_s);
    QCOMPARE(recordings(), QStringList());
    QCOMPARE(m_overlay->lastError(), QString());
}

void PipelineRetryTest::recordingThatIsGoneIsNamed()
{
    m_pipeline->startRecordingExplicit();
    const QString path = cachePath(recordings().value(0));
    QVERIFY(QFile::remove(path));
    const QString error = u"Cannot open audio file: %1"_s.arg(path);
    QTest::ignoreMessage(QtWarningMsg, qPrintable("Transcription failed: "_L1 + error));
    QTest::ignoreMessage(QtWarningMsg, qPrintable("Audio preserved at: "_L1 + path));
    m_pipeline->stopRecordingExplicit();
    QCOMPARE(m_states, (QStringList{u"recording"_s, u"processing"_s, u"idle"_s}));
    QCOMPARE(m_overlay->lastError(), error);
    QCOMPARE(m_server->requests().size(), 0);
}

QTEST_MAIN(PipelineRetryTest)
#include "PipelineRetryTest.moc"
