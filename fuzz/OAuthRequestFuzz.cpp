#include "FuzzSupport.h"
#include "account/SupabaseAuthClient.h"
#include "support/HttpServer.h"

#include <QDesktopServices>
#include <QStringList>
#include <QTcpServer>
#include <QTcpSocket>
#include <QUrl>
#include <QUrlQuery>

using namespace Qt::StringLiterals;

namespace {

constexpr char kPause = '\f';
constexpr qsizetype kMaxUnfinishedRequestBytes = 8192;

// The client, the project's server, and the port that the browser is told to come back to.
class SignIn final : public QObject
{
    Q_OBJECT

public:
    SignIn()
    {
        QDesktopServices::setUrlHandler(u"http"_s, this, "open");
        connect(&client, &SupabaseAuthClient::authSuccess, this,
            [this]() { outcomes << u"success"_s; });
        connect(
            &client, &SupabaseAuthClient::authFailed, this, [this]() { outcomes << u"failed"_s; });
        connect(&client, &SupabaseAuthClient::authNetworkError, this,
            [this]() { outcomes << u"network error"_s; });
    }

    void start()
    {
        outcomes.clear();
        server.answerWith({{200, R"({"access_token":"the-access-token"})"}});
        client.startOAuth(u"google"_s);
        Fuzz::settle();
    }

    [[nodiscard]] qsizetype connections() const
    {
        return client.findChildren<QTcpSocket*>().size();
    }

    [[nodiscard]] bool isListening() const
    {
        return client.findChild<QTcpServer*>()->isListening();
    }

    /// Called by QDesktopServices in place of a browser.
    Q_INVOKABLE void open(const QUrl& url)
    {
        const QUrl redirect(QUrlQuery(url).queryItemValue(u"redirect_to"_s));
        port = static_cast<quint16>(redirect.port());
    }

    HttpServer server;
    SupabaseAuthClient client{server.url(), u"anon"_s};
    QStringList outcomes;
    quint16 port = 0;
};

} // namespace

// The input is what comes to the port of the redirect; the pieces between form feeds are sent one
// after another.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static SignIn signIn;
    const QByteArray input = Fuzz::bytes(data, size);
    QByteArray request = input;
    request.replace(kPause, "");
    const bool isWhole = request.contains("\r\n\r\n");
    signIn.start();
    const qsizetype exchangesBefore = signIn.server.requests().size();

    QTcpSocket browser;
    browser.connectToHost(u"127.0.0.1"_s, signIn.port);
    Fuzz::waitUntil([]() { return signIn.connections() == 1; });
    Fuzz::waitUntil([&]() { return browser.state() == QTcpSocket::ConnectedState; });
    browser.setSocketOption(QAbstractSocket::LowDelayOption, 1);
    for (const QByteArray& piece : input.split(kPause)) {
        if (browser.state() != QTcpSocket::ConnectedState) {
            break;
        }
        browser.write(piece);
        browser.flush();
        Fuzz::settle();
    }
    const bool isDropped = request.size() > kMaxUnfinishedRequestBytes;
    if (!isWhole && !isDropped) {
        browser.disconnectFromHost();
    }
    Fuzz::waitUntil([]() { return signIn.connections() == 0; });
    const bool isAnswered = !signIn.isListening();
    if (isAnswered) {
        Fuzz::waitUntil([]() { return !signIn.outcomes.isEmpty(); });
    }
    Fuzz::waitUntil([&]() { return browser.state() == QTcpSocket::UnconnectedState; });
    Fuzz::settle();

    const qsizetype exchanges = signIn.server.requests().size() - exchangesBefore;
    Fuzz::require(signIn.outcomes.size() == (isAnswered ? 1 : 0),
        "exactly one signal for each sign-in that has ended");
    Fuzz::require(isWhole || !isAnswered, "an unfinished request ends nothing");
    Fuzz::require(!isWhole || isAnswered || isDropped, "a whole request is answered");
    const bool succeeded = signIn.outcomes.contains("success"_L1);
    Fuzz::require(exchanges == (succeeded ? 1 : 0), "a code is exchanged once, and nothing else");
    // What comes too late resets the connection, and the page may be lost with it.
    const QByteArray page = browser.isOpen() ? browser.readAll() : QByteArray();
    if (page.isEmpty() && input.contains(kPause)) {
        return 0;
    }
    Fuzz::require(page.contains("Signed in") == succeeded, "the page tells how it went");
    Fuzz::require(page.count("HTTP/1.1") == signIn.outcomes.size(), "one answer for each request");
    return 0;
}

#include "OAuthRequestFuzz.moc"
