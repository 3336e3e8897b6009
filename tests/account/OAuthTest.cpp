#include "account/BrowserTest.h"
#include "desktop/ScriptedTools.h"
#include "support/RecordedLog.h"

#include <QDesktopServices>
#include <QJsonDocument>
#include <QRegularExpression>
#include <QTcpServer>
#include <QTcpSocket>
#include <QUrlQuery>

using namespace Qt::StringLiterals;

// What is asked for in the browser, and what each redirect turns into.
class OAuthTest final : public BrowserTest
{
    Q_OBJECT

private slots:
    void authorizeUrlHasItsParametersInOrder();
    void providerIsPassedOnUnchanged_data();
    void providerIsPassedOnUnchanged();
    void listenerIsOnLoopbackAlone();
    void codeIsExchanged();
    void exchangeIsAnsweredLikeASignIn_data();
    void exchangeIsAnsweredLikeASignIn();
    void exchangeWithoutAnswerIsANetworkError();
    void challengeIsTheHashOfTheVerifier();
    void verifiersAreFreshRandomBytes();
    void callbacks_data();
    void callbacks();
    void codesAreReadAsAQuery_data();
    void codesAreReadAsAQuery();
    void errorDescriptionsAreDecoded_data();
    void errorDescriptionsAreDecoded();
    void firstRequestCountsWhateverItIs_data();
    void firstRequestCountsWhateverItIs();
    void iconThatIsAskedForFirstEndsTheFlow();
    void earlierSocketIsServedAfterTheFirstAnswer();
    void connectionThatBreaksDoesntEndTheFlow();
    void browserIsOpenedByXdgOpenAsAFallback();
    void logOfAFlow_data();
    void logOfAFlow();
    void logHoldsNeitherVerifierNorTokens();
};

void OAuthTest::authorizeUrlHasItsParametersInOrder()
{
    const quint16 port = startFlow();
    QCOMPARE(m_opened.size(), 1);
    QVERIFY(port != 0);
    QCOMPARE(m_opened.first().toString(QUrl::FullyEncoded),
        m_server->url()
            + u"/auth/v1/authorize?provider=google&redirect_to=http://127.0.0.1:%1/callback"
              "&flow_type=pkce&code_challenge=%2&code_challenge_method=S256"_s.arg(
                  QString::number(port), QString::fromLatin1(challenge())));
}

void OAuthTest::providerIsPassedOnUnchanged_data()
{
    QTest::addColumn<QString>("provider");
    QTest::newRow("github") << u"github"_s;
    QTest::newRow("capitals") << u"GitHub"_s;
    QTest::newRow("empty") << u""_s;
    QTest::newRow("characters of a query") << u"a&b=c#d?e+f/g"_s;
    QTest::newRow("blank and umlaut") << u"über all"_s;
    QTest::newRow("percent sign") << u"100%"_s;
}

void OAuthTest::providerIsPassedOnUnchanged()
{
    QFETCH(QString, provider);
    m_client->startOAuth(provider);
    const QUrlQuery query(m_opened.first());
    QCOMPARE(query.queryItemValue(u"provider"_s, QUrl::FullyDecoded), provider);
    QCOMPARE(query.queryItems().size(), 5);
    QVERIFY(m_opened.first().fragment().isEmpty());
}

void OAuthTest::listenerIsOnLoopbackAlone()
{
    const quint16 port = startFlow();
    QCOMPARE(listener()->serverAddress(), QHostAddress(QHostAddress::LocalHost));
    QCOMPARE(listener()->serverPort(), port);
}

void OAuthTest::codeIsExchanged()
{
    m_server->answerWith({{200, kSession}});
    const quint16 port = startFlow();
    QCOMPARE(visit(port, get("/callback?code=the-code")), kSuccessResponse);
    QCOMPARE(outcome(), kSuccess);
    QCOMPARE(m_server->requests().size(), 1);
    const HttpRequest& request = m_server->requests().first();
    QCOMPARE(request.method, "POST"_ba);
    QCOMPARE(request.target, "/auth/v1/token?grant_type=pkce"_ba);
    QCOMPARE(request.headers.value("apikey"), "the-key"_ba);
    QCOMPARE(request.headers.value("content-type"), "application/json"_ba);
    QVERIFY(!request.headers.contains("authorization"));
    QCOMPARE(request.body,
        R"({"auth_code":"the-code","code_verifier":")"_ba + exchangedVerifier(request) + "\"}");
    QVERIFY(isRefused(port));
    QCOMPARE(m_outcomes.size(), 1);
}

