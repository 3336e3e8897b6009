#include "desktop/GlobalHotkeyManager.h"
#include "support/TarqTest.h"

#include <QDir>
#include <QFile>
#include <QLocalServer>
#include <QLocalSocket>
#include <QRegularExpression>

#include <cstring>

#include <csignal>

#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

const QString kName = u"tarq-linux-ipc"_s;

// Another process that opens connections and says nothing, until it is told to end or goes out of
// scope. A process of its own, so that it has the open files of another program.
class SilentClients final
{
public:
    SilentClients(const QByteArray& socketPath, int count)
    {
        m_pid = ::fork();
        if (m_pid == 0) {
            connectAll(socketPath, count);
        }
    }
    ~SilentClients() { leave(); }
    Q_DISABLE_COPY_MOVE(SilentClients)

    void leave()
    {
        if (m_pid > 0) {
            ::kill(m_pid, SIGKILL);
            ::waitpid(m_pid, nullptr, 0);
            m_pid = 0;
        }
    }

private:
    [[noreturn]] static void connectAll(const QByteArray& socketPath, int count)
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::memcpy(address.sun_path, socketPath.constData(),
            qMin(static_cast<size_t>(socketPath.size()), sizeof(address.sun_path) - 1));
        for (int i = 0; i < count; ++i) {
            const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
            // Blocks while the server's queue is full.
            if (socket < 0
                || ::connect(socket, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0) {
                break;
            }
        }
        for (;;) {
            ::pause();
        }
    }

    pid_t m_pid = 0;
};

// The soft limit of open files of this process.
class OpenFileLimit final
{
public:
    explicit OpenFileLimit(rlim_t files)
    {
        ::getrlimit(RLIMIT_NOFILE, &m_previous);
        rlimit limit = m_previous;
        limit.rlim_cur = qMin(files, m_previous.rlim_max);
        ::setrlimit(RLIMIT_NOFILE, &limit);
    }
    ~OpenFileLimit() { ::setrlimit(RLIMIT_NOFILE, &m_previous); }
    Q_DISABLE_COPY_MOVE(OpenFileLimit)

private:
    rlimit m_previous{};
};

qsizetype openSockets(const GlobalHotkeyManager& manager)
{
    return manager.findChildren<QLocalSocket*>().size();
}

} // namespace

class ToggleChannelLoadTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void silentClientStaysUntilItLeaves();
    void thousandSilentClientsDontStopAToggle();
    void channelComesBackAfterTheOpenFilesRanOut();

private:
    [[nodiscard]] QByteArray socketPath() const { return QFile::encodeName(homePath(kName)); }

    std::unique_ptr<ScopedVariable> m_tmpDir;
};

void ToggleChannelLoadTest::init()
{
    TarqTest::init();
    m_tmpDir = std::make_unique<ScopedVariable>("TMPDIR", homePath().toLocal8Bit());
    QVERIFY(QDir().mkpath(configPath()));
}

void ToggleChannelLoadTest::cleanup()
{
    m_tmpDir.reset();
    TarqTest::cleanup();
}

void ToggleChannelLoadTest::silentClientStaysUntilItLeaves()
{
    GlobalHotkeyManager manager;
    manager.setupIpcServer(kName);
    const QSignalSpy toggled(&manager, &GlobalHotkeyManager::toggleRequested);
    SilentClients client(socketPath(), 1);
    QTRY_COMPARE(openSockets(manager), 1);
    for (int i = 1; i <= 3; ++i) {
        QVERIFY(GlobalHotkeyManager::sendToggleCommand(kName));
        QTRY_COMPARE(toggled.count(), i);
    }
    QTRY_COMPARE(openSockets(manager), 1);
    client.leave();
    QTRY_COMPARE(openSockets(manager), 0);
}

void ToggleChannelLoadTest::thousandSilentClientsDontStopAToggle()
{
    // What distributions allow a desktop program.
    const OpenFileLimit limit(1024);
    GlobalHotkeyManager manager;
    manager.setupIpcServer(kName);
    const QSignalSpy toggled(&manager, &GlobalHotkeyManager::toggleRequested);
    SilentClients clients(socketPath(), 950);
    QTRY_COMPARE_WITH_TIMEOUT(openSockets(manager), 950, 30000);
    QVERIFY(GlobalHotkeyManager::sendToggleCommand(kName));
    QTRY_COMPARE(toggled.count(), 1);
    clients.leave();
    QTRY_COMPARE_WITH_TIMEOUT(openSockets(manager), 0, 30000);
    QVERIFY(GlobalHotkeyManager::sendToggleCommand(kName));
    QTRY_COMPARE(toggled.count(), 2);
}

void ToggleChannelLoadTest::channelComesBackAfterTheOpenFilesRanOut()
{
    constexpr int kLimit = 64;
    GlobalHotkeyManager manager;
    manager.setupIpcServer(kName);
    const QSignalSpy toggled(&manager, &GlobalHotkeyManager::toggleRequested);
    // More than the limit leaves room for; the clients themselves aren't limited.
    SilentClients clients(socketPath(), kLimit);
    {
        const OpenFileLimit limit(kLimit);
        const qsizetype others = QDir(u"/proc/self/fd"_s).entryList(QDir::Files).size();
        QTRY_VERIFY(openSockets(manager) >= kLimit - others - 2);
        for (int i = 0; i < 100; ++i) {
            QCoreApplication::processEvents();
        }
        QVERIFY(openSockets(manager) < kLimit);
        clients.leave();
        QTRY_COMPARE(openSockets(manager), 0);
    }
    QVERIFY(GlobalHotkeyManager::sendToggleCommand(kName));
    QTRY_COMPARE(toggled.count(), 1);
}

QTEST_GUILESS_MAIN(ToggleChannelLoadTest)
#include "ToggleChannelLoadTest.moc"
