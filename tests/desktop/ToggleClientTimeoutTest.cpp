#include "desktop/GlobalHotkeyManager.h"
#include "support/TarqTest.h"

#include <QElapsedTimer>
#include <QFile>
#include <QLocalServer>

#include <array>
#include <cerrno>
#include <cstring>
#include <memory>

#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

const QString kName = u"tarq-linux-ipc"_s;

bool fillsSockets = false;

} // namespace

// A program's own symbol comes before the C library's, for Qt as well. A message alone is too short
// to fill a socket.
extern "C" int connect(int file, const sockaddr* address, socklen_t length)
{
    const auto result = static_cast<int>(::syscall(SYS_connect, file, address, length));
    if (result == 0 && fillsSockets) {
        const std::array<char, 4096> block{};
        for (size_t size = block.size(); size > 0; size /= 2) {
            while (::send(file, block.data(), size, MSG_DONTWAIT) > 0) { }
        }
    }
    return result;
}

namespace {

// A server that has stopped accepting, with as many clients waiting as there is room for.
class FullServer final
{
public:
    explicit FullServer(const QString& path)
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        const QByteArray name = QFile::encodeName(path);
        std::memcpy(address.sun_path, name.constData(),
            qMin(static_cast<size_t>(name.size()), sizeof(address.sun_path) - 1));
        const auto* generic = reinterpret_cast<const sockaddr*>(&address);
        m_sockets.append(::socket(AF_UNIX, SOCK_STREAM, 0));
        int result = ::bind(m_sockets.first(), generic, sizeof(address));
        ::listen(m_sockets.first(), 0);
        while (result == 0) {
            m_sockets.append(::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0));
            result = ::connect(m_sockets.last(), generic, sizeof(address));
        }
        m_isFull = errno == EAGAIN;
    }
    ~FullServer()
    {
        for (const int socket : m_sockets) {
            ::close(socket);
        }
    }
    Q_DISABLE_COPY_MOVE(FullServer)

    [[nodiscard]] bool isFull() const { return m_isFull; }

private:
    QList<int> m_sockets;
    bool m_isFull = false;
};

} // namespace

// How long a `--toggle` takes at most when the running instance stands still.
class ToggleClientTimeoutTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void serverThatDoesntAcceptIsWaitedForHalfASecond();
    void serverThatTakesNothingIsWaitedForASecond();

private:
    /// The shortest of some attempts that each give this result, or the first that is below
    /// `enoughMs`: a busy machine makes one longer, and never shorter.
    static qint64 shortestMs(bool result, qint64 enoughMs);

    std::unique_ptr<ScopedVariable> m_tmpDir;
};

qint64 ToggleClientTimeoutTest::shortestMs(bool result, qint64 enoughMs)
{
    qint64 shortest = 0;
    for (int attempt = 0; attempt < 10 && (attempt == 0 || shortest >= enoughMs); ++attempt) {
        QElapsedTimer clock;
        clock.start();
        if (GlobalHotkeyManager::sendToggleCommand(kName) != result) {
            return -1;
        }
        shortest = attempt == 0 ? clock.elapsed() : qMin(shortest, clock.elapsed());
    }
    return shortest;
}

void ToggleClientTimeoutTest::init()
{
    TarqTest::init();
    m_tmpDir = std::make_unique<ScopedVariable>("TMPDIR", homePath().toLocal8Bit());
    writeFile(configPath(u"ipc-token"_s), "1b4e28ba-2fa1-41d2-883f-0016d3cca427"_ba);
}

void ToggleClientTimeoutTest::cleanup()
{
    fillsSockets = false;
    m_tmpDir.reset();
    TarqTest::cleanup();
}

void ToggleClientTimeoutTest::serverThatDoesntAcceptIsWaitedForHalfASecond()
{
    const FullServer server(homePath(kName));
    QVERIFY(server.isFull());
    const qint64 elapsedMs = shortestMs(false, 600);
    QVERIFY2(elapsedMs >= 500 && elapsedMs < 600, qPrintable(QString::number(elapsedMs)));
}

void ToggleClientTimeoutTest::serverThatTakesNothingIsWaitedForASecond()
{
    QLocalServer server;
    QVERIFY(server.listen(kName));
    fillsSockets = true;
    // Connected is as good as sent.
    const qint64 elapsedMs = shortestMs(true, 1150);
    QVERIFY2(elapsedMs >= 1000 && elapsedMs < 1150, qPrintable(QString::number(elapsedMs)));
}

QTEST_GUILESS_MAIN(ToggleClientTimeoutTest)
#include "ToggleClientTimeoutTest.moc"
