#include "account/BrowserTest.h"

#include <QCryptographicHash>
#include <QDesktopServices>
#include <QDir>
#include <QJsonDocument>
#include <QTcpServer>
#include <QTcpSocket>
#include <QUrlQuery>

using namespace Qt::StringLiterals;

namespace {

qsizetype openDescriptors()
{
    // A socket's link leads nowhere in the file system.
    return QDir(u"/proc/self/fd"_s).entryList(QDir::Files | QDir::System).size();
}

} // namespace

const QByteArray BrowserTest::kSuccessResponse
    = "HTTP/1.1 200 OK\r\n"
      "Content-Type: text/html\r\n"
      "Content-Length: 425\r\n"
      "Connection: close\r\n"
      "\r\n"
      "<!DOCTYPE html><html><head><meta charset=\"utf-8\"><title>Tarq</title></head>"
      "<body style=\"background:#090A0F;font-family:system-ui;display:flex;"
      "justify-content:center;align-items:center;height:100vh;color:#F7F9FC\">"
      "<div style=\"text-align:center\">"
      "<div style=\"font-size:48px;margin-bottom:16px\">&#10003;</div>"
      "<h2 style=\"margin:0\">Signed in</h2>"
      "<p style=\"color:#8FE9FF;margin-top:8px\">You can close this tab</p>"
      "</div></body></html>";
const QByteArray BrowserTest::kFailureResponse
    = "HTTP/1.1 200 OK\r\n"
      "Content-Type: text/html\r\n"
      "Content-Length: 358\r\n"
      "Connection: close\r\n"
      "\r\n"
      "<!DOCTYPE html><html><head><meta charset=\"utf-8\"><title>Tarq</title></head>"
      "<body style=\"background:#090A0F;font-family:system-ui;display:flex;"
      "justify-content:center;align-items:center;height:100vh;color:#FF6B6B\">"
      "<div style=\"text-align:center\"><h2>Authentication failed</h2>"
      "<p style=\"color:#7B8AA7\">Close this tab and try again in Tarq</p>"
      "</div></body></html>";
const QString BrowserTest::kCancelled = u"failed: Sign-in cancelled or no code received"_s;
const QString BrowserTest::kTimedOut
    = u"failed: Sign-in timed out. The browser couldn't return to Tarq — try email/password or "
      "check your firewall."_s;

void BrowserTest::initTestCase()
{
    // What the first request of a process opens for good isn't a test's leak.
    AuthTest::init();
    m_server->answerWith({{200, ""}});
    reset(*m_client);
    QCOMPARE(outcome(), u"reset sent"_s);
    AuthTest::cleanup();
}

void BrowserTest::init()
{
    m_descriptors = openDescriptors();
    AuthTest::init();
    m_opened.clear();
    QDesktopServices::setUrlHandler(u"http"_s, this, "open");
}

void BrowserTest::cleanup()
{
    QDesktopServices::unsetUrlHandler(u"http"_s);
    AuthTest::cleanup();
    QTRY_COMPARE(openDescriptors(), m_descriptors);
}

void BrowserTest::setTimeout(std::chrono::milliseconds timeout)
{
    useClient(std::make_unique<SupabaseAuthClient>(m_server->url(), u"the-key"_s, timeout));
}

quint16 BrowserTest::startFlow()
{
    m_client->startOAuth(u"google"_s);
    return redirectPort();
}

quint16 BrowserTest::redirectPort() const
{
    const QUrl redirect(QUrlQuery(m_opened.last()).queryItemValue(u"redirect_to"_s));
    return static_cast<quint16>(redirect.port(0));
}

QByteArray BrowserTest::challenge() const
{
    return QUrlQuery(m_opened.last()).queryItemValue(u"code_challenge"_s).toLatin1();
}

QByteArray BrowserTest::challengeFor(const QByteArray& verifier)
{
    return QCryptographicHash::hash(verifier, QCryptographicHash::Sha256).toBase64(kBase64Url);
}

QByteArray BrowserTest::exchangedVerifier(const HttpRequest& request)
{
    return QJsonDocument::fromJson(request.body)["code_verifier"_L1].toString().toLatin1();
}

const QTcpServer* BrowserTest::listener() const
{
    return m_client->findChildren<QTcpServer*>().last();
}

qsizetype BrowserTest::acceptedSockets() const
{
    return m_client->findChildren<QTcpSocket*>().size();
}

QByteArray BrowserTest::get(const QByteArray& path)
{
    return "GET " + path + " HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n";
}

std::unique_ptr<QTcpSocket> BrowserTest::connectTo(quint16 port)
{
    auto socket = std::make_unique<QTcpSocket>();
    socket->connectToHost(u"127.0.0.1"_s, port);
    if (!QTest::qWaitFor([&]() { return socket->state() == QAbstractSocket::ConnectedState; })) {
        qWarning("No connection to port %d", port);
    }
    return socket;
}

QByteArray BrowserTest::readToEnd(QTcpSocket& socket)
{
    if (!QTest::qWaitFor([&]() { return socket.state() == QAbstractSocket::UnconnectedState; })) {
        return "(still open)";
    }
    return socket.readAll();
}

QByteArray BrowserTest::visit(quint16 port, const QByteArray& request)
{
    const std::unique_ptr<QTcpSocket> socket = connectTo(port);
    socket->write(request);
    return readToEnd(*socket);
}

bool BrowserTest::isRefused(quint16 port)
{
    QTcpSocket socket;
    socket.connectToHost(u"127.0.0.1"_s, port);
    return QTest::qWaitFor(
        [&]() { return socket.error() == QAbstractSocket::ConnectionRefusedError; });
}
