#include "Deployment.h"
#include "dictation/TranscriptionTest.h"

#include <QElapsedTimer>
#include <QNetworkReply>
#include <QNetworkRequest>

using namespace Qt::StringLiterals;

namespace {

HttpHeaders fieldHeaders(const QByteArray& name)
{
    return {{"content-disposition"_ba, "form-data; name=\"" + name + '"'}};
}

HttpHeaders fileHeaders(const QByteArray& disposition)
{
    return {{"content-disposition"_ba, disposition}, {"content-type"_ba, "audio/wav"_ba}};
}

} // namespace

class TranscriptionClientTest final : public TranscriptionTest
{
    Q_OBJECT

private slots:
    void requestHasTheFormOfTheEndpoint();
    void fileIsReadAndNeverTouched();
    void blankTokenSendsNothing();
    void tokenIsSentTrimmed();
    void tokenWithALineBreakAddsNoHeader();
    void fileNameStaysInsideItsQuotes();
    void languagePart_data();
    void languagePart();
    void missingFileFailsAtOnce();
    void fileRemovedBetweenAttemptsEndsTheRetries();
    void answers_data();
    void answers();
    void refusedTokenExpiresTheSession();
    void refusedTokenOnARetryEndsTheSequence();
    void threeServerErrorsFailWithTheThirdBody();
    void temporaryStatusesAreTriedAgain_data();
    void temporaryStatusesAreTriedAgain();
    void droppedConnectionsFailWithStatusZero();
    void deadServerFailsWithStatusZero();
    void longBodyIsCutAt240Bytes();
    void cutInsideACharacterLeavesAReplacement();
    void emptyErrorBodyGivesTheErrorString();
    void workerUrlIsReadForEachRequest();
    void trailingSlashOfTheWorkerUrlStays();
    void unsetWorkerUrlMeansTheDeployedWorker();
    void transferTimesOutAfterAMinute();
    void retryKeepsItsToken();
    void destructionWhileWaitingIsSafe();
};

void TranscriptionClientTest::requestHasTheFormOfTheEndpoint()
{
    m_server->answerWith({{200, R"({"text":"hello"})"}});
    transcribe();
    QCOMPARE(outcome(), u"finished: hello"_s);

    QCOMPARE(m_server->requests().size(), 1);
    const HttpRequest& request = m_server->requests().first();
    QCOMPARE(request.method, "POST"_ba);
    QCOMPARE(request.target, "/v1/audio/transcriptions"_ba);
    QCOMPARE(request.headers.value("authorization"), "Bearer the-token"_ba);
    QVERIFY(request.headers.value("content-type").startsWith("multipart/form-data; boundary="));

    const QList<FormPart> parts = request.formParts();
    QCOMPARE(parts.size(), 3);
    QCOMPARE(parts[0].headers, fieldHeaders("model"));
    QCOMPARE(parts[0].body, "whisper-large-v3-turbo"_ba);
    QCOMPARE(parts[1].headers, fieldHeaders("response_format"));
    QCOMPARE(parts[1].body, "json"_ba);
    QCOMPARE(
        parts[2].headers, fileHeaders(R"(form-data; name="file"; filename="tarq-linux-1.wav")"));
    QCOMPARE(parts[2].body, "RIFF of a speech"_ba);
}

void TranscriptionClientTest::fileIsReadAndNeverTouched()
{
    m_server->answerWith({{200, R"({"text":"hello"})"}});
    transcribe();
    QCOMPARE(outcome(), u"finished: hello"_s);
    QCOMPARE(readFile(homePath(u"tarq-linux-1.wav"_s)), "RIFF of a speech"_ba);
}

void TranscriptionClientTest::blankTokenSendsNothing()
{
    transcribe(u" \t\n"_s);
    QCOMPARE(m_outcomes, QStringList{u"failed: Not authenticated"_s});
    QCoreApplication::processEvents();
    QCOMPARE(m_server->requests().size(), 0);
}

void TranscriptionClientTest::tokenIsSentTrimmed()
{
    m_server->answerWith({{200, R"({"text":"hello"})"}});
    transcribe(u"  the-token\n"_s);
    QCOMPARE(outcome(), u"finished: hello"_s);
    QCOMPARE(m_server->requests().first().headers.value("authorization"), "Bearer the-token"_ba);
}

