#include "FuzzSupport.h"
#include "dictation/GroqTranscriptionClient.h"
#include "support/HttpServer.h"

#include <QFile>

using namespace Qt::StringLiterals;

namespace {

constexpr char kSeparator = '|';
constexpr qsizetype kMaxNameUnits = 60; // of UTF-16, which fit a file system's 255 bytes
const QByteArray kRecording = "RIFF of a speech"_ba;

struct Dictation {
    Dictation()
    {
        qputenv("WORKER_URL", worker.url().toUtf8());
        const auto end = [this]() {
            ++ends;
        };
        QObject::connect(&client, &GroqTranscriptionClient::transcriptionFinished, end);
        QObject::connect(&client, &GroqTranscriptionClient::transcriptionFailed, end);
        QObject::connect(&client, &GroqTranscriptionClient::authExpired, end);
    }

    HttpServer worker;
    GroqTranscriptionClient client;
    int ends = 0;
};

void requireForm(const HttpRequest& request, const QString& token, const QByteArray& language)
{
    QByteArray header = "Bearer " + token.toUtf8();
    header.replace('\n', ' ').replace('\r', ' ').replace('\0', ' ');
    Fuzz::require(request.headers.value("authorization") == header.trimmed(),
        "a token is sent as it is, but for what would end the header");
    Fuzz::require(request.headers.size() == 9, "no header comes out of what was put into one");
    const QList<FormPart> parts = request.formParts();
    const bool hasLanguage = !language.isEmpty() && language != "auto";
    Fuzz::require(parts.size() == (hasLanguage ? 4 : 3), "one part for each field");
    Fuzz::require(!hasLanguage || parts[2].body == language, "the language is sent as it is");
    Fuzz::require(parts.last().body == kRecording, "the recording is sent byte for byte");
    const HttpHeaders headers = parts.last().headers;
    Fuzz::require(headers.size() == 2 && headers.value("content-disposition").count('"') == 4,
        "a file's name stays inside its quotes");
}

} // namespace

// The input is what the request for a transcription is made of: the stored token, the chosen
// language and the recording's name, divided by bars.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static Dictation dictation;
    const QList<QByteArray> fields = Fuzz::bytes(data, size).split(kSeparator);
    const QString token = QString::fromUtf8(fields.value(0));
    const QString language = QString::fromUtf8(fields.value(1));
    // What no file can be called stays out.
    QString name = QString::fromUtf8(fields.value(2)).remove(u'/').remove(QChar::Null);
    name.truncate(kMaxNameUnits);
    const QString path = Fuzz::homePath("a"_L1 + name);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::NewOnly)) {
        return 0;
    }
    file.write(kRecording);
    file.close();
    const qsizetype requestsBefore = dictation.worker.requests().size();
    dictation.worker.answerWith({{200, R"({"text":"hello"})"}});
    dictation.ends = 0;

    dictation.client.setLanguage(language);
    dictation.client.transcribe(path, token);
    Fuzz::waitUntil([]() { return dictation.ends > 0; });
    Fuzz::settle();
    file.remove();
    Fuzz::require(dictation.ends == 1, "exactly one signal for each transcription");
    const QList<HttpRequest> requests = dictation.worker.requests().sliced(requestsBefore);
    Fuzz::require(requests.size() <= 1, "never more than one request");
    if (!requests.isEmpty()) {
        requireForm(requests.first(), token.trimmed(), language.trimmed().toUtf8());
    }
    return 0;
}
