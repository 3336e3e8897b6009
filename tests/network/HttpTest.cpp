#include "network/Http.h"
#include "network/NetworkManager.h"
#include "support/HttpServer.h"
#include "support/TarqTest.h"

#include <QNetworkReply>
#include <QNetworkRequest>
#include <QPointer>
#include <QUrl>

using namespace Qt::StringLiterals;

class HttpTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void bearerHeaderIsOneLine_data();
    void bearerHeaderIsOneLine();
    void statusIsZeroWithoutAnAnswer();
    void bodyOfAnAbortedReplyIsEmpty();
    void replyAndManagerGoWhenItHasFinished();
};

void HttpTest::bearerHeaderIsOneLine_data()
{
    QTest::addColumn<QString>("token");
    QTest::addColumn<QByteArray>("header");

    QTest::newRow("token") << u"a.b-_.c"_s << "Bearer a.b-_.c"_ba;
    QTest::newRow("beyond ASCII") << u"ä"_s << "Bearer ä"_ba;
    QTest::newRow("line breaks") << u"a\r\nX: b\nc"_s << "Bearer a  X: b c"_ba;
    QTest::newRow("zero") << u"a\0b"_s << "Bearer a b"_ba;
}

void HttpTest::bearerHeaderIsOneLine()
{
    QFETCH(const QString, token);
    QTEST(Http::bearerHeader(token), "header");
}

void HttpTest::statusIsZeroWithoutAnAnswer()
{
    HttpServer server;
    server.close();
    NetworkManager manager;
    const auto* reply = manager.get(QNetworkRequest(QUrl(server.url())));
    QTRY_VERIFY(reply->isFinished());
    QCOMPARE(Http::status(*reply), 0);
}

void HttpTest::bodyOfAnAbortedReplyIsEmpty()
{
    HttpServer server;
    server.answerWith({{.silent = true, .raw = "HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\n{"}});
    NetworkManager manager;
    auto* reply = manager.get(QNetworkRequest(QUrl(server.url())));
    QTRY_COMPARE(reply->bytesAvailable(), 1);
    reply->abort();
    // Reading it would be warned of.
    QCOMPARE(Http::body(*reply), QByteArray());
    QCOMPARE(Http::status(*reply), 200);
}

void HttpTest::replyAndManagerGoWhenItHasFinished()
{
    HttpServer server;
    server.answerWith({{204, ""}});
    const QPointer<NetworkManager> manager = new NetworkManager;
    const QPointer<QNetworkReply> reply = manager->get(QNetworkRequest(QUrl(server.url())));
    Http::discardWhenFinished(reply);
    QTRY_VERIFY(manager == nullptr && reply == nullptr);
}

QTEST_GUILESS_MAIN(HttpTest)
#include "HttpTest.moc"
