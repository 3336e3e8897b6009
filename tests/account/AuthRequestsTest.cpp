#include "account/AuthTest.h"
#include "support/RecordedLog.h"

#include <QNetworkReply>
#include <QNetworkRequest>

#include <algorithm>

using namespace Qt::StringLiterals;

// How the requests travel, fail on their way, and show in the log.
class AuthRequestsTest final : public AuthTest
{
    Q_OBJECT

private slots:
    void requests_data();
    void requests();
    void requestCarriesTwoHeadersOfItsOwn_data();
    void requestCarriesTwoHeadersOfItsOwn();
    void keyIsSentInUtf8();
    void pathsAreAppendedToTheUrlAsItStands_data();
    void pathsAreAppendedToTheUrlAsItStands();
    void transferTimeouts_data();
    void transferTimeouts();
    void networkErrors_data();
    void networkErrors();
    void abortedTransfer_data();
    void abortedTransfer();
    void abortInMidAnswerKeepsTheStatus_data();
    void abortInMidAnswerKeepsTheStatus();
    void answerThatIsCutOffKeepsItsStatus_data();
    void answerThatIsCutOffKeepsItsStatus();
    void redirectsAreAnswers_data();
    void redirectsAreAnswers();
    void loggedBodyIsCutAt500Bytes_data();
    void loggedBodyIsCutAt500Bytes();
    void logOfAnOperation_data();
    void logOfAnOperation();
    void logHoldsNoSecret();
    void requestsAreIndependent();
    void laterRequestDoesntWaitForAnEarlierOne();
    void replyIsDeletedAfterItsSignal_data();
    void replyIsDeletedAfterItsSignal();
    void destructionWithRequestsUnderWayIsSafe();
};

void AuthRequestsTest::requests_data()
{
    QTest::addColumn<Operation>("operation");
    QTest::addColumn<QByteArray>("target");
    QTest::addColumn<QByteArray>("body");
    QTest::newRow("sign in") << Operation(signIn) << "/auth/v1/token?grant_type=password"_ba
                             << R"({"email":"me@example.org","password":"the-password"})"_ba;
    QTest::newRow("sign up") << Operation(signUp) << "/auth/v1/signup"_ba
                             << R"({"email":"me@example.org","password":"the-password"})"_ba;
    QTest::newRow("refresh") << Operation(refresh) << "/auth/v1/token?grant_type=refresh_token"_ba
                             << R"({"refresh_token":"the-old-refresh-token"})"_ba;
    QTest::newRow("reset") << Operation(reset) << "/auth/v1/recover"_ba
                           << R"({"email":"me@example.org"})"_ba;
    QTest::newRow("nothing entered")
        << Operation([](SupabaseAuthClient& client) { client.signInWithEmail({}, {}); })
        << "/auth/v1/token?grant_type=password"_ba
        << R"({"email":"","password":""})"_ba;
    QTest::newRow("password that needs escapes")
        << Operation([](SupabaseAuthClient& client) {
               client.signUpWithEmail(u" a+b@example.org"_s, u"\"\\ \n&ü%41 "_s);
           })
        << "/auth/v1/signup"_ba
        << R"({"email":" a+b@example.org","password":"\"\\ \n&ü%41 "})"_ba;
}

void AuthRequestsTest::requests()
{
    QFETCH(Operation, operation);
    m_server->answerWith({{200, kSession}});
    operation(*m_client);
    QVERIFY(outcome() != u"(nothing)"_s);
    QCOMPARE(m_server->requests().size(), 1);
    QCOMPARE(m_server->requests().first().method, "POST"_ba);
    QTEST(m_server->requests().first().target, "target");
    QTEST(m_server->requests().first().body, "body");
}

void AuthRequestsTest::requestCarriesTwoHeadersOfItsOwn_data()
{
    addOperations();
}

void AuthRequestsTest::requestCarriesTwoHeadersOfItsOwn()
{
    QFETCH(Operation, operation);
    m_server->answerWith({{200, kSession}});
    operation(*m_client);
    QVERIFY(outcome() != u"(nothing)"_s);
    QHash<QByteArray, QByteArray> headers = m_server->requests().first().headers;
    QCOMPARE(headers.take("apikey"), "the-key"_ba);
    QCOMPARE(headers.take("content-type"), "application/json"_ba);
    // What the network layer adds by itself.
    QByteArrayList others = headers.keys();
    std::sort(others.begin(), others.end());
    QCOMPARE(others,
        (QByteArrayList{"accept-encoding", "accept-language", "connection", "content-length",
            "host", "user-agent"}));
}

