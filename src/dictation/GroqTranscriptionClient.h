#pragma once

#include "network/NetworkManager.h"

#include <QObject>
#include <QString>

class QNetworkReply;

// Sends a finished WAV file to the worker and reports the text. Temporary failures are tried again,
// up to three attempts in all, each with a request of its own made from the file. Each transcribe()
// ends in exactly one of the three signals, and can't be cancelled. The file is read and never
// touched.
class GroqTranscriptionClient final : public QObject
{
    Q_OBJECT

public:
    explicit GroqTranscriptionClient(QObject* parent = nullptr);

    /// A missing token or an unreadable file fails before this returns. The arguments are copies,
    /// since a receiver of the failure may change what they come from.
    void transcribe(QString filePath, QString bearerToken);
    /// The language that is spoken (ISO 639-1), or "auto", which an empty text means as well.
    void setLanguage(const QString& language);

signals:
    /// The text is trimmed and not empty.
    void transcriptionFinished(const QString& text);
    void transcriptionFailed(const QString& error);
    /// The worker refused the token.
    void authExpired();

private:
    void doRequest(QString filePath, QString bearerToken, int attempt);
    void handleReply(
        QNetworkReply* reply, const QString& filePath, const QString& bearerToken, int attempt);
    void handleTranscript(const QByteArray& body);

    NetworkManager m_networkManager{this};
    QString m_language;
};
