#include "account/SupabaseAuthClient.h"

#include <QCryptographicHash>
#include <QDebug>
#include <QDesktopServices>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QProcess>
#include <QRandomGenerator>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>
#include <QUrl>
#include <QUrlQuery>

#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr int kTransferTimeoutMs = 20000;
constexpr int kNoTransferTimeout = 0;
constexpr qsizetype kLoggedBodyBytes = 500;

constexpr int kOAuthTimeoutMs = 120000;
constexpr int kVerifierBytes = 32;
constexpr qsizetype kMaxUnfinishedRequestBytes = 8192;

const QByteArray kPageStart
    = "<!DOCTYPE html><html><head><meta charset=\"utf-8\"><title>Tarq</title></head>"
      "<body style=\"background:#090A0F;font-family:system-ui;display:flex;"
      "justify-content:center;align-items:center;height:100vh;";
const QByteArray kSuccessPage = kPageStart
    + "color:#F7F9FC\"><div style=\"text-align:center\">"
      "<div style=\"font-size:48px;margin-bottom:16px\">&#10003;</div>"
      "<h2 style=\"margin:0\">Signed in</h2>"
      "<p style=\"color:#8FE9FF;margin-top:8px\">You can close this tab</p></div></body></html>";
const QByteArray kFailurePage = kPageStart
    + "color:#FF6B6B\"><div style=\"text-align:center\"><h2>Authentication failed</h2>"
      "<p style=\"color:#7B8AA7\">Close this tab and try again in Tarq</p></div></body></html>";

QByteArray toJson(const QJsonObject& object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

QJsonObject fromJson(const QByteArray& body)
{
    return QJsonDocument::fromJson(body).object();
}

int httpStatus(const QNetworkReply& reply)
{
    return reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
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

QByteArray randomBytes(int count)
{
    QByteArray bytes(count, Qt::Uninitialized);
    for (char& byte : bytes) {
        byte = static_cast<char>(QRandomGenerator::global()->bounded(256));
    }
    return bytes;
}

QString base64url(const QByteArray& bytes)
{
    return QString::fromLatin1(
        bytes.toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals));
}

QString generateCodeVerifier()
{
    return base64url(randomBytes(kVerifierBytes));
}

// The method that RFC 7636 names S256.
QString generateCodeChallenge(const QString& verifier)
{
    return base64url(QCryptographicHash::hash(verifier.toLatin1(), QCryptographicHash::Sha256));
}

QByteArray httpResponse(int status, const QString& contentType, const QByteArray& body)
{
    const QString head
        = u"HTTP/1.1 %1 OK\r\nContent-Type: %2\r\nContent-Length: %3\r\nConnection: close\r\n\r\n"_s
              .arg(status)
              .arg(contentType)
              .arg(body.size());
    return head.toLatin1() + body;
}

QUrlQuery callbackQuery(const QString& path)
{
    return QUrlQuery(QUrl("http://127.0.0.1"_L1 + path));
}

// A test of the time-out can't wait for two minutes.
int oauthTimeoutMs()
{
    const int chosen = qEnvironmentVariableIntValue("TARQ_OAUTH_TIMEOUT_MS");
    return chosen > 0 ? chosen : kOAuthTimeoutMs;
}

} // namespace

SupabaseAuthClient::SupabaseAuthClient(QString supabaseUrl, QString anonKey, QObject* parent)
    : QObject(parent)
    , m_supabaseUrl(std::move(supabaseUrl))
    , m_anonKey(std::move(anonKey))
{
    // The API answers its requests itself: a redirect is an answer like others, and a body with a
    // password isn't carried on to where it points.
    m_networkManager.setRedirectPolicy(QNetworkRequest::ManualRedirectPolicy);
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
        const QByteArray body = reply->readAll();
        if (httpStatus(*reply) > 399) {
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
        const int status = httpStatus(*reply);
        if (status >= 200 && status <= 299) {
            emit passwordResetSent();
        } else {
            emit authFailed(u"Could not send reset email"_s);
        }
    });
}