void AuthRequestsTest::keyIsSentInUtf8()
{
    SupabaseAuthClient client(m_server->url(), u"schlüssel"_s);
    reset(client);
    const auto* reply = client.findChild<QNetworkReply*>();
    QVERIFY(reply != nullptr);
    QCOMPARE(reply->request().rawHeader("apikey"), "schlüssel"_ba);
}

void AuthRequestsTest::pathsAreAppendedToTheUrlAsItStands_data()
{
    QTest::addColumn<QString>("base");
    QTest::addColumn<QString>("url");
    QTest::newRow("with a path") << u"http://127.0.0.1:9/base"_s
                                 << u"http://127.0.0.1:9/base/auth/v1/recover"_s;
    QTest::newRow("with a slash at its end")
        << u"http://127.0.0.1:9/"_s << u"http://127.0.0.1:9//auth/v1/recover"_s;
    QTest::newRow("empty") << u""_s << u"/auth/v1/recover"_s;
}

void AuthRequestsTest::pathsAreAppendedToTheUrlAsItStands()
{
    QFETCH(QString, base);
    SupabaseAuthClient client(base, u"the-key"_s);
    reset(client);
    const auto* reply = client.findChild<QNetworkReply*>();
    QVERIFY(reply != nullptr);
    QTEST(reply->url().toString(), "url");
}

void AuthRequestsTest::transferTimeouts_data()
{
    QTest::addColumn<Operation>("operation");
    QTest::addColumn<int>("timeoutMs");
    QTest::newRow("sign in") << Operation(signIn) << 20000;
    QTest::newRow("sign up waits for ever") << Operation(signUp) << 0;
    QTest::newRow("refresh") << Operation(refresh) << 20000;
    QTest::newRow("reset") << Operation(reset) << 20000;
}

void AuthRequestsTest::transferTimeouts()
{
    QFETCH(Operation, operation);
    operation(*m_client);
    const auto* reply = m_client->findChild<QNetworkReply*>();
    QVERIFY(reply != nullptr);
    QTEST(reply->request().transferTimeout(), "timeoutMs");
}

void AuthRequestsTest::networkErrors_data()
{
    QTest::addColumn<Operation>("operation");
    QTest::addColumn<bool>("dropped");
    QTest::addColumn<QString>("expected");
    const QString closed = u"network error: Connection closed"_s;
    const QString refused = u"network error: Connection refused"_s;
    const QString confirmation = u"confirmation required"_s;
    QTest::newRow("sign in, dropped") << Operation(signIn) << true << closed;
    QTest::newRow("sign in, refused") << Operation(signIn) << false << refused;
    QTest::newRow("sign up, dropped") << Operation(signUp) << true << confirmation;
    QTest::newRow("sign up, refused") << Operation(signUp) << false << confirmation;
    QTest::newRow("refresh, dropped") << Operation(refresh) << true << closed;
    QTest::newRow("refresh, refused") << Operation(refresh) << false << refused;
    QTest::newRow("reset, dropped") << Operation(reset) << true << kResetFailed;
    QTest::newRow("reset, refused") << Operation(reset) << false << kResetFailed;
}

void AuthRequestsTest::networkErrors()
{
    QFETCH(Operation, operation);
    QFETCH(bool, dropped);
    QFETCH(QString, expected);
    if (dropped) {
        // The network layer may send a dropped request again by itself.
        m_server->answerWith(QList<HttpAnswer>(100, droppedConnection()));
    } else {
        m_server->close();
    }
    if (expected.startsWith("network error: "_L1)) {
        QTest::ignoreMessage(QtWarningMsg, qPrintable("Auth "_L1 + expected));
    }
    operation(*m_client);
    QCOMPARE(outcome(), expected);
}

void AuthRequestsTest::abortedTransfer_data()
{
    QTest::addColumn<Operation>("operation");
    QTest::addColumn<QString>("expected");
    QTest::newRow("sign in") << Operation(signIn) << u"network error: Operation canceled"_s;
    QTest::newRow("refresh") << Operation(refresh) << u"network error: Operation canceled"_s;
    QTest::newRow("reset") << Operation(reset) << kResetFailed;
}

void AuthRequestsTest::abortedTransfer()
{
    QFETCH(Operation, operation);
    QFETCH(QString, expected);
    m_server->answerWith({noAnswer()});
    if (expected != kResetFailed) {
        QTest::ignoreMessage(QtWarningMsg, "Auth network error: Operation canceled");
    }
    QSignalSpy received(m_server.get(), &HttpServer::requestReceived);
    operation(*m_client);
    QVERIFY(received.wait());
    // What the network layer does when the transfer takes too long.
    m_client->findChild<QNetworkReply*>()->abort();
    QCOMPARE(outcome(), expected);
}