void OAuthTest::exchangeIsAnsweredLikeASignIn_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("expected");
    QTest::newRow("nothing") << 200 << ""_ba << kEmptySuccess;
    QTest::newRow("redirect") << 302 << ""_ba << kEmptySuccess;
    QTest::newRow("refused") << 400 << R"({"error_description":"Flow not found"})"_ba
                             << u"failed: Flow not found"_s;
    QTest::newRow("mapped") << 403 << R"({"msg":"User already registered"})"_ba
                            << u"failed: This email is already registered. "
                               "Try signing in instead."_s;
    QTest::newRow("server error") << 500 << ""_ba << u"failed: Authentication failed"_s;
}

void OAuthTest::exchangeIsAnsweredLikeASignIn()
{
    QFETCH(int, status);
    QFETCH(QByteArray, body);
    m_server->answerWith({{status, body}});
    if (status >= 400) {
        expectHttpWarning(status, body);
    }
    QCOMPARE(visit(startFlow(), get("/callback?code=c")), kSuccessResponse);
    QTEST(outcome(), "expected");
}

void OAuthTest::exchangeWithoutAnswerIsANetworkError()
{
    m_server->close();
    QTest::ignoreMessage(QtWarningMsg, "Auth network error: Connection refused");
    QCOMPARE(visit(startFlow(), get("/callback?code=c")), kSuccessResponse);
    QCOMPARE(outcome(), u"network error: Connection refused"_s);
}

void OAuthTest::challengeIsTheHashOfTheVerifier()
{
    m_server->answerWith({{200, kSession}});
    QCOMPARE(visit(startFlow(), get("/callback?code=c")), kSuccessResponse);
    QCOMPARE(outcome(), kSuccess);
    const QByteArray verifier = exchangedVerifier(m_server->requests().first());
    QCOMPARE(verifier.size(), 43);
    QCOMPARE(challenge().size(), 43);
    QCOMPARE(challenge(), challengeFor(verifier));
}

void OAuthTest::verifiersAreFreshRandomBytes()
{
    constexpr int kFlows = 10;
    m_server->answerWith(QList<HttpAnswer>(kFlows, {200, kSession}));
    QByteArray all;
    QSet<QByteArray> verifiers;
    for (int i = 0; i < kFlows; ++i) {
        QCOMPARE(visit(startFlow(), get("/callback?code=c")), kSuccessResponse);
        QTRY_COMPARE(m_outcomes.size(), i + 1);
        const QByteArray verifier = exchangedVerifier(m_server->requests().last());
        verifiers.insert(verifier);
        const auto bytes = QByteArray::fromBase64Encoding(
            verifier, kBase64Url | QByteArray::AbortOnBase64DecodingErrors);
        QVERIFY(bytes);
        QCOMPARE(bytes.decoded.size(), 32);
        all += bytes.decoded;
    }
    QCOMPARE(verifiers.size(), kFlows);
    // Of 320 bytes about 229 different ones are there, and less than 150 practically never.
    QVERIFY(QSet<char>(all.cbegin(), all.cend()).size() >= 150);
}

void OAuthTest::callbacks_data()
{
    QTest::addColumn<QByteArray>("path");
    QTest::addColumn<QString>("expected");
    const QString denied = u"failed: denied"_s;
    QTest::newRow("code") << "/callback?code=c"_ba << kEmptySuccess;
    QTest::newRow("code among others") << "/callback?a=1&code=c&state=s"_ba << kEmptySuccess;
    QTest::newRow("first of two codes counts") << "/callback?code=c&code=d"_ba << kEmptySuccess;
    QTest::newRow("error") << "/callback?error_description=denied"_ba << denied;
    QTest::newRow("error and code") << "/callback?code=c&error_description=denied"_ba << denied;
    QTest::newRow("error before the code")
        << "/callback?error_description=denied&code=c"_ba << denied;
    QTest::newRow("empty error and code")
        << "/callback?error_description=&code=c"_ba << kEmptySuccess;
    QTest::newRow("error without a description")
        << "/callback?error=access_denied"_ba << kCancelled;
    QTest::newRow("error without a description, and code")
        << "/callback?error=access_denied&code=c"_ba << kEmptySuccess;
    QTest::newRow("empty code") << "/callback?code="_ba << kCancelled;
    QTest::newRow("code without a value") << "/callback?code"_ba << kCancelled;
    QTest::newRow("other keys alone")
        << "/callback?codes=c&xcode=d&Code=e&state=s"_ba << kCancelled;
    QTest::newRow("empty query") << "/callback?"_ba << kCancelled;
    QTest::newRow("no query") << "/callback"_ba << kCancelled;
    QTest::newRow("code in the fragment") << "/callback#code=c"_ba << kCancelled;
    QTest::newRow("code in the path") << "/callback/code=c"_ba << kCancelled;
    QTest::newRow("code as a value") << "/callback?next=code=c"_ba << kCancelled;
    QTest::newRow("semicolons don't separate") << "/callback?a=1;code=c"_ba << kCancelled;
}