void SupabaseAuthClient::startOAuth(const QString& provider)
{
    if (m_oauthListener != nullptr) {
        m_oauthListener->close();
        m_oauthListener->deleteLater();
        m_oauthListener = nullptr;
    }
    m_pendingRequests.clear();
    m_oauthListener = new QTcpServer(this);
    if (!listenForCallback()) {
        qCritical().noquote() << "OAuth: cannot start any local TCP listener:"
                              << m_oauthListener->errorString();
        emit authFailed(u"Cannot start local sign-in listener. Check firewall (allow loopback) or "
                        "try email/password sign-in."_s);
        return;
    }
    qInfo().noquote() << "OAuth listener bound on 127.0.0.1:" << m_oauthListener->serverPort();
    openAuthorizePage(provider);
    connect(
        m_oauthListener, &QTcpServer::newConnection, this, &SupabaseAuthClient::acceptConnection);
    QTimer::singleShot(oauthTimeoutMs(), m_oauthListener,
        [this, listener = m_oauthListener]() { giveUpOnCallback(listener); });
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
    // A transfer that took too long is closed by now, and would complain about being read.
    const QByteArray body = reply->isOpen() ? reply->readAll() : QByteArray();
    const int status = httpStatus(*reply);
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

// The port is the system's choice. The redirect always names 127.0.0.1: the other addresses are for
// machines whose 127.0.0.1 leads there.
bool SupabaseAuthClient::listenForCallback()
{
    if (m_oauthListener->listen(QHostAddress::LocalHost)) {
        return true;
    }
    qWarning().noquote() << "OAuth: failed to bind 127.0.0.1 — trying ::1 ...";
    if (m_oauthListener->listen(QHostAddress::LocalHostIPv6)) {
        return true;
    }
    qWarning().noquote() << "OAuth: failed to bind ::1 — trying any local ...";
    return m_oauthListener->listen(QHostAddress::Any);
}

void SupabaseAuthClient::openAuthorizePage(const QString& provider)
{
    m_codeVerifier = generateCodeVerifier();
    QUrlQuery query;
    query.addQueryItem(u"provider"_s, provider);
    query.addQueryItem(
        u"redirect_to"_s, u"http://127.0.0.1:%1/callback"_s.arg(m_oauthListener->serverPort()));
    query.addQueryItem(u"flow_type"_s, u"pkce"_s);
    query.addQueryItem(u"code_challenge"_s, generateCodeChallenge(m_codeVerifier));
    query.addQueryItem(u"code_challenge_method"_s, u"S256"_s);
    QUrl url(m_supabaseUrl + "/auth/v1/authorize"_L1);
    url.setQuery(query);

    qInfo().noquote() << "OAuth: opening browser to" << url.toString();
    if (!QDesktopServices::openUrl(url)) {
        qWarning().noquote()
            << "OAuth: QDesktopServices::openUrl failed — falling back to xdg-open";
        QProcess::startDetached(u"xdg-open"_s, {url.toString()}, QString());
    }
}

void SupabaseAuthClient::acceptConnection()
{
    QTcpSocket* socket = m_oauthListener->nextPendingConnection();
    if (socket == nullptr) {
        return;
    }
    m_pendingRequests.insert(socket, {});
    qInfo().noquote() << "OAuth: incoming connection";
    connect(socket, &QTcpSocket::readyRead, this, [this, socket]() { readRequest(socket); });
    connect(socket, &QTcpSocket::disconnected, this, [this, socket]() {
        m_pendingRequests.remove(socket);
        socket->deleteLater();
    });
    connect(socket, &QTcpSocket::errorOccurred, this,
        [this, socket](QAbstractSocket::SocketError error) {
            qWarning().noquote() << "OAuth socket error:" << static_cast<int>(error);
            m_pendingRequests.remove(socket);
            socket->deleteLater();
        });
}

void SupabaseAuthClient::readRequest(QTcpSocket* socket)
{
    const auto pending = m_pendingRequests.find(socket);
    if (pending == m_pendingRequests.end()) {
        // Of a flow that a later one has ended: its sockets go a moment later than its listener.
        return;
    }
    pending->append(socket->readAll());
    const QByteArray request = *pending;
    if (!request.contains("\r\n\r\n")) {
        if (request.size() > kMaxUnfinishedRequestBytes) {
            qWarning().noquote() << "OAuth: request too large, dropping";
            socket->disconnectFromHost();
        }
        return;
    }
    const QString requestLine = QString::fromUtf8(request.first(request.indexOf('\n'))).trimmed();
    const QString path = requestLine.section(u' ', 1, 1);
    qInfo().noquote() << "OAuth callback path:" << path;
    answerCallback(socket, path);
}

// Whatever the method and the path: the first whole request is taken for the redirect.
void SupabaseAuthClient::answerCallback(QTcpSocket* socket, const QString& path)
{
    const QUrlQuery query = callbackQuery(path);
    const QString errorDescription = query.queryItemValue(u"error_description"_s);
    const QString code = query.queryItemValue(u"code"_s);
    const bool failed = !errorDescription.isEmpty() || code.isEmpty();

    socket->write(httpResponse(200, u"text/html"_s, failed ? kFailurePage : kSuccessPage));
    socket->flush();
    socket->disconnectFromHost();
    if (m_oauthListener != nullptr && m_oauthListener->isListening()) {
        m_oauthListener->close();
    }

    if (!errorDescription.isEmpty()) {
        qWarning().noquote() << "OAuth provider error:" << errorDescription;
        emit authFailed(QUrl::fromPercentEncoding(errorDescription.toUtf8()));
    } else if (code.isEmpty()) {
        emit authFailed(u"Sign-in cancelled or no code received"_s);
    } else {
        qInfo().noquote() << "OAuth: got auth code, exchanging via PKCE...";
        handleOAuthCallback(path.toUtf8());
    }
}

void SupabaseAuthClient::handleOAuthCallback(const QByteArray& callbackPath)
{
    const QString code = callbackQuery(QString::fromUtf8(callbackPath)).queryItemValue(u"code"_s);
    if (code.isEmpty()) {
        emit authFailed(u"No auth code received"_s);
        return;
    }
    qInfo().noquote() << "Exchanging auth code for session via PKCE...";
    postAuthRequest(QUrl(m_supabaseUrl + "/auth/v1/token?grant_type=pkce"_L1),
        toJson({{u"auth_code"_s, code}, {u"code_verifier"_s, m_codeVerifier}}));
}

// The listener is the timer's own: a later flow may be under way before an ended one is deleted.
void SupabaseAuthClient::giveUpOnCallback(QTcpServer* listener)
{
    if (!listener->isListening()) {
        return;
    }
    qWarning().noquote() << "OAuth: timed out waiting for callback (browser may have been blocked)";
    listener->close();
    emit authFailed(u"Sign-in timed out. The browser couldn't return to Tarq — try email/password "
                    "or check your firewall."_s);
}
