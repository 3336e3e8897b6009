#pragma once

#include "dictation/GroqTranscriptionClient.h"
#include "support/HttpServer.h"
#include "support/TarqTest.h"

#include <QStringList>

#include <memory>

// Base of the transcription client's tests: a client, the worker that it talks to, a recording, and
// what the client has signalled.
class TranscriptionTest : public TarqTest
{
    Q_OBJECT

protected:
    [[nodiscard]] QString recording() const;
    void transcribe(const QString& token = QStringLiteral("the-token"));
    /// Waits for a signal, and returns all so far as "name: argument".
    QString outcome(int timeoutMs = 8000);
    static void expectRetryWarning(int attempt, const QString& delay);

    static const QByteArray kHello; ///< an answer
    static const QString kHelloOutcome;

    std::unique_ptr<HttpServer> m_server;
    std::unique_ptr<GroqTranscriptionClient> m_client;
    QStringList m_outcomes;

protected slots:
    void init();
    void cleanup();

private:
    std::unique_ptr<ScopedVariable> m_workerUrl;
};
