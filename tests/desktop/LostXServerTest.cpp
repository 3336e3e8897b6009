#include "desktop/GlobalHotkeyManager.h"
#include "support/RecordedLog.h"
#include "support/TarqTest.h"

#include <QProcess>

#include <ctime>

using namespace Qt::StringLiterals;

namespace {

// An X server of the test's own, to be killed.
class XServer final
{
public:
    XServer()
    {
        // It chooses a display that is free, and prints its number once it can be connected to.
        m_process.start(u"Xvfb"_s, {u"-displayfd"_s, u"1"_s, u"-nolisten"_s, u"tcp"_s});
        while (!m_process.canReadLine() && m_process.waitForReadyRead(30000)) { }
        m_display = ':' + m_process.readLine().trimmed();
    }
    ~XServer() { kill(); }
    Q_DISABLE_COPY_MOVE(XServer)

    [[nodiscard]] QByteArray display() const { return m_display; }

    void kill()
    {
        m_process.kill();
        m_process.waitForFinished();
    }

private:
    QProcess m_process;
    QByteArray m_display;
};

double processorTimeMs()
{
    return 1000.0 * static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

} // namespace

// The hotkey's connection to the X server is one that nothing else of the program uses.
class LostXServerTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void lostServerIsSilentAndCostsNoProcessorTime();
};

void LostXServerTest::lostServerIsSilentAndCostsNoProcessorTime()
{
    XServer server;
    const ScopedVariable session("XDG_SESSION_TYPE", "x11");
    const ScopedVariable display("DISPLAY", server.display());
    GlobalHotkeyManager manager;
    QSignalSpy started(&manager, &GlobalHotkeyManager::recordingStartRequested);
    const QSignalSpy stopped(&manager, &GlobalHotkeyManager::recordingStopRequested);
    QTest::ignoreMessage(
        QtInfoMsg, "Super+Space hold-to-record registered (hold 1.5s to activate)");
    manager.registerSpacebarHold();

    const RecordedLog log;
    server.kill();
    const double before = processorTimeMs();
    QVERIFY(!started.wait(1000));
    const double spent = processorTimeMs() - before;
    QVERIFY2(spent < 100, qPrintable(u"%1 ms in a second"_s.arg(spent)));
    QCOMPARE(stopped.count(), 0);
    QCOMPARE(log.lines(), QStringList());
}

QTEST_GUILESS_MAIN(LostXServerTest)
#include "LostXServerTest.moc"
