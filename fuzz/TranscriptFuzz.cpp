#include "FuzzSupport.h"
#include "dictation/GroqTranscriptionClient.h"
#include "support/HttpServer.h"

#include <QJsonDocument>
#include <QStringList>

using namespace Qt::StringLiterals;

namespace {

// A client, the worker, and how the transcription in hand has ended.
struct Dictation {
    Dictation()
    {
        Fuzz::writeFile(recording, "RIFF of a speech");
        qputenv("WORKER_URL", worker.url().toUtf8());
        QObject::connect(&client, &GroqTranscriptionClient::transcriptionFinished,
            [this](const QString& transcript) {
                outcomes << u"finished"_s;
                text = transcript;
            });
        QObject::connect(
            &client, &GroqTranscriptionClient::transcriptionFailed, [this](const QString& error) {
                outcomes << u"failed"_s;
                text = error;
            });
        QObject::connect(
            &client, &GroqTranscriptionClient::authExpired, [this]() { outcomes << u"expired"_s; });
    }

    const QString recording = Fuzz::homePath(u"tarq-linux-1.wav"_s);
    HttpServer worker;
    GroqTranscriptionClient client;
    QStringList outcomes;
    QString text;
};

// Whether an answer of this status ends a transcription at once, and has a body.
bool isFinal(int status)
{
    return status >= 200 && status < 500 && status != 204 && status != 304 && status != 408
        && status != 429;
}

} // namespace

// The input is the status, a line feed, and the body of the worker's answer.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static Dictation dictation;
    const QByteArray input = Fuzz::bytes(data, size);
    const qsizetype lineEnd = input.indexOf('\n');
    const int chosen = input.left(lineEnd).toInt();
    const int status = isFinal(chosen) ? chosen : 200;
    const QByteArray body = input.mid(lineEnd + 1);
    HttpAnswer answer;
    answer.status = status;
    answer.body = body;
    dictation.worker.answerWith({answer});
    dictation.outcomes.clear();
    dictation.text.clear();

    dictation.client.transcribe(dictation.recording, u"the-token"_s);
    Fuzz::waitUntil([]() { return !dictation.outcomes.isEmpty(); });
    Fuzz::settle();
    Fuzz::require(dictation.outcomes.size() == 1, "exactly one signal for each answer");
    const QString outcome = dictation.outcomes.first();
    Fuzz::require((outcome == "expired"_L1) == (status == 401), "401 alone expires the session");
    Fuzz::require(outcome == "expired"_L1 || !dictation.text.isEmpty(),
        "neither a transcript nor an error is empty");
    if (outcome == "finished"_L1) {
        const QString expected = QJsonDocument::fromJson(body)["text"_L1].toString().trimmed();
        Fuzz::require(status < 400 && dictation.text == expected, "the words are the worker's");
    }
    return 0;
}
