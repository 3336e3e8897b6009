#include "app/Services.h"
#include "support/TarqTest.h"

#include <QFile>
#include <QGuiApplication>
#include <QProcess>
#include <QQmlEngine>
#include <QQmlExtensionPlugin>
#include <QWindow>

#include <algorithm>

#include <malloc.h>

Q_IMPORT_QML_PLUGIN(TarqLinuxPlugin)

using namespace Qt::StringLiterals;

#ifdef __SANITIZE_ADDRESS__
// As the sanitizer's own header declares it, which not every compiler brings along.
extern "C" size_t __sanitizer_get_current_allocated_bytes();
#endif

namespace {

constexpr int kWarmUpRounds = 6;
constexpr int kRounds = 10;
constexpr qint64 kMaxGrowthBytesPerRound = 2048;

const QString kLogin = u"Tarq — Sign In"_s;
const QString kHistory = u"Tarq"_s;

using Show = void (Windows::*)();

// Resident memory of this process, in KiB.
int residentKiB()
{
    QFile status(u"/proc/self/status"_s);
    if (!status.open(QIODevice::ReadOnly)) {
        return 0;
    }
    const QByteArray text = status.readAll();
    const qsizetype at = text.indexOf("VmRSS:") + 6;
    return text.mid(at, text.indexOf("kB", at) - at).trimmed().toInt();
}

// Whether the window manager has let the window go (ICCCM 4.1.3.1).
bool isWithdrawn(const QWindow& window)
{
    QProcess xprop;
    xprop.start(u"xprop"_s, {u"-id"_s, QString::number(window.winId()), u"WM_STATE"_s});
    xprop.waitForFinished();
    const QByteArray state = xprop.readAllStandardOutput();
    return state.contains("Withdrawn") || state.contains("not found");
}

// What has been allocated and not freed. The sanitizer's own memory grows with what it has seen,
// and what a document has let go is there until its engine collects it.
qint64 allocatedBytes()
{
    const QWindowList windows = QGuiApplication::allWindows();
    for (const QWindow* window : windows) {
        if (QQmlEngine* engine = qmlEngine(window)) {
            engine->collectGarbage();
        }
    }
    // What was collected goes with the next turn of the event loop.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCoreApplication::processEvents();
#ifdef __SANITIZE_ADDRESS__
    return static_cast<qint64>(__sanitizer_get_current_allocated_bytes());
#else
    const struct mallinfo2 info = mallinfo2();
    return static_cast<qint64>(info.uordblks + info.hblkhd);
#endif
}

} // namespace

// Windows that come and go, and the memory that they leave behind. For a few rounds, or for as many
// as TARQ_WINDOW_ROUNDS says.
class WindowMemoryTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void cleanup();

    void openingAndClosingKeepsNoMemory_data();
    void openingAndClosingKeepsNoMemory();
};

void WindowMemoryTest::cleanup()
{
    Services::removeRemains();
    TarqTest::cleanup();
}

void WindowMemoryTest::openingAndClosingKeepsNoMemory_data()
{
    QTest::addColumn<QString>("title");
    QTest::addColumn<Show>("show");
    QTest::newRow("login") << kLogin << &Windows::showLogin;
    QTest::newRow("settings") << u"Tarq — Settings"_s << &Windows::showSettings;
    QTest::newRow("about") << u"Tarq — About"_s << &Windows::showAbout;
    QTest::newRow("profile") << u"Tarq — Profile"_s << &Windows::showProfile;
    QTest::newRow("history") << kHistory << &Windows::showHistory;
}

void WindowMemoryTest::openingAndClosingKeepsNoMemory()
{
    QFETCH(QString, title);
    QFETCH(Show, show);
    const int chosen = qEnvironmentVariableIntValue("TARQ_WINDOW_ROUNDS");
    const int rounds = chosen > 0 ? chosen : kRounds;
    Services services;
    services.windows.loadHistory();
    int residentBefore = 0;
    qint64 allocatedBefore = 0;
    qint64 allocatedHalfway = 0;
    for (int round = 0; round < kWarmUpRounds + rounds; ++round) {
        if (round == kWarmUpRounds) {
            residentBefore = residentKiB();
            allocatedBefore = allocatedBytes();
        } else if (round == kWarmUpRounds + rounds / 2) {
            allocatedHalfway = allocatedBytes();
        }
        (services.windows.*show)();
        const QPointer<QWindow> window = Services::windowsTitled(title).value(0);
        QVERIFY(window);
        QVERIFY(QTest::qWaitForWindowExposed(window));
        if (title == kLogin) {
            services.windows.closeLogin();
        } else {
            window->close();
        }
        if (title == kHistory) {
            QVERIFY(!window->isVisible());
            // Shown again before the window manager and Qt know that it has gone, it may never
            // come.
            QTRY_VERIFY(isWithdrawn(*window));
            QGuiApplication::sync();
        } else {
            QTRY_VERIFY(window.isNull());
        }
    }
    const qint64 inFirstHalf = (allocatedHalfway - allocatedBefore) / (rounds / 2);
    const qint64 inSecondHalf = (allocatedBytes() - allocatedHalfway) / (rounds - rounds / 2);
    qInfo("%s: %d KiB resident before, %d KiB after %d rounds; %lld, then %lld bytes allocated in "
          "each",
        QTest::currentDataTag(), residentBefore, residentKiB(), rounds, inFirstHalf, inSecondHalf);
    // What isn't given back is missing in each round. A table that has grown once is none.
    QVERIFY(std::min(inFirstHalf, inSecondHalf) < kMaxGrowthBytesPerRound);
}

QTEST_MAIN(WindowMemoryTest)
#include "WindowMemoryTest.moc"
