#include "app/AccountRequests.h"
#include "dictation/OverlayStateModel.h"
#include "storage/SettingsStore.h"
#include "support/BuiltInWorker.h"
#include "support/TarqTest.h"

#include <QCoreApplication>
#include <QDir>
#include <QNetworkAccessManager>
#include <QUrl>

using namespace Qt::StringLiterals;

namespace {

constexpr auto kSaved = "Export saved to "_L1;

} // namespace

// What the user is told of an export of the account, and what has been done by then.
class ExportNoticeTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void noticeComesOnceAndTheFileIsWholeByThen();
    void failureIsToldOnceAndLeavesNoFile();
    void fullDiskIsStillToldAsSaved();
    void earlierNoticeStandsUntilTheAnswer();

private:
    [[nodiscard]] QString notice() const { return m_overlay->lastError(); }
    static bool isOver()
    {
        const auto* application = QCoreApplication::instance();
        return application->findChildren<QNetworkAccessManager*>().isEmpty();
    }
    void ask() { exportAccountData(*m_settings, *m_overlay); }

    std::unique_ptr<HttpServer> m_worker;
    std::unique_ptr<SettingsStore> m_settings;
    std::unique_ptr<OverlayStateModel> m_overlay;
};

void ExportNoticeTest::init()
{
    TarqTest::init();
    m_worker = startBuiltInWorker();
    m_settings = std::make_unique<SettingsStore>();
    QVERIFY(m_settings->ensureScaffold(nullptr));
    SettingsStore::AuthTokens tokens;
    tokens.accessToken = u"the-token"_s;
    m_settings->saveAuthTokens(tokens);
    m_overlay = std::make_unique<OverlayStateModel>();
}

void ExportNoticeTest::cleanup()
{
    QTRY_VERIFY(isOver());
    m_overlay.reset();
    m_settings.reset();
    m_worker.reset();
    TarqTest::cleanup();
}

void ExportNoticeTest::noticeComesOnceAndTheFileIsWholeByThen()
{
    // Smaller than what a file buffers, so that an open one shows nothing of it yet.
    const QByteArray body(1000, 'x');
    m_worker->answerWith({{200, body}});
    QByteArray contentByThen;
    QSignalSpy notices(m_overlay.get(), &OverlayStateModel::lastErrorChanged);
    connect(m_overlay.get(), &OverlayStateModel::lastErrorChanged, this,
        [&]() { contentByThen = readFile(notice().sliced(kSaved.size())); });
    ask();
    QTRY_VERIFY(notice().startsWith(kSaved));
    QCOMPARE(contentByThen, body);
    QCOMPARE(notices.count(), 1);

    // The whole path, and nothing behind it.
    const QDir downloads(homePath(u"Downloads"_s));
    const QStringList files = downloads.entryList(QDir::Files | QDir::Hidden);
    QCOMPARE(files.size(), 1);
    QCOMPARE(notice(), kSaved + downloads.filePath(files.first()));
}

void ExportNoticeTest::failureIsToldOnceAndLeavesNoFile()
{
    m_worker->answerWith({{503, "busy"}});
    QSignalSpy notices(m_overlay.get(), &OverlayStateModel::lastErrorChanged);
    ask();
    QTRY_VERIFY(notice().startsWith("Export failed: "_L1));
    QTRY_VERIFY(isOver());
    QCOMPARE(notices.count(), 1);
    QVERIFY(!QDir(homePath(u"Downloads"_s)).exists());
}

// What was written isn't looked at.
void ExportNoticeTest::fullDiskIsStillToldAsSaved()
{
    m_worker->answerWith({{200, QByteArray(1000, 'x')}});
    const FileSizeLimit full(100);
    ask();
    QTRY_VERIFY(notice().startsWith(kSaved));
}

void ExportNoticeTest::earlierNoticeStandsUntilTheAnswer()
{
    m_overlay->setLastError(u"an old failure"_s);
    m_worker->answerWith({{200, "{}"}});
    QSignalSpy asked(m_worker.get(), &HttpServer::requestReceived);
    ask();
    QCOMPARE(notice(), u"an old failure"_s);
    QVERIFY(asked.wait());
    QCOMPARE(notice(), u"an old failure"_s);
    QTRY_VERIFY(notice().startsWith(kSaved));
}

QTEST_GUILESS_MAIN(ExportNoticeTest)
#include "ExportNoticeTest.moc"
