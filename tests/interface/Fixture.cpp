#include "Fixture.h"

#include "support/BuiltInWorker.h"

#include <QAccessible>
#include <QClipboard>
#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QQmlEngine>
#include <QStandardPaths>
#include <QTest>
#include <QTimer>

using namespace Qt::StringLiterals;

namespace {

constexpr double kEntryDistanceMs = 60000;

HttpAnswer answerOf(int status, const QString& body)
{
    HttpAnswer answer;
    answer.status = status;
    answer.body = body.toUtf8();
    answer.drop = status == 0;
    answer.silent = status < 0;
    return answer;
}

void findNameless(QAccessibleInterface* element, QStringList* found)
{
    const QAccessible::Role role = element->role();
    const QString name = element->text(QAccessible::Name);
    if (element->state().focusable && !element->state().invisible && role != QAccessible::Window
        && (name.isEmpty() || role == QAccessible::NoRole || role == QAccessible::Client)) {
        const QRect place = element->rect();
        found->append(
            u"role %1 \"%2\" at %3, %4"_s.arg(role).arg(name).arg(place.x()).arg(place.y()));
    }
    for (int i = 0; i < element->childCount(); ++i) {
        findNameless(element->child(i), found);
    }
}

} // namespace

Fixture::Fixture()
{
    QString error;
    if (!m_settings.ensureScaffold(&error)) {
        qFatal("%s", qPrintable(error));
    }
    QDesktopServices::setUrlHandler(u"http"_s, this, "keepUrl");
    QDesktopServices::setUrlHandler(u"https"_s, this, "keepUrl");
}

Fixture::~Fixture()
{
    QDesktopServices::unsetUrlHandler(u"http"_s);
    QDesktopServices::unsetUrlHandler(u"https"_s);
}

void Fixture::reset()
{
    m_overlay.setLoggedIn(true);
    m_overlay.setState(OverlayStateModel::State::Idle);
    m_overlay.setHasInputFocus(false);
    m_overlay.setRecordingWarning(false);
    m_overlay.resetWaveScales();
    m_overlay.clearError();
    m_overlay.pingActivity();
    releaseAuth();
}

bool Fixture::takeToggle()
{
    const bool toggled = !m_overlay.lastError().isEmpty();
    m_overlay.clearError();
    return toggled;
}

void Fixture::waitForIdleCount()
{
    auto* timer = m_overlay.findChild<QTimer*>(u"idleTimer"_s);
    QTRY_VERIFY(timer->remainingTime() < 3900);
}

int Fixture::idleCountMs()
{
    return m_overlay.findChild<QTimer*>(u"idleTimer"_s)->remainingTime();
}

HistoryRepository* Fixture::makeHistory(const QStringList& texts, double newest)
{
    QJsonArray entries;
    for (const QString& text : texts) {
        entries.append(QJsonObject{{u"id"_s, newest}, {u"text"_s, text}, {u"createdAt"_s, newest}});
        newest -= kEntryDistanceMs;
    }
    QFile file(m_settings.paths().historyFile);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        qFatal("%s", qPrintable(file.errorString()));
    }
    file.write(QJsonDocument(QJsonObject{{u"entries"_s, entries}}).toJson());
    file.close();
    m_history = std::make_unique<HistoryRepository>(file.fileName());
    QQmlEngine::setObjectOwnership(m_history.get(), QQmlEngine::CppOwnership);
    return m_history.get();
}

void Fixture::setDownloadsWritable(bool writable)
{
    const QString path = QStandardPaths::writableLocation(QStandardPaths::DownloadLocation);
    if (writable) {
        QFile::remove(path);
        return;
    }
    QDir(path).removeRecursively();
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
}

QString Fixture::readFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

QString Fixture::clipboard()
{
    return QGuiApplication::clipboard()->text();
}

void Fixture::clearClipboard()
{
    QGuiApplication::clipboard()->clear();
}

void Fixture::answerAuth(int status, const QString& body)
{
    // A request whose connection is closed is sent again by Qt, on another one.
    m_authServer.answerWith(QList<HttpAnswer>(status == 0 ? 4 : 1, answerOf(status, body)));
}

void Fixture::answerWorker(int status, const QString& body)
{
    m_worker->answerWith({answerOf(status, body)});
}

void Fixture::startWorker()
{
    m_worker.reset(); // or its end would be that of the next one's redirection
    m_worker = startBuiltInWorker();
    m_workerSeen = 0;
}

QStringList Fixture::namelessControls(QWindow* window)
{
    QStringList found;
    findNameless(QAccessible::queryAccessibleInterface(window), &found);
    return found;
}

void Fixture::pressKey(QWindow* window, int key)
{
    QTest::keyClick(window, static_cast<Qt::Key>(key));
}

bool Fixture::takePicture(QQuickWindow* window, const QString& name)
{
    const QDir directory(qEnvironmentVariable("TARQ_TEST_ARTIFACTS") + "/pictures"_L1);
    return directory.mkpath(u"."_s)
        && window->grabWindow().save(directory.filePath(name + ".png"_L1));
}

void Fixture::handleQuit()
{
    if (!m_quitExpected) {
        QCoreApplication::quit();
        return;
    }
    m_quitExpected = false;
    ++m_quits;
}

QVariantList Fixture::takeRequests(const HttpServer& server, qsizetype* seen)
{
    QVariantList taken;
    for (const HttpRequest& request : server.requests().sliced(*seen)) {
        QVariantMap headers;
        for (auto header = request.headers.cbegin(); header != request.headers.cend(); ++header) {
            headers.insert(QString::fromUtf8(header.key()), QString::fromUtf8(header.value()));
        }
        taken.append(QVariantMap{
            {u"method"_s, QString::fromUtf8(request.method)},
            {u"target"_s, QString::fromUtf8(request.target)},
            {u"headers"_s, headers},
            {u"body"_s, QString::fromUtf8(request.body)},
        });
    }
    *seen = server.requests().size();
    return taken;
}
