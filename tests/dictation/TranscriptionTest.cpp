#include "dictation/TranscriptionTest.h"

#include <QRegularExpression>

using namespace Qt::StringLiterals;

const QByteArray TranscriptionTest::kHello = R"({"text":"hello"})";
const QString TranscriptionTest::kHelloOutcome = u"finished: hello"_s;

void TranscriptionTest::init()
{
    TarqTest::init();
    writeFile(recording(), "RIFF of a speech"_ba);
    m_outcomes.clear();
    m_server = std::make_unique<HttpServer>();
    m_workerUrl = std::make_unique<ScopedVariable>("WORKER_URL", m_server->url().toUtf8());
    m_client = std::make_unique<GroqTranscriptionClient>();
    connect(m_client.get(), &GroqTranscriptionClient::transcriptionFinished, this,
        [this](const QString& text) { m_outcomes << "finished: "_L1 + text; });
    connect(m_client.get(), &GroqTranscriptionClient::transcriptionFailed, this,
        [this](const QString& error) { m_outcomes << "failed: "_L1 + error; });
    connect(m_client.get(), &GroqTranscriptionClient::authExpired, this,
        [this]() { m_outcomes << u"expired"_s; });
}

void TranscriptionTest::cleanup()
{
    m_client.reset();
    m_server.reset();
    m_workerUrl.reset();
    TarqTest::cleanup();
}

QString TranscriptionTest::recording() const
{
    return homePath(u"tarq-linux-1.wav"_s);
}

void TranscriptionTest::transcribe(const QString& token)
{
    m_client->transcribe(recording(), token);
}

QString TranscriptionTest::outcome(int timeoutMs)
{
    if (!QTest::qWaitFor([this]() { return !m_outcomes.isEmpty(); }, timeoutMs)) {
        return u"(nothing)"_s;
    }
    // A second signal would have been queued behind the first.
    QCoreApplication::processEvents();
    return m_outcomes.join(u" | "_s);
}

void TranscriptionTest::expectRetryWarning(int attempt, const QString& delay)
{
    QTest::ignoreMessage(QtWarningMsg,
        QRegularExpression(
            u"^Transcription transient error \\(attempt %1 of 3 \\): .+ — retrying in %2 ms$"_s.arg(
                QString::number(attempt), delay)));
}
