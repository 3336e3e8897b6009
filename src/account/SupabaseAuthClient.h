#pragma once

#include "network/NetworkManager.h"

#include <QByteArray>
#include <QHash>
#include <QObject>
#include <QString>

#include <chrono>

class LoopbackListener;
class QNetworkReply;
class QTcpSocket;

// Talks to the Supabase auth REST API: sign-in and sign-up with a password, sign-in through the
// browser (authorization code flow with PKCE, RFC 7636), refresh, and the password reset mail. It
// keeps no session: every operation ends in one signal, and storing, scheduling and retrying are
// its receivers' business.
class SupabaseAuthClient final : public QObject
{
    Q_OBJECT

public:
    struct Session {
        QString accessToken;
        QString refreshToken;
        qint64 expiresIn = 3600; // seconds from the reply on
        QString userId;
        QString email;
    };

    /// supabaseUrl is the project's base URL, without a slash at its end; anonKey its public key.
    SupabaseAuthClient(QString supabaseUrl, QString anonKey, QObject* parent = nullptr);
    /// With another time in place of the two minutes of startOAuth().
    SupabaseAuthClient(QString supabaseUrl, QString anonKey, std::chrono::milliseconds oauthTimeout,
        QObject* parent = nullptr);

    Q_INVOKABLE void signInWithEmail(const QString& email, const QString& password);
    /// Ends in authSuccess or, where the address has to be confirmed first,
    /// emailConfirmationRequired. A request that gets no answer at all ends in the latter, too.
    Q_INVOKABLE void signUpWithEmail(const QString& email, const QString& password);
    Q_INVOKABLE void refreshSession(const QString& refreshToken);
    /// Ends in passwordResetSent or authFailed.
    Q_INVOKABLE void resetPassword(const QString& email);
    /// Opens the browser and waits for two minutes for its redirect to a port of ours. A second
    /// start ends the first without a signal.
    Q_INVOKABLE void startOAuth(const QString& provider);

signals:
    void authSuccess(const SupabaseAuthClient::Session& session);
    /// With the message for the user.
    void authFailed(const QString& error);
    /// The request got no HTTP status; with the transport's text.
    void authNetworkError(const QString& error);
    void emailConfirmationRequired();
    void passwordResetSent();

private:
    QNetworkReply* post(const QUrl& url, const QByteArray& body, int transferTimeoutMs);
    void postAuthRequest(const QUrl& url, const QByteArray& body);
    void handleAuthReply(QNetworkReply* reply);
    [[nodiscard]] static Session parseSession(const QByteArray& body);

    void openAuthorizePage(const QString& provider);
    void acceptConnection(QTcpSocket* socket);
    void readRequest(QTcpSocket* socket);
    void dropUnfinishedRequests();
    void answerCallback(QTcpSocket* socket, const QString& path);
    void handleOAuthCallback(const QByteArray& callbackPath);
    void giveUpOnCallback(LoopbackListener* listener);

    QString m_supabaseUrl;
    QString m_anonKey;
    std::chrono::milliseconds m_oauthTimeout;
    QString m_codeVerifier;
    NetworkManager m_networkManager{this};
    // The latest flow's; after it has ended it stays, closed, until the next flow.
    LoopbackListener* m_oauthListener = nullptr;
    QHash<QTcpSocket*, QByteArray> m_pendingRequests;
};