void OAuthTest::callbacks()
{
    QFETCH(QByteArray, path);
    QFETCH(QString, expected);
    const bool succeeds = expected == kEmptySuccess;
    m_server->answerWith({{200, ""}});
    if (expected == u"failed: denied"_s) {
        QTest::ignoreMessage(QtWarningMsg, "OAuth provider error: denied");
    }
    const quint16 port = startFlow();
    QCOMPARE(visit(port, get(path)), succeeds ? kSuccessResponse : kFailureResponse);
    QCOMPARE(outcome(), expected);
    QCOMPARE(m_server->requests().size(), succeeds ? 1 : 0);
    if (succeeds) {
        QVERIFY(m_server->requests().first().body.startsWith(R"({"auth_code":"c",)"));
    }
    QVERIFY(isRefused(port));
}

void OAuthTest::codesAreReadAsAQuery_data()
{
    QTest::addColumn<QByteArray>("sent");
    QTest::addColumn<QString>("code");
    QTest::newRow("UUID") << "0b5c3d1e-9f7a-4c62-8c1d-2a9f3e4b5d6c"_ba
                          << u"0b5c3d1e-9f7a-4c62-8c1d-2a9f3e4b5d6c"_s;
    QTest::newRow("encoded letters and digits") << "%61%42%39"_ba << u"aB9"_s;
    QTest::newRow("encoded dash and tilde") << "a%2Db%7Ec"_ba << u"a-b~c"_s;
    QTest::newRow("umlaut in UTF-8") << "%C3%BC"_ba << u"ü"_s;
    QTest::newRow("umlaut as it is") << "ü"_ba << u"ü"_s;
    QTest::newRow("blank") << "a%20b"_ba << u"a b"_s;
    QTest::newRow("plus stays plus") << "a+b"_ba << u"a+b"_s;
    QTest::newRow("slash") << "4/0Ab"_ba << u"4/0Ab"_s;
    QTest::newRow("equals sign") << "YQ=="_ba << u"YQ=="_s;
    QTest::newRow("characters that separate") << "a%26b%3Dc%23d"_ba << u"a&b=c#d"_s;
    QTest::newRow("quotation mark") << "a%22b"_ba << u"a\"b"_s;
    QTest::newRow("long") << QByteArray(4000, 'c') << QString(4000, u'c');
}

void OAuthTest::codesAreReadAsAQuery()
{
    QFETCH(QByteArray, sent);
    m_server->answerWith({{200, kSession}});
    QCOMPARE(visit(startFlow(), get("/callback?code=" + sent)), kSuccessResponse);
    QCOMPARE(outcome(), kSuccess);
    QTEST(QJsonDocument::fromJson(m_server->requests().first().body)["auth_code"_L1].toString(),
        "code");
}

void OAuthTest::errorDescriptionsAreDecoded_data()
{
    QTest::addColumn<QByteArray>("sent");
    QTest::addColumn<QString>("message");
    QTest::newRow("word") << "denied"_ba << u"denied"_s;
    QTest::newRow("blanks") << "User%20denied%20access"_ba << u"User denied access"_s;
    QTest::newRow("plus stays plus") << "User+denied"_ba << u"User+denied"_s;
    QTest::newRow("encoded plus") << "a%2Bb"_ba << u"a+b"_s;
    QTest::newRow("small and capital digits") << "%c3%bc%C3%BC"_ba << u"üü"_s;
    QTest::newRow("three and four bytes") << "%E2%9C%93%F0%9F%8E%A4"_ba << u"✓\U0001F3A4"_s;
    QTest::newRow("characters that separate") << "a%26b%3Dc%23d%3Fe%2Ff"_ba << u"a&b=c#d?e/f"_s;
    QTest::newRow("quotation marks and brackets") << "%22%3Cb%3E%22%27"_ba << u"\"<b>\"'"_s;
    QTest::newRow("line feed and NUL") << "a%0D%0Ab%00c"_ba << u"a\r\nb\0c"_s;
    QTest::newRow("percent sign") << "100%25"_ba << u"100%"_s;
    QTest::newRow("decoded once") << "a%2520b%252541"_ba << u"a%20b%2541"_s;
    QTest::newRow("no UTF-8") << "a%FFb%C3"_ba << u"a\uFFFDb\uFFFD"_s;
    QTest::newRow("equals sign") << "a=b"_ba << u"a=b"_s;
    QTest::newRow("long") << QByteArray(4000, 'd') << QString(4000, u'd');
}

