#include "app/AccountRequests.h"
#include "app/Logging.h"
#include "dictation/OverlayStateModel.h"
#include "storage/SettingsStore.h"
#include "support/BuiltInWorker.h"
#include "support/TarqTest.h"

#include <QDebug>
#include <QDir>
#include <QNetworkAccessManager>
#include <QUrl>

using namespace Qt::StringLiterals;

// What goes to the worker that the program was built for stays there, wherever it points: a
// redirect is an answer without an error.
class WorkerRedirectsTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void exportIsTheAnswerItself_data();
    void exportIsTheAnswerItself();
    void deletionIsDone_data();
    void deletionIsDone();
    void endOfASessionIsNotCarriedOn_data();
    void endOfASessionIsNotCarriedOn();
    void crashReportIsNotCarriedOn_data();
    void crashReportIsNotCarriedOn();

private:
    static void addRedirects();
    void redirect();
    void verifyNothingIsCarriedOn();
    static void report(const char* message);

    std::unique_ptr<HttpServer> m_worker;
    std::unique_ptr<HttpServer> m_other;
    std::unique_ptr<SettingsStore> m_settings;
    std::unique_ptr<OverlayStateModel> m_overlay;
};

void WorkerRedirectsTest::init()
{
    TarqTest::init();
    m_worker = startBuiltInWorker();
    m_other = std::make_unique<HttpServer>();
    m_other->answerWith({{200, "from elsewhere"}});
    m_settings = std::make_unique<SettingsStore>();
    QVERIFY(m_settings->ensureScaffold(nullptr));
    SettingsStore::AuthTokens tokens;
    tokens.accessToken = u"the-token"_s;
    m_settings->saveAuthTokens(tokens);
    m_overlay = std::make_unique<OverlayStateModel>();
}

void WorkerRedirectsTest::cleanup()
{
    m_overlay.reset();
    m_settings.reset();
    m_other.reset();
    m_worker.reset();
    TarqTest::cleanup();
}

void WorkerRedirectsTest::addRedirects()
{
    QTest::addColumn<int>("status");
    for (const int status : {301, 302, 303, 307, 308}) {
        QTest::addRow("%d", status) << status;
    }
}

void WorkerRedirectsTest::redirect()
{
    QFETCH(int, status);
    m_worker->answerWith(
        {{.raw = "HTTP/1.1 " + QByteArray::number(status) + " Elsewhere\r\nLocation: "
                 + m_other->url().toUtf8() + "/there\r\nContent-Length: 9\r\n\r\nelsewhere"},
            {200, "from there"}});
}

void WorkerRedirectsTest::verifyNothingIsCarriedOn()
{
    QTRY_COMPARE(m_worker->requests().size(), 1);
    // The managers that belong to a request go when it has been answered.
    QTRY_VERIFY(QCoreApplication::instance()->findChildren<QNetworkAccessManager*>().isEmpty());
    QTRY_VERIFY(m_worker->isIdle());
    QCOMPARE(m_worker->requests().size(), 1);
    QCOMPARE(m_other->requests().size(), 0);
}

void WorkerRedirectsTest::report(const char* message)
{
    const QtMessageHandler testHandler = qInstallMessageHandler(nullptr);
    installMessageHandler();
    qCritical("%s", message);
    qInstallMessageHandler(testHandler);
}

void WorkerRedirectsTest::exportIsTheAnswerItself_data()
{
    addRedirects();
}

void WorkerRedirectsTest::exportIsTheAnswerItself()
{
    redirect();
    exportAccountData(*m_settings, *m_overlay);
    QTRY_VERIFY(m_overlay->lastError().startsWith("Export saved to "_L1));
    verifyNothingIsCarriedOn();
    const QDir downloads(homePath(u"Downloads"_s));
    QCOMPARE(
        readFile(downloads.filePath(downloads.entryList(QDir::Files).value(0))), "elsewhere"_ba);
}

void WorkerRedirectsTest::deletionIsDone_data()
{
    addRedirects();
}

void WorkerRedirectsTest::deletionIsDone()
{
    redirect();
    QSignalSpy logout(m_overlay.get(), &OverlayStateModel::logoutRequested);
    deleteAccount(*m_settings, *m_overlay);
    QVERIFY(logout.wait());
    verifyNothingIsCarriedOn();
}

void WorkerRedirectsTest::endOfASessionIsNotCarriedOn_data()
{
    addRedirects();
}

void WorkerRedirectsTest::endOfASessionIsNotCarriedOn()
{
    redirect();
    endServerSession(u"the-token"_s);
    verifyNothingIsCarriedOn();
}

void WorkerRedirectsTest::crashReportIsNotCarriedOn_data()
{
    addRedirects();
}

void WorkerRedirectsTest::crashReportIsNotCarriedOn()
{
    redirect();
    report("what happened");
    QTRY_COMPARE(m_worker->requests().size(), 1);
    // By the time that the next one has been answered, the first would have been carried on.
    report("what happened next");
    QTRY_COMPARE(m_worker->requests().size(), 2);
    QTRY_VERIFY(m_worker->isIdle());
    QCOMPARE(m_worker->requests().last().target, "/v1/crash-report"_ba);
    QCOMPARE(m_other->requests().size(), 0);
}

QTEST_GUILESS_MAIN(WorkerRedirectsTest)
#include "WorkerRedirectsTest.moc"
