#include "app/AccountRequests.h"
#include "dictation/OverlayStateModel.h"
#include "storage/SettingsStore.h"
#include "support/BuiltInWorker.h"
#include "support/TarqTest.h"

#include <QDateTime>
#include <QDir>
#include <QNetworkAccessManager>
#include <QRegularExpression>

using namespace Qt::StringLiterals;

// The worker that the program was built for is a server of the test's own.
class AccountRequestsTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void exportAsksWithTheStoredToken();
    void tokenWithALineBreakAddsNoHeader();
    void exportIsSavedAsItCame_data();
    void exportIsSavedAsItCame();
    void exportIsNamedByTheLocalTime_data();
    void exportIsNamedByTheLocalTime();
    void exportsOfTwoSecondsAreTwoFiles();
    void exportIntoAFolderThatIsMissing();
    void exportThatCannotBeSaved();
    void deletionAsksWithTheStoredToken();
    void deletionSignsOut();
    void failureStandsInTheErrorField_data();
    void failureStandsInTheErrorField();
    void requestWithoutATokenSendsNothing();
    void expiredTokenIsNoSignOut();
    void twoRequestsRunSideBySide();
    void sessionIsEndedOnTheServer();
    void sessionWithoutAServerEndsQuietly();

private:
    [[nodiscard]] QString error() const { return m_overlay->lastError(); }
    static bool areManagersGone();

    std::unique_ptr<HttpServer> m_worker;
    std::unique_ptr<ScopedVariable> m_workerUrl;
    std::unique_ptr<SettingsStore> m_settings;
    std::unique_ptr<OverlayStateModel> m_overlay;
};

void AccountRequestsTest::init()
{
    TarqTest::init();
    m_worker = startBuiltInWorker();
    // Only dictations go there.
    m_workerUrl = std::make_unique<ScopedVariable>("WORKER_URL", "http://127.0.0.1:9");
    m_settings = std::make_unique<SettingsStore>();
    QVERIFY(m_settings->ensureScaffold(nullptr));
    SettingsStore::AuthTokens tokens;
    tokens.accessToken = u"the-token"_s;
    m_settings->saveAuthTokens(tokens);
    m_overlay = std::make_unique<OverlayStateModel>();
}

void AccountRequestsTest::cleanup()
{
    QTRY_VERIFY(areManagersGone());
    m_overlay.reset();
    m_settings.reset();
    m_workerUrl.reset();
    m_worker.reset();
    TarqTest::cleanup();
}

bool AccountRequestsTest::areManagersGone()
{
    return QCoreApplication::instance()->findChildren<QNetworkAccessManager*>().isEmpty();
}

void AccountRequestsTest::exportAsksWithTheStoredToken()
{
    m_worker->answerWith({{200, "{}"}});
    exportAccountData(*m_settings, *m_overlay);
    QTRY_VERIFY(!error().isEmpty());
    QCOMPARE(m_worker->requests().size(), 1);
    const HttpRequest request = m_worker->requests().first();
    QCOMPARE(request.method, "GET"_ba);
    QCOMPARE(request.target, "/v1/account/export"_ba);
    QCOMPARE(request.headers.value("authorization"), "Bearer the-token"_ba);
    QCOMPARE(request.body, QByteArray());
}

void AccountRequestsTest::tokenWithALineBreakAddsNoHeader()
{
    m_worker->answerWith({{200, ""}});
    endServerSession(u"the-token\r\nX-Other: 1"_s);
    QTRY_COMPARE(m_worker->requests().size(), 1);
    const HttpRequest request = m_worker->requests().first();
    QCOMPARE(request.headers.value("authorization"), "Bearer the-token  X-Other: 1"_ba);
    QVERIFY(!request.headers.contains("x-other"));
}

void AccountRequestsTest::exportIsSavedAsItCame_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::newRow("JSON") << R"({"email": "grün@example.org"})"_ba;
    QTest::newRow("anything") << QByteArray("\x00\xff<b>", 5);
    QTest::newRow("nothing") << QByteArray();
}