void OAuthTest::errorDescriptionsAreDecoded()
{
    QFETCH(QByteArray, sent);
    QFETCH(QString, message);
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"^OAuth provider error: "_s));
    QCOMPARE(visit(startFlow(), get("/callback?error_description=" + sent)), kFailureResponse);
    QCOMPARE(outcome(), "failed: "_L1 + message);
    QCOMPARE(m_server->requests().size(), 0);
}

void OAuthTest::firstRequestCountsWhateverItIs_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::newRow("at the root") << "GET /?code=c HTTP/1.1\r\n\r\n"_ba;
    QTest::newRow("elsewhere") << "GET /a/b.html?code=c HTTP/1.1\r\n\r\n"_ba;
    QTest::newRow("icon with a code") << "GET /favicon.ico?code=c HTTP/1.1\r\n\r\n"_ba;
    QTest::newRow("POST with a body")
        << "POST /callback?code=c HTTP/1.1\r\nContent-Length: 6\r\n\r\ncode=d"_ba;
    QTest::newRow("HEAD") << "HEAD /callback?code=c HTTP/1.1\r\n\r\n"_ba;
    QTest::newRow("unknown method") << "BREW /callback?code=c HTTP/1.1\r\n\r\n"_ba;
    QTest::newRow("old version") << "GET /callback?code=c HTTP/1.0\r\n\r\n"_ba;
    QTest::newRow("no version") << "GET /callback?code=c\r\n\r\n"_ba;
    QTest::newRow("another host") << "GET /?code=c HTTP/1.1\r\nHost: example.org\r\n\r\n"_ba;
    QTest::newRow("path that makes a wrong address") << "GET [::1?code=c HTTP/1.1\r\n\r\n"_ba;
    QTest::newRow("path that makes a wrong port") << "GET :99999/?code=c HTTP/1.1\r\n\r\n"_ba;
    QTest::newRow("path that makes a password") << "GET @/?code=c HTTP/1.1\r\n\r\n"_ba;
    QTest::newRow("query alone") << "GET ?code=c HTTP/1.1\r\n\r\n"_ba;
    QTest::newRow("whole address") << "GET http://127.0.0.1/callback?code=c HTTP/1.1\r\n\r\n"_ba;
    QTest::newRow("NUL in the path") << "GET /\0?code=c HTTP/1.1\r\n\r\n"_ba;
    QTest::newRow("no UTF-8 in the path") << "GET /\xff\xc3?code=c&x=\xfe HTTP/1.1\r\n\r\n"_ba;
    QTest::newRow("wrong percent encoding in the path")
        << "GET /%?code=c&x=%zz HTTP/1.1\r\n\r\n"_ba;
    QTest::newRow("blanks around") << " GET /callback?code=c HTTP/1.1 \r\n\r\n"_ba;
    QTest::newRow("line feed alone after the first line")
        << "GET /callback?code=c\nHost: h\r\n\r\n"_ba;
}

void OAuthTest::firstRequestCountsWhateverItIs()
{
    QFETCH(QByteArray, request);
    m_server->answerWith({{200, kSession}});
    QCOMPARE(visit(startFlow(), request), kSuccessResponse);
    QCOMPARE(outcome(), kSuccess);
    QVERIFY(m_server->requests().first().body.startsWith(R"({"auth_code":"c",)"));
}

void OAuthTest::iconThatIsAskedForFirstEndsTheFlow()
{
    const quint16 port = startFlow();
    QCOMPARE(visit(port, get("/favicon.ico")), kFailureResponse);
    QVERIFY(isRefused(port));
    QCOMPARE(m_outcomes, QStringList{kCancelled});
}

void OAuthTest::earlierSocketIsServedAfterTheFirstAnswer()
{
    m_server->answerWith({{200, kSession}});
    const quint16 port = startFlow();
    const auto early = connectTo(port);
    QTRY_COMPARE(acceptedSockets(), 1);
    QCOMPARE(visit(port, get("/favicon.ico")), kFailureResponse);
    QCOMPARE(outcome(), kCancelled);
    early->write(get("/callback?code=c"));
    QCOMPARE(readToEnd(*early), kSuccessResponse);
    QTRY_COMPARE(m_outcomes, (QStringList{kCancelled, kSuccess}));
}

