#include "dictation/GroqTranscriptionClient.h"

#include "Deployment.h"
#include "network/Http.h"

#include <QDebug>
#include <QFile>
#include <QFileInfo>
#include <QHttpMultiPart>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QTimer>
#include <QUrl>

#include <memory>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

const QString kGroqModel = u"whisper-large-v3-turbo"_s;
const QString kAutomaticLanguage = u"auto"_s;

constexpr int kMaxAttempts = 3;
constexpr int kFirstRetryDelayMs = 1000;
constexpr int kTransferTimeoutMs = 60000;
constexpr qsizetype kQuotedBodyBytes = 240;

QUrl workerEndpoint()
{
    QString base = qEnvironmentVariable("WORKER_URL");
    if (base.isEmpty()) {
        base = Deployment::kWorkerBaseUrl;
    }
    return QUrl(base + "/v1/audio/transcriptions"_L1);
}

QHttpPart textPart(const QString& name, const QString& value)
{
    QHttpPart part;
    part.setHeader(
        QNetworkRequest::ContentDispositionHeader, u"form-data; name=\"%1\""_s.arg(name));
    part.setBody(value.toUtf8());
    return part;
}

// Qt sends a header as it is: what would end the name, or the line, is escaped as browsers do it
// (WHATWG HTML, multipart form data).
QString escapedFileName(const QFile& file)
{
    QString name = QFileInfo(file).fileName();
    return name.replace(u'"', "%22"_L1).replace(u'\r', "%0D"_L1).replace(u'\n', "%0A"_L1);
}

QHttpPart wavPart(QFile* file)
{
    QHttpPart part;
    part.setHeader(QNetworkRequest::ContentDispositionHeader,
        u"form-data; name=\"file\"; filename=\"%1\""_s.arg(escapedFileName(*file)));
    part.setHeader(QNetworkRequest::ContentTypeHeader, u"audio/wav"_s);
    part.setBodyDevice(file);
    return part;
}

// What may go away by itself: no HTTP answer at all, an overloaded or a broken worker.
bool isTransientStatus(int status, QNetworkReply::NetworkError error)
{
    return (error != QNetworkReply::NoError && status == 0) || status == 408 || status == 429
        || (status >= 500 && status <= 599);
}

} // namespace

GroqTranscriptionClient::GroqTranscriptionClient(QObject* parent)
    : QObject(parent)
    , m_language(kAutomaticLanguage)
{
}

void GroqTranscriptionClient::transcribe(QString filePath, QString bearerToken)
{
    bearerToken = std::move(bearerToken).trimmed();
    if (bearerToken.isEmpty()) {
        emit transcriptionFailed(u"Not authenticated"_s);
        return;
    }
    doRequest(std::move(filePath), std::move(bearerToken), 1);
}

void GroqTranscriptionClient::setLanguage(const QString& language)
{
    const QString trimmed = language.trimmed();
    m_language = trimmed.isEmpty() ? kAutomaticLanguage : trimmed;
}

void GroqTranscriptionClient::doRequest(QString filePath, QString bearerToken, int attempt)
{
    auto file = std::make_unique<QFile>(filePath);
    if (!file->open(QIODevice::ReadOnly)) {
        // Nothing of the client is touched from here on: a receiver may have deleted it.
        emit transcriptionFailed(u"Cannot open audio file: %1"_s.arg(filePath));
        return;
    }

    auto* form = new QHttpMultiPart(QHttpMultiPart::FormDataType);
    form->append(textPart(u"model"_s, kGroqModel));
    form->append(textPart(u"response_format"_s, u"json"_s));
    if (m_language != kAutomaticLanguage) {
        form->append(textPart(u"language"_s, m_language));
    }
    form->append(wavPart(file.get()));
    file.release()->setParent(form);

    QNetworkRequest networkRequest(workerEndpoint());
    networkRequest.setRawHeader("Authorization", Http::bearerHeader(bearerToken));
    networkRequest.setTransferTimeout(kTransferTimeoutMs);
    QNetworkReply* reply = m_networkManager.post(networkRequest, form);
    form->setParent(reply);
    connect(reply, &QNetworkReply::finished, this,
        [this, reply, filePath = std::move(filePath), bearerToken = std::move(bearerToken),
            attempt]() { handleReply(reply, filePath, bearerToken, attempt); });
}

void GroqTranscriptionClient::handleReply(
    QNetworkReply* reply, const QString& filePath, const QString& bearerToken, int attempt)
{
    reply->deleteLater();
    const QByteArray body = Http::body(*reply);
    const int status = Http::status(*reply);

    if (reply->error() == QNetworkReply::NoError && status < 400) {
        handleTranscript(body);
        return;
    }
    if (status == 401) {
        emit authExpired();
        return;
    }
    if (isTransientStatus(status, reply->error()) && attempt < kMaxAttempts) {
        const int delayMs = kFirstRetryDelayMs << (attempt - 1);
        qWarning().noquote() << "Transcription transient error (attempt" << attempt << "of"
                             << kMaxAttempts << "):" << reply->errorString() << "— retrying in"
                             << delayMs << "ms";
        QTimer::singleShot(delayMs, this, [this, filePath, bearerToken, attempt]() {
            doRequest(filePath, bearerToken, attempt + 1);
        });
        return;
    }
    const QString quoted = QString::fromUtf8(body.first(qMin(body.size(), kQuotedBodyBytes)));
    emit transcriptionFailed(u"Request failed (HTTP %1): %2"_s.arg(
        QString::number(status), quoted.isEmpty() ? reply->errorString() : quoted));
}

void GroqTranscriptionClient::handleTranscript(const QByteArray& body)
{
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(body, &parseError);
    if (parseError.error != QJsonParseError::NoError) {
        emit transcriptionFailed(u"Failed to parse response: %1"_s.arg(parseError.errorString()));
        return;
    }
    const QString text = document.object().value("text"_L1).toString().trimmed();
    if (text.isEmpty()) {
        emit transcriptionFailed(u"Empty transcript"_s);
        return;
    }
    emit transcriptionFinished(text);
}