void TranscriptionClientTest::tokenWithALineBreakAddsNoHeader()
{
    m_server->answerWith({{200, R"({"text":"hello"})"}});
    transcribe(u"the-token\r\nX-Other: 1\r\n\r\nGET / HTTP/1.1"_s);
    QCOMPARE(outcome(), u"finished: hello"_s);
    QCOMPARE(m_server->requests().size(), 1);
    const HttpRequest& request = m_server->requests().first();
    QCOMPARE(request.headers.value("authorization"),
        "Bearer the-token  X-Other: 1    GET / HTTP/1.1"_ba);
    QVERIFY(!request.headers.contains("x-other"));
}

void TranscriptionClientTest::fileNameStaysInsideItsQuotes()
{
    const QString path = homePath(u"a\"; name=\"model\"\r\nX: 1.wav"_s);
    writeFile(path, "RIFF of a speech"_ba);
    m_server->answerWith({{200, R"({"text":"hello"})"}});
    m_client->transcribe(path, u"the-token"_s);
    QCOMPARE(outcome(), u"finished: hello"_s);
    const QList<FormPart> parts = m_server->requests().first().formParts();
    QCOMPARE(parts.size(), 3);
    QCOMPARE(parts[2].headers,
        fileHeaders(R"(form-data; name="file"; filename="a%22; name=%22model%22%0D%0AX: 1.wav")"));
}

void TranscriptionClientTest::languagePart_data()
{
    QTest::addColumn<QString>("language");
    QTest::addColumn<QByteArray>("sent");
    QTest::newRow("automatic") << u"auto"_s << QByteArray();
    QTest::newRow("nothing") << u""_s << QByteArray();
    QTest::newRow("blanks") << u"   "_s << QByteArray();
    QTest::newRow("automatic with blanks") << u" auto "_s << QByteArray();
    QTest::newRow("code with blanks") << u" de\n"_s << "de"_ba;
    QTest::newRow("capitals are a language") << u"AUTO"_s << "AUTO"_ba;
}

void TranscriptionClientTest::languagePart()
{
    QFETCH(QString, language);
    QFETCH(QByteArray, sent);
    m_server->answerWith({{200, R"({"text":"hello"})"}});
    m_client->setLanguage(u"fr"_s);
    m_client->setLanguage(language);
    transcribe();
    QCOMPARE(outcome(), u"finished: hello"_s);
    const QList<FormPart> parts = m_server->requests().first().formParts();
    if (sent.isEmpty()) {
        QCOMPARE(parts.size(), 3);
    } else {
        QCOMPARE(parts.size(), 4);
        QCOMPARE(parts[2].headers, fieldHeaders("language"));
        QCOMPARE(parts[2].body, sent);
    }
}

void TranscriptionClientTest::missingFileFailsAtOnce()
{
    const QString path = homePath(u"gone.wav"_s);
    m_client->transcribe(path, u"the-token"_s);
    QCOMPARE(m_outcomes, QStringList{u"failed: Cannot open audio file: "_s + path});
    QCoreApplication::processEvents();
    QCOMPARE(m_server->requests().size(), 0);
}

void TranscriptionClientTest::fileRemovedBetweenAttemptsEndsTheRetries()
{
    m_server->answerWith({{500, "down"}});
    expectRetryWarning(1, u"1000"_s);
    const QString path = homePath(u"tarq-linux-1.wav"_s);
    connect(m_server.get(), &HttpServer::requestReceived, this, [&]() { QFile::remove(path); });
    transcribe();
    QCOMPARE(outcome(), u"failed: Cannot open audio file: "_s + path);
    QCOMPARE(m_server->requests().size(), 1);
}

