#include "account/BrowserTest.h"

#include <QTcpServer>
#include <QTcpSocket>

#include <vector>

#include <sys/resource.h>
#include <sys/socket.h>

using namespace Qt::StringLiterals;

namespace {

const QByteArray kLine = "GET /callback?code=c HTTP/1.1\r\n";

QByteArray unfinishedHead(qsizetype size)
{
    return kLine + "X: " + QByteArray(size - kLine.size() - 3, 'x');
}

} // namespace

// What a port that is open to every program of the machine may be sent.
class OAuthAttacksTest final : public BrowserTest
{
    Q_OBJECT

private slots:
    void headInSingleBytes();
    void unfinishedHeadOf8192BytesIsKept();
    void unfinishedHeadOf8193BytesIsDropped();
    void endlessHeadIsDropped();
    void headThatArrivesWholeMayBeLong_data();
    void headThatArrivesWholeMayBeLong();
    void hundredsOfSilentConnections();
    void secondRequestOnAnAnsweredSocketIsLost();
    void requestsInOneWriteAreOne();
    void requestThatIsCutOff_data();
    void requestThatIsCutOff();
    void requestOfSomebodyWhoLeavesAtOnce();
    void rubbish_data();
    void rubbish();

private:
    /// A socket that the client has read from.
    std::unique_ptr<QTcpSocket> connectAndSend(quint16 port, const QByteArray& bytes);
    void verifyFlowGoesOn(quint16 port);
};

std::unique_ptr<QTcpSocket> OAuthAttacksTest::connectAndSend(quint16 port, const QByteArray& bytes)
{
    const qsizetype before = acceptedSockets();
    std::unique_ptr<QTcpSocket> socket = connectTo(port);
    if (!QTest::qWaitFor([&]() { return acceptedSockets() == before + 1; })) {
        qWarning("The connection isn't accepted");
        return socket;
    }
    const QSignalSpy read(m_client->findChildren<QTcpSocket*>().last(), &QTcpSocket::readyRead);
    socket->write(bytes);
    if (!QTest::qWaitFor([&]() { return read.count() > 0; })) {
        qWarning("Nothing is read");
    }
    return socket;
}

void OAuthAttacksTest::verifyFlowGoesOn(quint16 port)
{
    QCOMPARE(m_outcomes, QStringList());
    m_server->answerWith({{200, kSession}});
    QCOMPARE(visit(port, get("/callback?code=c")), kSuccessResponse);
    QCOMPARE(outcome(), kSuccess);
}

void OAuthAttacksTest::headInSingleBytes()
{
    m_server->answerWith({{200, kSession}});
    const auto socket = connectTo(startFlow());
    QTRY_COMPARE(acceptedSockets(), 1);
    const QSignalSpy read(m_client->findChild<QTcpSocket*>(), &QTcpSocket::readyRead);
    const QByteArray request = get("/callback?code=c");
    for (qsizetype i = 0; i < request.size(); ++i) {
        QCOMPARE(socket->bytesAvailable(), 0);
        socket->write(request.mid(i, 1));
        QTRY_COMPARE(read.count(), i + 1);
    }
    QCOMPARE(readToEnd(*socket), kSuccessResponse);
    QCOMPARE(outcome(), kSuccess);
}

void OAuthAttacksTest::unfinishedHeadOf8192BytesIsKept()
{
    m_server->answerWith({{200, kSession}});
    const auto socket = connectAndSend(startFlow(), unfinishedHead(8192));
    QCOMPARE(socket->state(), QAbstractSocket::ConnectedState);
    QCOMPARE(m_outcomes, QStringList());
    socket->write("\r\n\r\n");
    QCOMPARE(readToEnd(*socket), kSuccessResponse);
    QCOMPARE(outcome(), kSuccess);
}

