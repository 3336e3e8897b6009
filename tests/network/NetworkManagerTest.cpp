#include "network/NetworkManager.h"
#include "support/HttpServer.h"
#include "support/TarqTest.h"

#include <QNetworkReply>
#include <QNetworkRequest>
#include <QUrl>

using namespace Qt::StringLiterals;

// Whatever a request asks for, it goes to one server, and leaves nothing of it behind.
class NetworkManagerTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void redirectIsAnAnswer_data();
    void redirectIsAnAnswer();
    void redirectIsAFailureForThoseWhoWouldFollow_data();
    void redirectIsAFailureForThoseWhoWouldFollow();
    void cookieIsNeitherKeptNorSent();

private:
    /// A request with the method of the row that asks to be carried on, and its finished reply.
    QNetworkReply* request(NetworkManager& manager);
    static void addRedirects();
    void redirect();

    std::unique_ptr<HttpServer> m_server;
    std::unique_ptr<HttpServer> m_other;
};

void NetworkManagerTest::init()
{
    TarqTest::init();
    m_server = std::make_unique<HttpServer>();
    m_other = std::make_unique<HttpServer>();
}

void NetworkManagerTest::cleanup()
{
    m_other.reset();
    m_server.reset();
    TarqTest::cleanup();
}

QNetworkReply* NetworkManagerTest::request(NetworkManager& manager)
{
    QFETCH(QByteArray, method);
    QNetworkRequest request(QUrl(m_server->url() + "/here"_L1));
    request.setRawHeader("Authorization", "Bearer the-token");
    request.setHeader(QNetworkRequest::ContentTypeHeader, u"text/plain"_s);
    request.setAttribute(
        QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::NoLessSafeRedirectPolicy);
    QNetworkReply* reply = manager.sendCustomRequest(request, method, "a recording"_ba);
    if (!QTest::qWaitFor([&]() { return reply->isFinished(); })) {
        qWarning("The request doesn't end");
    }
    return reply;
}

void NetworkManagerTest::addRedirects()
{
    QTest::addColumn<QByteArray>("method");
    QTest::addColumn<int>("status");
    QTest::addColumn<bool>("elsewhere");
    for (const QByteArray& method : {"GET"_ba, "POST"_ba, "DELETE"_ba}) {
        for (const int status : {301, 302, 303, 307, 308}) {
            const auto row = [&](const char* where) -> QTestData& {
                return QTest::addRow("%s, %d, %s", method.constData(), status, where);
            };
            row("another origin") << method << status << true;
            row("the same origin") << method << status << false;
        }
    }
}

void NetworkManagerTest::redirect()
{
    QFETCH(int, status);
    QFETCH(bool, elsewhere);
    const QString target = (elsewhere ? m_other->url() : m_server->url()) + "/there"_L1;
    m_server->answerWith(
        {{.raw = "HTTP/1.1 " + QByteArray::number(status) + " Elsewhere\r\nLocation: "
                 + target.toUtf8() + "\r\nContent-Length: 9\r\n\r\nelsewhere"},
            {200, "from there"}});
    m_other->answerWith({{200, "from elsewhere"}});
}

void NetworkManagerTest::redirectIsAnAnswer_data()
{
    addRedirects();
}

void NetworkManagerTest::redirectIsAnAnswer()
{
    redirect();
    NetworkManager manager;
    QNetworkReply* reply = request(manager);
    QCOMPARE(reply->error(), QNetworkReply::NoError);
    QTEST(reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt(), "status");
    QCOMPARE(reply->readAll(), "elsewhere"_ba);
    QCOMPARE(m_server->requests().size(), 1);
    QCOMPARE(m_other->requests().size(), 0);
}

void NetworkManagerTest::redirectIsAFailureForThoseWhoWouldFollow_data()
{
    addRedirects();
}

void NetworkManagerTest::redirectIsAFailureForThoseWhoWouldFollow()
{
    redirect();
    NetworkManager manager(nullptr, NetworkManager::Redirect::Failure);
    QNetworkReply* reply = request(manager);
    QCOMPARE(reply->error(), QNetworkReply::OperationCanceledError);
    QVERIFY(!reply->attribute(QNetworkRequest::RedirectionTargetAttribute).isValid());
    QCOMPARE(m_server->requests().size(), 1);
    QCOMPARE(m_other->requests().size(), 0);
}

void NetworkManagerTest::cookieIsNeitherKeptNorSent()
{
    m_server->answerWith(
        {{.raw = "HTTP/1.1 200 OK\r\nSet-Cookie: a=b; Max-Age=1000\r\nContent-Length: 0\r\n\r\n"},
            {200, ""}});
    NetworkManager manager;
    for (int i = 0; i < 2; ++i) {
        const auto* reply = manager.get(QNetworkRequest(QUrl(m_server->url())));
        QTRY_VERIFY(reply->isFinished());
    }
    QCOMPARE(m_server->requests().size(), 2);
    QVERIFY(!m_server->requests().last().headers.contains("cookie"));
}

QTEST_GUILESS_MAIN(NetworkManagerTest)
#include "NetworkManagerTest.moc"