void AccountRequestsTest::exportIsSavedAsItCame()
{
    QFETCH(QByteArray, body);
    m_worker->answerWith({{200, body}});
    const QDateTime before = QDateTime::currentDateTime();
    exportAccountData(*m_settings, *m_overlay);
    QTRY_VERIFY(!error().isEmpty());
    static const QRegularExpression notice(
        u"^Export saved to (.*/Downloads/tarq-export-(\\d{8}-\\d{6})\\.json)$"_s);
    const QRegularExpressionMatch match = notice.match(error());
    QVERIFY2(match.hasMatch(), qPrintable(error()));
    QCOMPARE(readFile(match.captured(1)), body);
    const QDateTime named = QDateTime::fromString(match.captured(2), u"yyyyMMdd-HHmmss"_s);
    QVERIFY(named.secsTo(QDateTime::currentDateTime()) >= 0);
    QVERIFY(before.secsTo(named) >= -1);
}

void AccountRequestsTest::exportIsNamedByTheLocalTime_data()
{
    QTest::addColumn<QByteArray>("zone");
    QTest::addColumn<int>("offsetMinutes");
    QTest::newRow("far east") << "EAST-14"_ba << 14 * 60;
    QTest::newRow("far west") << "WEST+11"_ba << -11 * 60;
    QTest::newRow("quarter of an hour") << "MIDDLE-5:45"_ba << 5 * 60 + 45;
}

void AccountRequestsTest::exportIsNamedByTheLocalTime()
{
    QFETCH(QByteArray, zone);
    QFETCH(int, offsetMinutes);
    const auto localTime = [offsetMinutes]() {
        return QDateTime::currentDateTimeUtc()
            .addSecs(offsetMinutes * 60)
            .toString(u"'/tarq-export-'yyyyMMdd-HHmmss'.json'"_s);
    };
    const ScopedVariable timeZone("TZ", zone);
    m_worker->answerWith({{200, "{}"}});
    const QString earliest = localTime();
    exportAccountData(*m_settings, *m_overlay);
    QTRY_VERIFY(!error().isEmpty());
    const QString name = error().sliced(error().lastIndexOf(u'/'));
    QVERIFY2(earliest <= name && name <= localTime(), qPrintable(name));
}

void AccountRequestsTest::exportsOfTwoSecondsAreTwoFiles()
{
    m_worker->answerWith({{200, "first"}, {200, "second"}});
    exportAccountData(*m_settings, *m_overlay);
    QTRY_VERIFY(!error().isEmpty());
    const QString first = error();
    const qint64 second = QDateTime::currentSecsSinceEpoch();
    QTRY_VERIFY(QDateTime::currentSecsSinceEpoch() > second);
    exportAccountData(*m_settings, *m_overlay);
    QTRY_VERIFY(error() != first);
    QCOMPARE(QDir(homePath(u"Downloads"_s)).entryList(QDir::Files).size(), 2);
}

void AccountRequestsTest::exportIntoAFolderThatIsMissing()
{
    writeFile(configPath(u"../user-dirs.dirs"_s), "XDG_DOWNLOAD_DIR=\"$HOME/far/away\"\n");
    m_worker->answerWith({{200, "{}"}});
    exportAccountData(*m_settings, *m_overlay);
    QTRY_VERIFY(error().startsWith("Export saved to "_L1 + homePath(u"far/away/"_s)));
}

void AccountRequestsTest::exportThatCannotBeSaved()
{
    writeFile(homePath(u"Downloads"_s), "in the way");
    m_worker->answerWith({{200, "{}"}});
    exportAccountData(*m_settings, *m_overlay);
    QTRY_COMPARE(error(), u"Failed to save export file."_s);
}

void AccountRequestsTest::deletionAsksWithTheStoredToken()
{
    m_worker->answerWith({{204, ""}});
    QSignalSpy logout(m_overlay.get(), &OverlayStateModel::logoutRequested);
    deleteAccount(*m_settings, *m_overlay);
    QVERIFY(logout.wait());
    QCOMPARE(m_worker->requests().size(), 1);
    const HttpRequest request = m_worker->requests().first();
    QCOMPARE(request.method, "DELETE"_ba);
    QCOMPARE(request.target, "/v1/account"_ba);
    QCOMPARE(request.headers.value("authorization"), "Bearer the-token"_ba);
    QCOMPARE(request.body, QByteArray());
}

