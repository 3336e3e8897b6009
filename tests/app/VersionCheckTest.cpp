#include "app/Services.h"
#include "support/BuiltInWorker.h"
#include "support/TarqTest.h"

#include <QQmlExtensionPlugin>
#include <QUrl>

Q_IMPORT_QML_PLUGIN(TarqLinuxPlugin)

using namespace Qt::StringLiterals;

// The one request that a document makes keeps to the rules of all others.
class VersionCheckTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void redirectIsNoAnswer_data();
    void redirectIsNoAnswer();
    void noCookieIsSent();

private:
    /// What the button says in the end.
    QString check();

    std::unique_ptr<HttpServer> m_worker;
    std::unique_ptr<Services> m_services;
    QWindow* m_window = nullptr;
};

void VersionCheckTest::init()
{
    TarqTest::init();
    m_worker = startBuiltInWorker();
    m_services = std::make_unique<Services>();
    m_services->windows.showAbout();
    m_window = Services::windowsTitled(u"Tarq — About"_s).value(0);
    QVERIFY(m_window != nullptr);
}

void VersionCheckTest::cleanup()
{
    m_services.reset();
    Services::removeRemains();
    m_worker.reset();
    TarqTest::cleanup();
}

QString VersionCheckTest::check()
{
    QMetaObject::invokeMethod(m_window, "checkForUpdates");
    const auto status = [this]() {
        return m_window->property("updateStatus").toString();
    };
    return QTest::qWaitFor([&]() { return status() != u"Checking…"_s; }) ? status() : QString();
}

void VersionCheckTest::redirectIsNoAnswer_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<bool>("elsewhere");
    for (const int status : {301, 302, 303, 307, 308}) {
        QTest::addRow("%d to another origin", status) << status << true;
        QTest::addRow("%d to the same origin", status) << status << false;
    }
}

void VersionCheckTest::redirectIsNoAnswer()
{
    QFETCH(int, status);
    QFETCH(bool, elsewhere);
    HttpServer other;
    const QByteArray version = R"({"latest":{"linux":{"version":"9"}}})";
    other.answerWith({{200, version}});
    const QString target = (elsewhere ? other.url() : m_worker->url()) + "/there"_L1;
    m_worker->answerWith(
        {{.raw = "HTTP/1.1 " + QByteArray::number(status)
                 + " Elsewhere\r\nLocation: " + target.toUtf8() + "\r\nContent-Length: 0\r\n\r\n"},
            {200, version}});
    QCOMPARE(check(), u"Network error"_s);
    QCOMPARE(m_worker->requests().size(), 1);
    QCOMPARE(other.requests().size(), 0);
}

void VersionCheckTest::noCookieIsSent()
{
    m_worker->answerWith(
        {{.raw = "HTTP/1.1 200 OK\r\nSet-Cookie: a=b\r\nContent-Length: 2\r\n\r\n{}"},
            {200, "{}"}});
    QCOMPARE(check(), u"No updates available"_s);
    QCOMPARE(check(), u"No updates available"_s);
    QCOMPARE(m_worker->requests().size(), 2);
    QVERIFY(!m_worker->requests().last().headers.contains("cookie"));
}

QTEST_MAIN(VersionCheckTest)
#include "VersionCheckTest.moc"
