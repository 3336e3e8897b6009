#include "dictation/TranscriptionTest.h"

using namespace Qt::StringLiterals;

// What a receiver of the client's signals may do to the client, and to what it has lent.
class TranscriptionLifetimeTest final : public TranscriptionTest
{
    Q_OBJECT

private slots:
    void clientMayBeDeletedInItsSignal_data();
    void clientMayBeDeletedInItsSignal();
    void textsMayChangeDuringTheCall();
};

void TranscriptionLifetimeTest::clientMayBeDeletedInItsSignal_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("token");
    QTest::addColumn<QList<HttpAnswer>>("answers");
    const QString missing = u"/nowhere.wav"_s;
    const QString token = u"the-token"_s;
    QTest::newRow("no token") << QString() << QString() << QList<HttpAnswer>();
    QTest::newRow("unreadable file") << missing << token << QList<HttpAnswer>();
    QTest::newRow("finished") << QString() << token << QList<HttpAnswer>{{200, kHello}};
    QTest::newRow("no JSON") << QString() << token << QList<HttpAnswer>{{200, "<html>"}};
    QTest::newRow("refused") << QString() << token << QList<HttpAnswer>{{403, "no"}};
    QTest::newRow("expired") << QString() << token << QList<HttpAnswer>{{401, "no"}};
    QTest::newRow("cut off") << QString() << token
                             << QList<HttpAnswer>{
                                    {.raw = "HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\n{"}};
}

void TranscriptionLifetimeTest::clientMayBeDeletedInItsSignal()
{
    QFETCH(QString, path);
    QFETCH(QString, token);
    QFETCH(QList<HttpAnswer>, answers);
    m_server->answerWith(answers);
    const auto end = [this]() {
        m_client.reset();
    };
    connect(m_client.get(), &GroqTranscriptionClient::transcriptionFinished, this, end);
    connect(m_client.get(), &GroqTranscriptionClient::transcriptionFailed, this, end);
    connect(m_client.get(), &GroqTranscriptionClient::authExpired, this, end);
    m_client->transcribe(path.isEmpty() ? recording() : path, token);
    QVERIFY(outcome() != u"(nothing)"_s);
    QVERIFY(m_client == nullptr);
    QCOMPARE(m_outcomes.size(), 1);
}

void TranscriptionLifetimeTest::textsMayChangeDuringTheCall()
{
    QString path = u"/nowhere.wav"_s;
    QString token = u"the-token"_s;
    QStringList heard;
    connect(m_client.get(), &GroqTranscriptionClient::transcriptionFailed, this, [&]() {
        path.clear();
        token.clear();
    });
    connect(m_client.get(), &GroqTranscriptionClient::transcriptionFailed, this,
        [&](const QString& error) { heard << error; });
    m_client->transcribe(path, token);
    QCOMPARE(heard, QStringList{u"Cannot open audio file: /nowhere.wav"_s});
}

QTEST_GUILESS_MAIN(TranscriptionLifetimeTest)
#include "TranscriptionLifetimeTest.moc"