void AccountRequestsTest::deletionSignsOut()
{
    m_worker->answerWith({{200, "{}"}});
    QSignalSpy logout(m_overlay.get(), &OverlayStateModel::logoutRequested);
    deleteAccount(*m_settings, *m_overlay);
    QVERIFY(logout.wait());
    QCOMPARE(logout.count(), 1);
    QCOMPARE(error(), QString());
}

void AccountRequestsTest::failureStandsInTheErrorField_data()
{
    QTest::addColumn<HttpAnswer>("answer");
    QTest::newRow("refused token") << HttpAnswer{.status = 401};
    QTest::newRow("broken worker") << HttpAnswer{.status = 500};
    QTest::newRow("closed connection") << HttpAnswer{.drop = true};
}

void AccountRequestsTest::failureStandsInTheErrorField()
{
    QFETCH(HttpAnswer, answer);
    // A closed connection is tried again by Qt.
    m_worker->answerWith({answer, answer, answer, answer});
    exportAccountData(*m_settings, *m_overlay);
    QTRY_VERIFY(error().startsWith("Export failed: "_L1));
    QVERIFY(error().size() > 16);
    QVERIFY(!QDir(homePath(u"Downloads"_s)).exists());

    m_worker->answerWith({answer, answer, answer, answer});
    QSignalSpy logout(m_overlay.get(), &OverlayStateModel::logoutRequested);
    deleteAccount(*m_settings, *m_overlay);
    QTRY_VERIFY(error().startsWith("Delete failed: "_L1));
    QVERIFY(error().size() > 16);
    QCOMPARE(logout.count(), 0);
}

void AccountRequestsTest::requestWithoutATokenSendsNothing()
{
    m_settings->clearAuthTokens();
    exportAccountData(*m_settings, *m_overlay);
    QCOMPARE(error(), u"Sign in first to export data."_s);
    QVERIFY(areManagersGone());
    deleteAccount(*m_settings, *m_overlay);
    QCOMPARE(error(), u"Sign in first."_s);
    QVERIFY(areManagersGone());
}

void AccountRequestsTest::expiredTokenIsNoSignOut()
{
    m_worker->answerWith({{401, ""}, {401, ""}});
    QSignalSpy logout(m_overlay.get(), &OverlayStateModel::logoutRequested);
    deleteAccount(*m_settings, *m_overlay);
    QTRY_VERIFY(error().startsWith("Delete failed: "_L1));
    QCOMPARE(logout.count(), 0);
    QCOMPARE(m_settings->loadAuthTokens().accessToken, u"the-token"_s);
}

void AccountRequestsTest::twoRequestsRunSideBySide()
{
    m_worker->answerWith({{.silent = true}, {200, "{}"}});
    exportAccountData(*m_settings, *m_overlay);
    exportAccountData(*m_settings, *m_overlay);
    QTRY_VERIFY(error().startsWith("Export saved to "_L1));
    QCOMPARE(m_worker->requests().size(), 2);
    // The other one would wait for ever.
    m_worker.reset();
}

void AccountRequestsTest::sessionIsEndedOnTheServer()
{
    m_worker->answerWith({{204, ""}});
    endServerSession(u"the-token"_s);
    QTRY_COMPARE(m_worker->requests().size(), 1);
    const HttpRequest request = m_worker->requests().first();
    QCOMPARE(request.method, "POST"_ba);
    QCOMPARE(request.target, "/v1/auth/logout"_ba);
    QCOMPARE(request.headers.value("authorization"), "Bearer the-token"_ba);
    QCOMPARE(request.headers.value("content-type"), "application/json"_ba);
    QCOMPARE(request.body, QByteArray());
}

void AccountRequestsTest::sessionWithoutAServerEndsQuietly()
{
    m_worker->close();
    endServerSession(u"the-token"_s);
    QTRY_VERIFY(areManagersGone());
    QCOMPARE(error(), QString());
}

QTEST_GUILESS_MAIN(AccountRequestsTest)
#include "AccountRequestsTest.moc"
