#include "dictation/TranscriptionTest.h"

using namespace Qt::StringLiterals;

// A redirect is an answer like others: the token and the recording are for the worker alone.
class TranscriptionRedirectsTest final : public TranscriptionTest
{
    Q_OBJECT

private slots:
    void redirectIsAnAnswer_data();
    void redirectIsAnAnswer();
    void noCookieIsSent();
};

void TranscriptionRedirectsTest::redirectIsAnAnswer_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<bool>("elsewhere");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("expected");
    const QString notJson = u"failed: Failed to parse response: illegal value"_s;
    for (const int status : {301, 302, 303, 307, 308}) {
        QTest::addRow("%d to another origin", status) << status << true << ""_ba << notJson;
        QTest::addRow("%d to the same origin", status) << status << false << ""_ba << notJson;
    }
    QTest::newRow("page") << 302 << true << "<html>"_ba << notJson;
    QTest::newRow("no text") << 302 << true << "{}"_ba << u"failed: Empty transcript"_s;
    QTest::newRow("text") << 302 << true << kHello << kHelloOutcome;
}

void TranscriptionRedirectsTest::redirectIsAnAnswer()
{
    QFETCH(int, status);
    QFETCH(bool, elsewhere);
    QFETCH(QByteArray, body);
    HttpServer other;
    other.answerWith({{200, R"({"text":"from elsewhere"})"}});
    const QString target = (elsewhere ? other.url() : m_server->url()) + "/there"_L1;
    m_server->answerWith(
        {{.raw = "HTTP/1.1 " + QByteArray::number(status)
                 + " Elsewhere\r\nLocation: " + target.toUtf8()
                 + "\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" + body},
            {200, R"({"text":"from there"})"}});
    transcribe();
    QTEST(outcome(), "expected");
    QCOMPARE(m_server->requests().size(), 1);
    QCOMPARE(other.requests().size(), 0);
}

void TranscriptionRedirectsTest::noCookieIsSent()
{
    m_server->answerWith({{.raw = "HTTP/1.1 200 OK\r\nSet-Cookie: a=b\r\nContent-Length: "
                                  + QByteArray::number(kHello.size()) + "\r\n\r\n" + kHello},
        {200, kHello}});
    transcribe();
    QCOMPARE(outcome(), kHelloOutcome);
    m_outcomes.clear();
    transcribe();
    QCOMPARE(outcome(), kHelloOutcome);
    QCOMPARE(m_server->requests().size(), 2);
    QVERIFY(!m_server->requests().last().headers.contains("cookie"));
}

QTEST_GUILESS_MAIN(TranscriptionRedirectsTest)
#include "TranscriptionRedirectsTest.moc"