void AuthRequestsTest::abortInMidAnswerKeepsTheStatus_data()
{
    QTest::addColumn<Operation>("operation");
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("expected");
    QTest::newRow("sign in") << Operation(signIn) << 200 << kEmptySuccess;
    QTest::newRow("sign-in refused")
        << Operation(signIn) << 400 << u"failed: Authentication failed"_s;
    QTest::newRow("reset") << Operation(reset) << 200 << u"reset sent"_s;
    QTest::newRow("reset refused") << Operation(reset) << 400 << kResetFailed;
}

void AuthRequestsTest::abortInMidAnswerKeepsTheStatus()
{
    QFETCH(Operation, operation);
    QFETCH(int, status);
    HttpAnswer stalled = noAnswer();
    stalled.raw
        = "HTTP/1.1 " + QByteArray::number(status) + " Stalled\r\nContent-Length: 9\r\n\r\n{";
    m_server->answerWith({stalled});
    if (operation == Operation(signIn) && status == 400) {
        expectHttpWarning(400, "");
    }
    operation(*m_client);
    auto* reply = m_client->findChild<QNetworkReply*>();
    QSignalSpy begun(reply, &QNetworkReply::metaDataChanged);
    QVERIFY(begun.wait());
    reply->abort();
    QTEST(outcome(), "expected");
}

void AuthRequestsTest::answerThatIsCutOffKeepsItsStatus_data()
{
    QTest::addColumn<Operation>("operation");
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("expected");
    QTest::newRow("sign in") << Operation(signIn) << 200 << kEmptySuccess;
    QTest::newRow("sign-in refused")
        << Operation(signIn) << 400 << u"failed: Authentication failed"_s;
    QTest::newRow("sign up") << Operation(signUp) << 200 << u"confirmation required"_s;
    QTest::newRow("sign-up refused") << Operation(signUp) << 400 << u"failed: Sign-up failed"_s;
    QTest::newRow("reset") << Operation(reset) << 200 << u"reset sent"_s;
}

void AuthRequestsTest::answerThatIsCutOffKeepsItsStatus()
{
    QFETCH(Operation, operation);
    QFETCH(int, status);
    m_server->answerWith({rawAnswer("HTTP/1.1 " + QByteArray::number(status)
        + " Cut\r\nContent-Length: 100\r\n\r\n{\"access_token\":\"a\"")});
    if (operation == Operation(signIn) && status == 400) {
        expectHttpWarning(400, "{\"access_token\":\"a\"");
    }
    operation(*m_client);
    QTEST(outcome(), "expected");
}

void AuthRequestsTest::redirectsAreAnswers_data()
{
    QTest::addColumn<Operation>("operation");
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("header");
    QTest::addColumn<QString>("expected");
    for (const int status : {302, 303, 307, 308}) {
        for (const QByteArray& header : {""_ba, "Location: /elsewhere\r\n"_ba}) {
            const auto row = [&](const char* operation) -> QTestData& {
                return QTest::addRow("%s, %d, %s", operation, status,
                    header.isEmpty() ? "to nowhere" : "to elsewhere");
            };
            row("sign in") << Operation(signIn) << status << header << kEmptySuccess;
            row("sign up") << Operation(signUp) << status << header << u"confirmation required"_s;
            row("refresh") << Operation(refresh) << status << header << kEmptySuccess;
            row("reset") << Operation(reset) << status << header << kResetFailed;
        }
    }
}

void AuthRequestsTest::redirectsAreAnswers()
{
    QFETCH(Operation, operation);
    QFETCH(int, status);
    QFETCH(QByteArray, header);
    m_server->answerWith({rawAnswer("HTTP/1.1 " + QByteArray::number(status) + " Elsewhere\r\n"
                              + header + "Content-Length: 0\r\n\r\n"),
        {200, kSession}});
    operation(*m_client);
    QTEST(outcome(), "expected");
    QCOMPARE(m_server->requests().size(), 1);
}

void AuthRequestsTest::loggedBodyIsCutAt500Bytes_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QByteArray>("logged");
    QTest::newRow("500 bytes") << QByteArray(500, 'x') << QByteArray(500, 'x');
    QTest::newRow("501 bytes") << QByteArray(500, 'x') + 'y' << QByteArray(500, 'x');
    QTest::newRow("much") << QByteArray(100000, 'x') << QByteArray(500, 'x');
    QTest::newRow("cut inside a character")
        << QByteArray(499, 'x') + "ü" << QByteArray(499, 'x') + "\xEF\xBF\xBD";
}

void AuthRequestsTest::loggedBodyIsCutAt500Bytes()
{
    QFETCH(QByteArray, body);
    QFETCH(QByteArray, logged);
    m_server->answerWith({{400, body}});
    expectHttpWarning(400, logged);
    signIn(*m_client);
    QCOMPARE(outcome(), u"failed: Authentication failed"_s);
}

