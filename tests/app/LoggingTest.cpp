#include "app/Logging.h"
#include "support/BuiltInWorker.h"
#include "support/TarqTest.h"

#include <QDebug>

#include <cstdio>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

// The bytes that `log` puts on the standard error stream.
template <typename Log> QByteArray standardErrorOf(const QString& path, Log log)
{
    std::fflush(stderr);
    const int saved = ::dup(STDERR_FILENO);
    FILE* file = std::fopen(QFile::encodeName(path).constData(), "w");
    ::dup2(::fileno(file), STDERR_FILENO);
    log();
    std::fflush(stderr);
    ::dup2(saved, STDERR_FILENO);
    ::close(saved);
    std::fclose(file);
    QFile written(path);
    return written.open(QIODevice::ReadOnly) ? written.readAll() : QByteArray();
}

} // namespace

class LoggingTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void lineHasLevelTextAndPosition_data();
    void lineHasLevelTextAndPosition();
    void positionOfAContextIsNamed();
    void criticalMessageIsReported_data();
    void criticalMessageIsReported();
    void placeMarkerInAMessageIsFilled_data();
    void placeMarkerInAMessageIsFilled();
    void positionIsReported();
    void reportGoesToTheWorkerOfTheBuild();
    void longMessageIsLoggedWhole();
    void everyCriticalMessageIsReported();
    void otherLevelsAreNotReported();

private:
    // Logs by the handler under test, and gives what it writes.
    template <typename Log> QByteArray logged(Log log);
    // The body of the report of one critical message.
    QByteArray reported(const QString& message);

    std::unique_ptr<HttpServer> m_worker;
};

void LoggingTest::init()
{
    TarqTest::init();
    m_worker = startBuiltInWorker();
    m_worker->answerWith({{204, ""}, {204, ""}, {204, ""}});
    QCoreApplication::setApplicationVersion(u"0.1.1"_s);
}

void LoggingTest::cleanup()
{
    QTRY_VERIFY(m_worker->isIdle());
    m_worker.reset();
    TarqTest::cleanup();
}

template <typename Log> QByteArray LoggingTest::logged(Log log)
{
    const QtMessageHandler testHandler = qInstallMessageHandler(nullptr);
    installMessageHandler();
    const QByteArray written = standardErrorOf(homePath(u"log"_s), log);
    qInstallMessageHandler(testHandler);
    return written;
}

QByteArray LoggingTest::reported(const QString& message)
{
    QSignalSpy received(m_worker.get(), &HttpServer::requestReceived);
    logged([&]() { qCritical().noquote() << message; });
    return received.wait() ? m_worker->requests().last().body : QByteArray();
}

void LoggingTest::lineHasLevelTextAndPosition_data()
{
    QTest::addColumn<QtMsgType>("type");
    QTest::addColumn<QByteArray>("line");
    QTest::newRow("info") << QtInfoMsg << "[4] grün (?:0)\n"_ba;
    QTest::newRow("warning") << QtWarningMsg << "[1] grün (?:0)\n"_ba;
    QTest::newRow("critical") << QtCriticalMsg << "[2] grün (?:0)\n"_ba;
}

void LoggingTest::lineHasLevelTextAndPosition()
{
    QFETCH(QtMsgType, type);
    QFETCH(QByteArray, line);
    const QByteArray written = logged([type]() {
        switch (type) {
        case QtWarningMsg:
            qWarning().noquote() << u"grün"_s;
            break;
        case QtCriticalMsg:
            qCritical().noquote() << u"grün"_s;
            break;
        default:
            qInfo().noquote() << u"grün"_s;
            break;
        }
    });
    QCOMPARE(written, line);
}

void LoggingTest::positionOfAContextIsNamed()
{
    const QByteArray written
        = logged([]() { QMessageLogger("qml/Main.qml", 12, "").info("from elsewhere"); });
    QCOMPARE(written, "[4] from elsewhere (qml/Main.qml:12)\n"_ba);
}