void TranscriptionClientTest::answers_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("expected");
    QTest::newRow("text with blanks around")
        << 200 << R"({"text":"  two words \n"})"_ba << u"finished: two words"_s;
    QTest::newRow("created counts as success")
        << 201 << R"({"text":"hello"})"_ba << u"finished: hello"_s;
    QTest::newRow("characters beyond ASCII")
        << 200 << R"({"text":"grüß dich"})"_ba << u"finished: grüß dich"_s;
    QTest::newRow("empty text") << 200 << R"({"text":""})"_ba << u"failed: Empty transcript"_s;
    QTest::newRow("blank text") << 200 << R"({"text":" \t"})"_ba << u"failed: Empty transcript"_s;
    QTest::newRow("empty object") << 200 << "{}"_ba << u"failed: Empty transcript"_s;
    QTest::newRow("array") << 200 << R"([{"text":"hello"}])"_ba << u"failed: Empty transcript"_s;
    QTest::newRow("text is a number") << 200 << R"({"text":7})"_ba << u"failed: Empty transcript"_s;
    QTest::newRow("text is an object")
        << 200 << R"({"text":{"text":"x"}})"_ba << u"failed: Empty transcript"_s;
    QTest::newRow("text is null") << 200 << R"({"text":null})"_ba << u"failed: Empty transcript"_s;
    QTest::newRow("nested text") << 200 << R"({"result":{"text":"x"}})"_ba
                                 << u"failed: Empty transcript"_s;
    QTest::newRow("nothing") << 200 << ""_ba
                             << u"failed: Failed to parse response: illegal value"_s;
    QTest::newRow("no JSON") << 200 << "<html>"_ba
                             << u"failed: Failed to parse response: illegal value"_s;
    QTest::newRow("cut off") << 200 << R"({"text":"hel)"_ba
                             << u"failed: Failed to parse response: unterminated string"_s;
    QTest::newRow("bad request") << 400 << R"({"error":"bad"})"_ba
                                 << u"failed: Request failed (HTTP 400): {\"error\":\"bad\"}"_s;
    QTest::newRow("forbidden") << 403 << "no"_ba << u"failed: Request failed (HTTP 403): no"_s;
    QTest::newRow("too large") << 413 << "big"_ba << u"failed: Request failed (HTTP 413): big"_s;
    QTest::newRow("beyond the server errors")
        << 600 << "odd"_ba << u"failed: Request failed (HTTP 600): odd"_s;
}

void TranscriptionClientTest::answers()
{
    QFETCH(int, status);
    QFETCH(QByteArray, body);
    QFETCH(QString, expected);
    m_server->answerWith({{status, body}});
    transcribe();
    QCOMPARE(outcome(), expected);
    QCOMPARE(m_server->requests().size(), 1);
}

void TranscriptionClientTest::refusedTokenExpiresTheSession()
{
    m_server->answerWith({{401, "who are you"}});
    transcribe();
    QCOMPARE(outcome(), u"expired"_s);
    QCOMPARE(m_server->requests().size(), 1);
}

void TranscriptionClientTest::refusedTokenOnARetryEndsTheSequence()
{
    m_server->answerWith({{503, "busy"}, {401, "expired"}});
    expectRetryWarning(1, u"1000"_s);
    transcribe();
    QCOMPARE(outcome(), u"expired"_s);
    QCOMPARE(m_server->requests().size(), 2);
}

void TranscriptionClientTest::threeServerErrorsFailWithTheThirdBody()
{
    m_server->answerWith({{500, "first"}, {500, "second"}, {500, "third"}});
    expectRetryWarning(1, u"1000"_s);
    expectRetryWarning(2, u"2000"_s);
    QList<qint64> times;
    QElapsedTimer clock;
    clock.start();
    connect(m_server.get(), &HttpServer::requestReceived, this,
        [&]() { times.append(clock.elapsed()); });
    transcribe();
    QCOMPARE(outcome(), u"failed: Request failed (HTTP 500): third"_s);
    QCOMPARE(times.size(), 3);
    // Timers may be five per cent early.
    QVERIFY(times[1] - times[0] >= 940);
    QVERIFY(times[2] - times[1] >= 1890);
    // Each attempt is a whole request.
    for (const HttpRequest& request : m_server->requests()) {
        QCOMPARE(request.formParts().last().body, "RIFF of a speech"_ba);
    }
}

void TranscriptionClientTest::temporaryStatusesAreTriedAgain_data()
{
    QTest::addColumn<int>("status");
    for (const int status : {408, 429, 500, 599}) {
        QTest::addRow("%d", status) << status;
    }
}

void TranscriptionClientTest::temporaryStatusesAreTriedAgain()
{
    QFETCH(int, status);
    m_server->answerWith({{status, "later"}, {200, R"({"text":"hello"})"}});
    expectRetryWarning(1, u"1000"_s);
    transcribe();
    QCOMPARE(outcome(), u"finished: hello"_s);
    QCOMPARE(m_server->requests().size(), 2);
}

void TranscriptionClientTest::droppedConnectionsFailWithStatusZero()
{
    // The network layer sends a dropped request again by itself, so there are more than three.
    HttpAnswer dropped;
    dropped.drop = true;
    m_server->answerWith(QList<HttpAnswer>(100, dropped));
    expectRetryWarning(1, u"1000"_s);
    expectRetryWarning(2, u"2000"_s);
    transcribe();
    const QString ended = outcome();
    QVERIFY2(ended.startsWith("failed: Request failed (HTTP 0): "_L1), qPrintable(ended));
    QVERIFY(m_server->requests().size() >= 3);
}

