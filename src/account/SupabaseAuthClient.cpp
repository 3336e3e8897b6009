#include "account/SupabaseAuthClient.h"

#include "network/Http.h"

#include <QDebug>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QUrl>

#include <utility>

// What talks to the API; the sign-in through the browser is in SupabaseAuthClientOAuth.cpp.

using namespace Qt::StringLiterals;

namespace {

constexpr std::chrono::milliseconds kOAuthTimeoutMs{120000};
constexpr int kTransferTimeoutMs = 20000;
constexpr int kNoTransferTimeout = 0;
constexpr qsizetype kLoggedBodyBytes = 500;

QByteArray toJson(const QJsonObject& object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

QJsonObject fromJson(const QByteArray& body)
{
    return QJsonDocument::fromJson(body).object();
}

QString friendlyMessage(const QString& message)
{
    const QString lower = message.toLower();
    if (lower.contains("already registered"_L1) || lower.contains("already exists"_L1)
        || lower.contains("user already"_L1)) {
        return u"This email is already registered. Try signing in instead."_s;
    }
    if (lower.contains("invalid"_L1) && lower.contains("credentials"_L1)) {
        return u"Wrong email or password. New here? Tap “Sign up” below."_s;
    }
    if (lower.contains("email not confirmed"_L1)) {
        return u"Please confirm your email first. Check your inbox."_s;
    }
    return message;
}

} // namespace

SupabaseAuthClient::SupabaseAuthClient(QString supabaseUrl, QString anonKey, QObject* parent)
    : SupabaseAuthClient(std::move(supabaseUrl), std::move(anonKey), kOAuthTimeoutMs, parent)
{
}

SupabaseAuthClient::SupabaseAuthClient(
    QString supabaseUrl, QString anonKey, std::chrono::milliseconds oauthTimeout, QObject* parent)
    : QObject(parent)
    , m_supabaseUrl(std::move(supabaseUrl))
    , m_anonKey(std::move(anonKey))
    , m_oauthTimeout(oauthTimeout)
{
}

void SupabaseAuthClient::signInWithEmail(const QString& email, const QString& password)
{
    postAuthRequest(QUrl(m_supabaseUrl + "/auth/v1/token?grant_type=password"_L1),
        toJson({{u"email"_s, email}, {u"password"_s, password}}));
}

void SupabaseAuthClient::signUpWithEmail(const QString& email, const QString& password)
{
    QNetworkReply* reply = post(QUrl(m_supabaseUrl + "/auth/v1/signup"_L1),
        toJson({{u"email"_s, email}, {u"password"_s, password}}), kNoTransferTimeout);
    connect(reply, &QNetworkReply::finished, this, [this, reply]() {
        reply->deleteLater();
        const QByteArray body = Http::body(*reply);
        if (Http::status(*reply) > 399) {
            emit authFailed(fromJson(body)["msg"_L1].toString(u"Sign-up failed"_s));
            return;
        }
        const Session session = parseSession(body);
        if (session.accessToken.isEmpty()) {
            emit emailConfirmationRequired();
        } else {
            emit authSuccess(session);
        }
    });
}

void SupabaseAuthClient::refreshSession(const QString& refreshToken)
{
    postAuthRequest(QUrl(m_supabaseUrl + "/auth/v1/token?grant_type=refresh_token"_L1),
        toJson({{u"refresh_token"_s, refreshToken}}));
}

void SupabaseAuthClient::resetPassword(const QString& email)
{
    QNetworkReply* reply = post(QUrl(m_supabaseUrl + "/auth/v1/recover"_L1),
        toJson({{u"email"_s, email}}), kTransferTimeoutMs);
    connect(reply, &QNetworkReply::finished, this, [this, reply]() {
        reply->deleteLater();
        const int status = Http::status(*reply);
        if (status >= 200 && status <= 299) {
            emit passwordResetSent();
        } else {
            emit authFailed(u"Could not send reset email"_s);
        }
    });
}

QNetworkReply* SupabaseAuthClient::post(
    const QUrl& url, const QByteArray& body, int transferTimeoutMs)
{
    QNetworkRequest request(url);
    request.setHeader(QNetworkRequest::ContentTypeHeader, u"application/json"_s);
    request.setRawHeader("apikey", m_anonKey.toUtf8());
    request.setTransferTimeout(transferTimeoutMs);
    return m_networkManager.post(request, body);
}

void SupabaseAuthClient::postAuthRequest(const QUrl& url, const QByteArray& body)
{
    QNetworkReply* reply = post(url, body, kTransferTimeoutMs);
    connect(reply, &QNetworkReply::finished, this, [this, reply]() { handleAuthReply(reply); });
}

void SupabaseAuthClient::handleAuthReply(QNetworkReply* reply)
{
    reply->deleteLater();
    const QByteArray body = Http::body(*reply);
    const int status = Http::status(*reply);
    if (reply->error() != QNetworkReply::NoError && status == 0) {
        qWarning().noquote() << "Auth network error:" << reply->errorString();
        emit authNetworkError(reply->errorString());
        return;
    }
    if (status < 400) {
        const Session session = parseSession(body);
        qInfo().noquote() << "Auth success — user:" << session.email;
        emit authSuccess(session);
        return;
    }
    qWarning().noquote() << "Auth HTTP" << status
                         << "response:" << QString::fromUtf8(body.left(kLoggedBodyBytes));
    const QJsonObject answer = fromJson(body);
    QString message = answer["error_description"_L1].toString();
    if (message.isEmpty()) {
        message = answer["msg"_L1].toString(u"Authentication failed"_s);
    }
    emit authFailed(friendlyMessage(message));
}

SupabaseAuthClient::Session SupabaseAuthClient::parseSession(const QByteArray& body)
{
    const QJsonObject answer = fromJson(body);
    const QJsonObject user = answer["user"_L1].toObject();
    Session session;
    session.accessToken = answer["access_token"_L1].toString();
    session.refreshToken = answer["refresh_token"_L1].toString();
    session.expiresIn = answer["expires_in"_L1].toInteger(session.expiresIn);
    session.userId = user["id"_L1].toString();
    session.email = user["email"_L1].toString();
    return session;
}