void LoggingTest::criticalMessageIsReported_data()
{
    QTest::addColumn<QString>("message");
    QTest::addColumn<QByteArray>("inReport");
    const QString astral = QString::fromUcs4(U"\U0001F600", 1);
    QTest::newRow("plain") << u"grün"_s << "grün"_ba;
    QTest::newRow("empty") << QString() << QByteArray();
    QTest::newRow("quotes") << u"say \"hi\""_s << R"(say \"hi\")"_ba;
    QTest::newRow("quotes add to the length")
        << QString(600, u'"') << QByteArray("\\\"").repeated(512);
    QTest::newRow("cut between a backslash and its quote")
        << QString(1023, u'a') + u'"' << QByteArray(1023, 'a') + '\\';
    QTest::newRow("1024 characters") << QString(1024, u'a') << QByteArray(1024, 'a');
    QTest::newRow("2000 characters") << QString(2000, u'a') << QByteArray(1024, 'a');
    QTest::newRow("backslash and control characters") << u"a\\b\nc\td"_s << "a\\b\nc\td"_ba;
    QTest::newRow("pairs at the cut") << astral.repeated(600) << astral.repeated(512).toUtf8();
    QTest::newRow("cut within a pair")
        << u'a' + astral.repeated(600) << "a" + astral.repeated(511).toUtf8() + "?";
}

void LoggingTest::criticalMessageIsReported()
{
    QFETCH(QString, message);
    QFETCH(QByteArray, inReport);
    QCOMPARE(reported(message),
        R"({"app":"tarq-linux","version":"0.1.1","platform":"linux","message":")" + inReport
            + R"(","stack":"?:0"})");
}

void LoggingTest::placeMarkerInAMessageIsFilled_data()
{
    QTest::addColumn<QString>("message");
    QTest::addColumn<QByteArray>("tail");
    QTest::newRow("of what comes later") << u"at %3, %4"_s << R"("at ?, 0","stack":"?:0"})"_ba;
    QTest::newRow("before what comes later") << u"%1%2"_s << R"("?0","stack":"%3:%4"})"_ba;
    QTest::newRow("behind what comes later") << u"%5"_s << R"("%5","stack":"?:0"})"_ba;
}

void LoggingTest::placeMarkerInAMessageIsFilled()
{
    QFETCH(QString, message);
    QFETCH(QByteArray, tail);
    const QByteArray body = reported(message);
    QVERIFY2(body.endsWith(R"("message":)" + tail), body);
}

void LoggingTest::positionIsReported()
{
    QSignalSpy received(m_worker.get(), &HttpServer::requestReceived);
    logged([]() { QMessageLogger("qml/Main.qml", 12, "").critical("from elsewhere"); });
    QVERIFY(received.wait());
    QVERIFY(m_worker->requests().last().body.endsWith(R"("stack":"qml/Main.qml:12"})"));
}

void LoggingTest::reportGoesToTheWorkerOfTheBuild()
{
    const ScopedVariable workerUrl("WORKER_URL", "http://127.0.0.1:9");
    reported(u"x"_s);
    QCOMPARE(m_worker->requests().size(), 1);
    const HttpRequest request = m_worker->requests().first();
    QCOMPARE(request.method, "POST"_ba);
    QCOMPARE(request.target, "/v1/crash-report"_ba);
    QCOMPARE(request.headers.value("content-type"), "application/json"_ba);
    QVERIFY(!request.headers.contains("authorization"));
}

void LoggingTest::longMessageIsLoggedWhole()
{
    const QByteArray written = logged([]() { qCritical().noquote() << QString(2000, u'a'); });
    QCOMPARE(written, "[2] " + QByteArray(2000, 'a') + " (?:0)\n");
    QTRY_COMPARE(m_worker->requests().size(), 1);
}

void LoggingTest::everyCriticalMessageIsReported()
{
    logged([]() {
        qCritical("the same");
        qCritical("the same");
        qCritical("the same");
    });
    QTRY_COMPARE(m_worker->requests().size(), 3);
}

void LoggingTest::otherLevelsAreNotReported()
{
    logged([]() {
        qInfo("x");
        qWarning("x");
        qDebug("x");
    });
    // Had they been, they would arrive first.
    QVERIFY(reported(u"y"_s).contains(R"("message":"y")"));
    QCOMPARE(m_worker->requests().size(), 1);
}

QTEST_GUILESS_MAIN(LoggingTest)
#include "LoggingTest.moc"