void OAuthTest::connectionThatBreaksDoesntEndTheFlow()
{
    m_server->answerWith({{200, kSession}});
    const quint16 port = startFlow();
    auto early = connectTo(port);
    QTRY_COMPARE(acceptedSockets(), 1);
    // The number of a connection that the other side has closed.
    QTest::ignoreMessage(QtWarningMsg, "OAuth socket error: 1");
    early.reset();
    QTRY_COMPARE(acceptedSockets(), 0);
    QCOMPARE(m_outcomes, QStringList());
    QCOMPARE(visit(port, get("/callback?code=c")), kSuccessResponse);
    QCOMPARE(outcome(), kSuccess);
}

void OAuthTest::browserIsOpenedByXdgOpenAsAFallback()
{
    QDesktopServices::unsetUrlHandler(u"http"_s);
    const ScriptedTools tools(homePath(u"bin"_s));
    tools.install(u"xdg-open"_s);
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"QPlatformServices::openUrl\\(\\)"_s));
    QTest::ignoreMessage(
        QtWarningMsg, "OAuth: QDesktopServices::openUrl failed — falling back to xdg-open");
    m_server->answerWith({{200, kSession}});
    m_client->startOAuth(u"google"_s);
    QTRY_COMPARE(tools.runs().size(), 1);
    const QStringList words = tools.runs().first().split(u'|');
    QCOMPARE(words.size(), 2);
    m_opened.append(QUrl(words[1]));
    QCOMPARE(words[1],
        m_server->url()
            + u"/auth/v1/authorize?provider=google&redirect_to=http://127.0.0.1:%1/callback"
              "&flow_type=pkce&code_challenge=%2&code_challenge_method=S256"_s.arg(
                  QString::number(redirectPort()), QString::fromLatin1(challenge())));
    QCOMPARE(visit(redirectPort(), get("/callback?code=c")), kSuccessResponse);
    QCOMPARE(outcome(), kSuccess);
}

void OAuthTest::logOfAFlow_data()
{
    QTest::addColumn<QByteArray>("path");
    QTest::addColumn<QStringList>("rest");
    QTest::newRow("success") << "/callback?code=c"_ba
                             << QStringList{u"info: OAuth: got auth code, exchanging via PKCE..."_s,
                                    u"info: Exchanging auth code for session via PKCE..."_s,
                                    u"info: Auth success — user: me@example.org"_s};
    QTest::newRow("provider's error") << "/callback?error_description=a%20b"_ba
                                      << QStringList{u"warning: OAuth provider error: a b"_s};
    QTest::newRow("cancelled") << "/favicon.ico"_ba << QStringList();
}

void OAuthTest::logOfAFlow()
{
    QFETCH(QByteArray, path);
    QFETCH(QStringList, rest);
    m_server->answerWith({{200, kSession}});
    if (rest.size() == 1) {
        QTest::ignoreMessage(QtWarningMsg, "OAuth provider error: a b");
    }
    const RecordedLog log;
    const quint16 port = startFlow();
    visit(port, get(path));
    QVERIFY(outcome() != u"(nothing)"_s);
    QCOMPARE(log.lines(),
        (QStringList{"info: OAuth listener bound on 127.0.0.1: "_L1 + QString::number(port),
             "info: OAuth: opening browser to "_L1 + m_opened.first().toString(),
             u"info: OAuth: incoming connection"_s,
             "info: OAuth callback path: "_L1 + QString::fromUtf8(path)}
            + rest));
}

void OAuthTest::logHoldsNeitherVerifierNorTokens()
{
    m_server->answerWith({{200, kSession}, {400, "{}"}});
    expectHttpWarning(400, "{}");
    const RecordedLog log;
    for (int i = 1; i <= 2; ++i) {
        QCOMPARE(visit(startFlow(), get("/callback?code=c")), kSuccessResponse);
        QTRY_COMPARE(m_outcomes.size(), i);
    }
    const QString all = log.lines().join(u'\n');
    QVERIFY(all.contains("Auth success"_L1));
    for (const QByteArray& secret : {"the-access-token"_ba, "the-refresh-token"_ba, "the-key"_ba,
             exchangedVerifier(m_server->requests().first()),
             exchangedVerifier(m_server->requests().last())}) {
        QVERIFY2(!all.contains(QLatin1StringView(secret)), qPrintable(all));
    }
}

QTEST_MAIN(OAuthTest)
#include "OAuthTest.moc"