void OAuthAttacksTest::unfinishedHeadOf8193BytesIsDropped()
{
    const quint16 port = startFlow();
    const auto socket = connectAndSend(port, unfinishedHead(8192));
    QTest::ignoreMessage(QtWarningMsg, "OAuth: request too large, dropping");
    socket->write("x");
    QCOMPARE(readToEnd(*socket), ""_ba);
    verifyFlowGoesOn(port);
}

void OAuthAttacksTest::endlessHeadIsDropped()
{
    const quint16 port = startFlow();
    QTest::ignoreMessage(QtWarningMsg, "OAuth: request too large, dropping");
    const auto socket = connectTo(port);
    connect(socket.get(), &QTcpSocket::bytesWritten, this,
        [&]() { socket->write(QByteArray(10000, 'x')); });
    socket->write(QByteArray(10000, 'x'));
    QCOMPARE(readToEnd(*socket), ""_ba);
    QTRY_COMPARE(acceptedSockets(), 0);
    verifyFlowGoesOn(port);
}

void OAuthAttacksTest::headThatArrivesWholeMayBeLong_data()
{
    QTest::addColumn<int>("size");
    QTest::newRow("8193 bytes") << 8193;
    QTest::newRow("100000 bytes") << 100000;
}

void OAuthAttacksTest::headThatArrivesWholeMayBeLong()
{
    QFETCH(int, size);
    m_server->answerWith({{200, kSession}});
    const quint16 port = startFlow();
    // Room for all of it on both sides, so that it lies there when the client first reads.
    constexpr int kRoom = 200000;
    QCOMPARE(::setsockopt(static_cast<int>(listener()->socketDescriptor()), SOL_SOCKET, SO_RCVBUF,
                 &kRoom, sizeof(kRoom)),
        0);
    const auto socket = connectTo(port);
    socket->setSocketOption(QAbstractSocket::SendBufferSizeSocketOption, kRoom);
    socket->write(unfinishedHead(size - 4) + "\r\n\r\n");
    QVERIFY(socket->flush());
    QCOMPARE(socket->bytesToWrite(), 0);
    QCOMPARE(readToEnd(*socket), kSuccessResponse);
    QCOMPARE(outcome(), kSuccess);
}

void OAuthAttacksTest::hundredsOfSilentConnections()
{
    constexpr int kConnections = 500;
    rlimit limit{};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    ::setrlimit(RLIMIT_NOFILE, &limit);

    const quint16 port = startFlow();
    std::vector<std::unique_ptr<QTcpSocket>> sockets;
    for (int i = 0; i < kConnections; ++i) {
        sockets.push_back(connectTo(port));
    }
    QTRY_COMPARE(acceptedSockets(), kConnections);
    verifyFlowGoesOn(port);
    QCOMPARE(acceptedSockets(), kConnections);
    m_client.reset();
    for (const auto& socket : sockets) {
        QCOMPARE(readToEnd(*socket), ""_ba);
    }
}

void OAuthAttacksTest::secondRequestOnAnAnsweredSocketIsLost()
{
    m_server->answerWith({{200, kSession}});
    const auto socket = connectAndSend(startFlow(), get("/callback?code=c"));
    socket->write(get("/callback?code=d"));
    QCOMPARE(readToEnd(*socket), kSuccessResponse);
    QCOMPARE(outcome(), kSuccess);
    QTRY_COMPARE(acceptedSockets(), 0);
    QCOMPARE(m_outcomes.size(), 1);
    QCOMPARE(m_server->requests().size(), 1);
}

void OAuthAttacksTest::requestsInOneWriteAreOne()
{
    m_server->answerWith({{200, kSession}});
    QCOMPARE(
        visit(startFlow(), get("/callback?code=c") + get("/callback?code=d")), kSuccessResponse);
    QCOMPARE(outcome(), kSuccess);
    QTRY_COMPARE(acceptedSockets(), 0);
    QCOMPARE(m_outcomes.size(), 1);
    QVERIFY(m_server->requests().first().body.startsWith(R"({"auth_code":"c",)"));
}

