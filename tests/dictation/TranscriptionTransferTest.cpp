#include "dictation/TranscriptionTest.h"

#include <QFile>
#include <QNetworkReply>
#include <QTcpServer>
#include <QTcpSocket>

using namespace Qt::StringLiterals;

// How a recording gets to the worker, and what becomes of an answer that doesn't arrive whole.
class TranscriptionTransferTest final : public TranscriptionTest
{
    Q_OBJECT

private slots:
    void answerThatIsCutOff_data();
    void answerThatIsCutOff();
    void answerThatStallsIsRefusedWithItsStatus();
    void transferThatStallsIsTriedAgain();
    void recordingIsStreamed();
};

void TranscriptionTransferTest::answerThatIsCutOff_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("sent");
    QTest::addColumn<QString>("expected");
    QTest::newRow("with a whole text")
        << 200 << kHello << u"failed: Request failed (HTTP 200): {\"text\":\"hello\"}"_s;
    QTest::newRow("in the text") << 200 << R"({"text":"hel)"_ba
                                 << u"failed: Request failed (HTTP 200): {\"text\":\"hel"_s;
    QTest::newRow("before the body")
        << 200 << ""_ba << u"failed: Request failed (HTTP 200): Connection closed"_s;
    QTest::newRow("refusal") << 403 << "no"_ba << u"failed: Request failed (HTTP 403): no"_s;
}

void TranscriptionTransferTest::answerThatIsCutOff()
{
    QFETCH(int, status);
    QFETCH(QByteArray, sent);
    m_server->answerWith({{.raw = "HTTP/1.1 " + QByteArray::number(status)
                                  + " Cut\r\nContent-Length: 1000\r\n\r\n" + sent},
        {200, kHello}});
    transcribe();
    QTEST(outcome(), "expected");
    QCOMPARE(m_server->requests().size(), 1);
}

void TranscriptionTransferTest::answerThatStallsIsRefusedWithItsStatus()
{
    m_server->answerWith(
        {{.silent = true, .raw = "HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n" + kHello}});
    transcribe();
    auto* reply = m_client->findChild<QNetworkReply*>();
    QTRY_COMPARE(reply->bytesAvailable(), kHello.size());
    // What the network layer does when the transfer takes too long.
    reply->abort();
    QCOMPARE(outcome(), u"failed: Request failed (HTTP 200): Operation canceled"_s);
    QCOMPARE(m_server->requests().size(), 1);
}

void TranscriptionTransferTest::transferThatStallsIsTriedAgain()
{
    m_server->answerWith({{.silent = true}, {200, kHello}});
    expectRetryWarning(1, u"1000"_s);
    transcribe();
    QTRY_COMPARE(m_server->requests().size(), 1);
    m_client->findChild<QNetworkReply*>()->abort();
    QCOMPARE(outcome(), kHelloOutcome);
    QCOMPARE(m_server->requests().size(), 2);
}

void TranscriptionTransferTest::recordingIsStreamed()
{
    constexpr qint64 kSize = 64 * 1024 * 1024; // far more than lies in buffers on the way
    const QByteArray lateWords = "said later";
    QFile file(recording());
    QVERIFY(file.open(QIODevice::ReadWrite));
    QVERIFY(file.resize(kSize));

    QTcpServer slow;
    QVERIFY(slow.listen(QHostAddress::LocalHost));
    qputenv("WORKER_URL", "http://127.0.0.1:" + QByteArray::number(slow.serverPort()));
    transcribe();
    QTRY_VERIFY(slow.hasPendingConnections());
    QTcpSocket* socket = slow.nextPendingConnection();
    socket->setReadBufferSize(4096);
    QTRY_VERIFY(socket->bytesAvailable() > 0);

    // Only what hasn't been read yet can still change.
    QVERIFY(file.seek(kSize - lateWords.size()));
    QCOMPARE(file.write(lateWords), lateWords.size());
    QVERIFY(file.flush());
    socket->setReadBufferSize(0);
    QByteArray tail;
    qint64 received = 0;
    QTRY_VERIFY_WITH_TIMEOUT(
        [&]() {
            const QByteArray bytes = socket->readAll();
            received += bytes.size();
            tail = (tail + bytes).right(1000);
            return received > kSize && tail.endsWith("--\r\n");
        }(),
        60000);
    QVERIFY(tail.contains(lateWords));
    socket->write("HTTP/1.1 200 OK\r\nContent-Length: " + QByteArray::number(kHello.size())
        + "\r\n\r\n" + kHello);
    QCOMPARE(outcome(), kHelloOutcome);
}

QTEST_GUILESS_MAIN(TranscriptionTransferTest)
#include "TranscriptionTransferTest.moc"