void AuthRequestsTest::logOfAnOperation_data()
{
    QTest::addColumn<Operation>("operation");
    QTest::addColumn<int>("status");
    QTest::addColumn<QStringList>("lines");
    const QStringList success{u"info: Auth success — user: me@example.org"_s};
    const QStringList failure{"warning: Auth HTTP 400 response: "_L1 + QString::fromUtf8(kSession)};
    QTest::newRow("sign in") << Operation(signIn) << 200 << success;
    QTest::newRow("refresh") << Operation(refresh) << 200 << success;
    QTest::newRow("sign up") << Operation(signUp) << 200 << QStringList();
    QTest::newRow("reset") << Operation(reset) << 200 << QStringList();
    QTest::newRow("sign-in refused") << Operation(signIn) << 400 << failure;
    QTest::newRow("refresh refused") << Operation(refresh) << 400 << failure;
    QTest::newRow("sign-up refused") << Operation(signUp) << 400 << QStringList();
    QTest::newRow("reset refused") << Operation(reset) << 400 << QStringList();
}

void AuthRequestsTest::logOfAnOperation()
{
    QFETCH(Operation, operation);
    QFETCH(int, status);
    QFETCH(QStringList, lines);
    m_server->answerWith({{status, kSession}});
    if (!lines.isEmpty() && status == 400) {
        expectHttpWarning(400, kSession);
    }
    const RecordedLog log;
    operation(*m_client);
    QVERIFY(outcome() != u"(nothing)"_s);
    QCOMPARE(log.lines(), lines);
}

void AuthRequestsTest::logHoldsNoSecret()
{
    const RecordedLog log;
    for (int i = 0; i < 2; ++i) {
        expectHttpWarning(400, "{}");
        QTest::ignoreMessage(QtWarningMsg, "Auth network error: Connection closed");
    }
    for (Operation operation : {signIn, signUp, refresh, reset}) {
        m_server->answerWith(QList<HttpAnswer>{{200, kSession}, {400, "{}"}}
            + QList<HttpAnswer>(100, droppedConnection()));
        for (int i = 0; i < 3; ++i) {
            m_outcomes.clear();
            operation(*m_client);
            QVERIFY(outcome() != u"(nothing)"_s);
        }
    }
    const QString all = log.lines().join(u'\n');
    QVERIFY(all.contains("Auth success"_L1));
    for (const QString& secret : {u"the-password"_s, u"the-old-refresh-token"_s,
             u"the-access-token"_s, u"the-refresh-token"_s, u"the-key"_s}) {
        QVERIFY2(!all.contains(secret), qPrintable(all));
    }
}

void AuthRequestsTest::requestsAreIndependent()
{
    m_server->answerWith(QList<HttpAnswer>(5, {200, kSession}));
    signIn(*m_client);
    signUp(*m_client);
    refresh(*m_client);
    reset(*m_client);
    signIn(*m_client);
    QTRY_COMPARE(m_outcomes.size(), 5);
    QStringList outcomes = m_outcomes;
    outcomes.sort();
    QCOMPARE(outcomes, (QStringList{u"reset sent"_s, kSuccess, kSuccess, kSuccess, kSuccess}));
    QCOMPARE(m_server->requests().size(), 5);
}

void AuthRequestsTest::laterRequestDoesntWaitForAnEarlierOne()
{
    m_server->answerWith({noAnswer(), {200, ""}});
    QSignalSpy received(m_server.get(), &HttpServer::requestReceived);
    signIn(*m_client);
    QVERIFY(received.wait());
    reset(*m_client);
    QCOMPARE(outcome(), u"reset sent"_s);
}

void AuthRequestsTest::replyIsDeletedAfterItsSignal_data()
{
    addOperations();
}

void AuthRequestsTest::replyIsDeletedAfterItsSignal()
{
    QFETCH(Operation, operation);
    m_server->answerWith({{200, kSession}});
    operation(*m_client);
    QVERIFY(outcome() != u"(nothing)"_s);
    QTRY_COMPARE(m_client->findChild<QNetworkReply*>(), nullptr);
}

void AuthRequestsTest::destructionWithRequestsUnderWayIsSafe()
{
    m_server->answerWith(QList<HttpAnswer>(4, noAnswer()));
    signIn(*m_client);
    signUp(*m_client);
    refresh(*m_client);
    reset(*m_client);
    QTRY_COMPARE(m_server->requests().size(), 4);
    m_client.reset();
    QCoreApplication::processEvents();
    QCOMPARE(m_outcomes, QStringList());
}

QTEST_GUILESS_MAIN(AuthRequestsTest)
#include "AuthRequestsTest.moc"
