#include "account/LoopbackListener.h"
#include "account/SupabaseAuthClient.h"

#include <QCryptographicHash>
#include <QDebug>
#include <QDesktopServices>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRandomGenerator>
#include <QTcpSocket>
#include <QTimer>
#include <QUrl>
#include <QUrlQuery>

// The sign-in through the browser: authorization code flow with PKCE (RFC 7636).

using namespace Qt::StringLiterals;

namespace {

constexpr QByteArrayView kHeadEnd = "\r\n\r\n";
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

} // namespace

void SupabaseAuthClient::startOAuth(const QString& provider)
{
    if (m_oauthListener != nullptr) {
        m_oauthListener->stop();
        m_oauthListener->deleteLater();
        m_oauthListener = nullptr;
    }
    m_pendingRequests.clear();
    m_oauthListener = new LoopbackListener(this);
    if (!m_oauthListener->start()) {
        qCritical().noquote() << "OAuth: cannot start any local TCP listener:"
                              << m_oauthListener->errorString();
        emit authFailed(u"Cannot start local sign-in listener. Check firewall (allow loopback) or "
                        "try email/password sign-in."_s);
        return;
    }
    qInfo().noquote() << "OAuth listener bound on 127.0.0.1:" << m_oauthListener->serverPort();
    openAuthorizePage(provider);
    connect(
        m_oauthListener, &LoopbackListener::accepted, this, &SupabaseAuthClient::acceptConnection);
    connect(m_oauthListener, &LoopbackListener::outOfDescriptors, this,
        &SupabaseAuthClient::dropUnfinishedRequests);
    QTimer::singleShot(m_oauthTimeout, m_oauthListener,
        [this, listener = m_oauthListener]() { giveUpOnCallback(listener); });
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

void SupabaseAuthClient::acceptConnection(QTcpSocket* socket)
{
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
    if (!request.contains(kHeadEnd)) {
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

// Makes room where connections that say nothing have taken every descriptor: a browser sends its
// request as soon as it is connected.
void SupabaseAuthClient::dropUnfinishedRequests()
{
    const QHash<QTcpSocket*, QByteArray> pending = m_pendingRequests;
    for (auto request = pending.cbegin(); request != pending.cend(); ++request) {
        if (!request->contains(kHeadEnd)) {
            request.key()->abort();
        }
    }
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
        m_oauthListener->stop();
        if (m_oauthListener->hasRunOut()) {
            // The exchange needs descriptors, too.
            dropUnfinishedRequests();
        }
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
        QJsonDocument({{u"auth_code"_s, code}, {u"code_verifier"_s, m_codeVerifier}})
            .toJson(QJsonDocument::Compact));
}

// The listener is the timer's own: a later flow may be under way before an ended one is deleted.
void SupabaseAuthClient::giveUpOnCallback(LoopbackListener* listener)
{
    if (!listener->isListening()) {
        return;
    }
    qWarning().noquote() << "OAuth: timed out waiting for callback (browser may have been blocked)";
    listener->stop();
    emit authFailed(u"Sign-in timed out. The browser couldn't return to Tarq — try email/password "
                    "or check your firewall."_s);
}