void OAuthAttacksTest::requestThatIsCutOff_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::newRow("in the method") << "GE"_ba;
    QTest::newRow("in the path") << "GET /callback?code=c"_ba;
    QTest::newRow("after the line") << kLine;
    QTest::newRow("before the last byte") << kLine + "\r";
    QTest::newRow("line feeds alone") << "GET /callback?code=c HTTP/1.1\n\n"_ba;
    QTest::newRow("carriage returns alone") << "GET /callback?code=c HTTP/1.1\r\r"_ba;
}

void OAuthAttacksTest::requestThatIsCutOff()
{
    QFETCH(QByteArray, request);
    const quint16 port = startFlow();
    auto socket = connectAndSend(port, request);
    QCOMPARE(socket->state(), QAbstractSocket::ConnectedState);
    QTest::ignoreMessage(QtWarningMsg, "OAuth socket error: 1");
    socket.reset();
    QTRY_COMPARE(acceptedSockets(), 0);
    verifyFlowGoesOn(port);
}

void OAuthAttacksTest::requestOfSomebodyWhoLeavesAtOnce()
{
    m_server->answerWith({{200, kSession}});
    const auto socket = connectTo(startFlow());
    socket->write(get("/callback?code=c"));
    socket->disconnectFromHost();
    QCOMPARE(outcome(), kSuccess);
    QTRY_COMPARE(acceptedSockets(), 0);
}

void OAuthAttacksTest::rubbish_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::newRow("nothing but the end") << "\r\n\r\n"_ba;
    QTest::newRow("many ends") << QByteArray("\r\n").repeated(1000);
    QTest::newRow("blanks") << "     \r\n\r\n"_ba;
    QTest::newRow("one word") << "GET\r\n\r\n"_ba;
    QTest::newRow("no path") << "GET  HTTP/1.1\r\n\r\n"_ba;
    QTest::newRow("two blanks before the path") << "GET  /callback?code=c HTTP/1.1\r\n\r\n"_ba;
    QTest::newRow("tabs in place of blanks") << "GET\t/callback?code=c\tHTTP/1.1\r\n\r\n"_ba;
    QTest::newRow("NULs") << QByteArray(100, '\0') + "\r\n\r\n";
    QTest::newRow("NUL in the path") << "GET /\0?x=y HTTP/1.1\r\n\r\n"_ba;
    QTest::newRow("TLS") << "\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03\r\n\r\n"_ba;
    QByteArray allBytes;
    for (int i = 255; i >= 0; --i) {
        allBytes += static_cast<char>(i);
    }
    QTest::newRow("all bytes") << allBytes + "\r\n\r\n";
    QTest::newRow("no UTF-8 in the path") << "GET /\xff\xfe\xc3?x=\x80 HTTP/1.1\r\n\r\n"_ba;
    QTest::newRow("overlong and surrogate") << "GET /\xc0\xaf\xed\xa0\x80 HTTP/1.1\r\n\r\n"_ba;
    QTest::newRow("percent sign alone") << "GET /% HTTP/1.1\r\n\r\n"_ba;
    QTest::newRow("wrong percent encoding") << "GET /%zz%1 HTTP/1.1\r\n\r\n"_ba;
    QTest::newRow("path that makes another host") << "GET code=c HTTP/1.1\r\n\r\n"_ba;
    QTest::newRow("star") << "OPTIONS * HTTP/1.1\r\n\r\n"_ba;
    QTest::newRow("proxy") << "CONNECT example.org:443 HTTP/1.1\r\n\r\n"_ba;
}

void OAuthAttacksTest::rubbish()
{
    QFETCH(QByteArray, request);
    QCOMPARE(visit(startFlow(), request), kFailureResponse);
    QCOMPARE(outcome(), kCancelled);
    QCOMPARE(m_server->requests().size(), 0);
    QTRY_COMPARE(acceptedSockets(), 0);
}

QTEST_MAIN(OAuthAttacksTest)
#include "OAuthAttacksTest.moc"