void TranscriptionClientTest::deadServerFailsWithStatusZero()
{
    m_server->close();
    expectRetryWarning(1, u"1000"_s);
    expectRetryWarning(2, u"2000"_s);
    transcribe();
    QCOMPARE(outcome(), u"failed: Request failed (HTTP 0): Connection refused"_s);
    QCOMPARE(m_server->requests().size(), 0);
}

void TranscriptionClientTest::longBodyIsCutAt240Bytes()
{
    m_server->answerWith({{404, QByteArray(1000, 'x')}});
    transcribe();
    QCOMPARE(outcome(), u"failed: Request failed (HTTP 404): "_s + QString(240, u'x'));
}

void TranscriptionClientTest::cutInsideACharacterLeavesAReplacement()
{
    m_server->answerWith({{404, QByteArray(239, 'x') + "ü and more"}});
    transcribe();
    QCOMPARE(outcome(),
        u"failed: Request failed (HTTP 404): "_s + QString(239, u'x')
            + QChar::ReplacementCharacter);
}

void TranscriptionClientTest::emptyErrorBodyGivesTheErrorString()
{
    m_server->answerWith({{404, ""}});
    transcribe();
    const QString ended = outcome();
    QVERIFY2(ended.startsWith("failed: Request failed (HTTP 404): "_L1), qPrintable(ended));
    QVERIFY2(ended.contains("/v1/audio/transcriptions"_L1), qPrintable(ended));
}

void TranscriptionClientTest::workerUrlIsReadForEachRequest()
{
    m_server->answerWith({{200, R"({"text":"one"})"}, {200, R"({"text":"two"})"}});
    transcribe();
    QCOMPARE(outcome(), u"finished: one"_s);

    m_outcomes.clear();
    qputenv("WORKER_URL", m_server->url().toUtf8() + "/base");
    transcribe();
    QCOMPARE(outcome(), u"finished: two"_s);
    QCOMPARE(m_server->requests().last().target, "/base/v1/audio/transcriptions"_ba);
}

void TranscriptionClientTest::trailingSlashOfTheWorkerUrlStays()
{
    // The request line has one slash less than the URL, which an error names as it stands.
    m_server->answerWith({{404, ""}});
    qputenv("WORKER_URL", m_server->url().toUtf8() + '/');
    transcribe();
    const QString ended = outcome();
    QVERIFY2(ended.contains(m_server->url() + "//v1/audio/transcriptions"_L1), qPrintable(ended));
}

void TranscriptionClientTest::unsetWorkerUrlMeansTheDeployedWorker()
{
    // The request isn't waited for: it would leave the machine.
    const ScopedVariable unset("WORKER_URL", "");
    transcribe();
    const auto* reply = m_client->findChild<QNetworkReply*>();
    QVERIFY(reply != nullptr);
    QCOMPARE(reply->url(), QUrl(Deployment::kWorkerBaseUrl + "/v1/audio/transcriptions"_L1));
}

void TranscriptionClientTest::transferTimesOutAfterAMinute()
{
    HttpAnswer silent;
    silent.silent = true;
    m_server->answerWith({silent});
    transcribe();
    const auto* reply = m_client->findChild<QNetworkReply*>();
    QVERIFY(reply != nullptr);
    QCOMPARE(reply->request().transferTimeout(), 60000);
}

void TranscriptionClientTest::retryKeepsItsToken()
{
    m_server->answerWith({{500, "down"}, {200, R"({"text":"hello"})"}});
    expectRetryWarning(1, u"1000"_s);
    transcribe(u"first"_s);
    QCOMPARE(outcome(), u"finished: hello"_s);
    QCOMPARE(m_server->requests().last().headers.value("authorization"), "Bearer first"_ba);
}

void TranscriptionClientTest::destructionWhileWaitingIsSafe()
{
    HttpAnswer silent;
    silent.silent = true;
    m_server->answerWith({silent});
    QSignalSpy received(m_server.get(), &HttpServer::requestReceived);
    transcribe();
    QVERIFY(received.wait());
    m_client.reset();
    QCoreApplication::processEvents();
    QCOMPARE(m_outcomes, QStringList());
}

QTEST_GUILESS_MAIN(TranscriptionClientTest)
#include "TranscriptionClientTest.moc"
