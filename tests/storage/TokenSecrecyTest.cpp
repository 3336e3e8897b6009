#include "storage/SettingsStore.h"
#include "support/TarqTest.h"

#include <QDir>

#include <atomic>
#include <cstring>

#include <csignal>

#include <dirent.h>
#include <fcntl.h>
#include <grp.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

constexpr int kSaves = 200;
// Where the other user gets too little of the processor to come upon any save.
constexpr int kMostSaves = 20000;
constexpr uid_t kNobody = 65534;

// Another user of the machine, who tries without a pause to open whatever is in a directory. A
// process of its own, which has the directory open from before it became that user: the modes of
// the directories above don't stop it. Only root can become somebody else. For anybody else the
// modes tell what that user could open.
class SecondUser final
{
public:
    explicit SecondUser(const QString& directory)
        : m_directory(::open(QFile::encodeName(directory).constData(), O_RDONLY | O_DIRECTORY))
    {
        void* const shared = ::mmap(
            nullptr, sizeof(Seen), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        m_seen = new (shared) Seen;
        m_pid = ::fork();
        if (m_pid == 0) {
            tryForEver();
        }
    }
    ~SecondUser()
    {
        ::kill(m_pid, SIGKILL);
        ::waitpid(m_pid, nullptr, 0);
        ::close(m_directory);
        ::munmap(m_seen, sizeof(Seen));
    }
    Q_DISABLE_COPY_MOVE(SecondUser)

    /// How often it has tried a file, and one that a save hasn't put in place yet.
    [[nodiscard]] int tries() const { return m_seen->tries; }
    [[nodiscard]] int triesBeside() const { return m_seen->triesBeside; }
    [[nodiscard]] int opened() const { return m_seen->opened; }
    /// The latest that it could open.
    [[nodiscard]] const char* lastOpened() const { return m_seen->lastOpened; }

private:
    struct Seen {
        std::atomic<int> tries = 0;
        std::atomic<int> triesBeside = 0;
        std::atomic<int> opened = 0;
        char lastOpened[NAME_MAX + 1] = "";
    };

    [[noreturn]] void tryForEver() const
    {
        if (m_isRoot
            && (::setgroups(0, nullptr) != 0 || ::setresgid(kNobody, kNobody, kNobody) != 0
                || ::setresuid(kNobody, kNobody, kNobody) != 0)) {
            ::_exit(1);
        }
        DIR* entries = ::fdopendir(m_directory);
        for (;;) {
            ::rewinddir(entries);
            while (const dirent* entry = ::readdir(entries)) {
                tryToOpen(entry->d_name);
            }
        }
    }

    void tryToOpen(const char* name) const
    {
        if (std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0) {
            return;
        }
        ++m_seen->tries;
        if (std::strncmp(name, "keys.json.", 10) == 0) {
            ++m_seen->triesBeside;
        }
        if (canOpen(name)) {
            std::strncpy(m_seen->lastOpened, name, NAME_MAX);
            ++m_seen->opened;
        }
    }

    [[nodiscard]] bool canOpen(const char* name) const
    {
        if (!m_isRoot) {
            struct stat directory = {};
            struct stat file = {};
            return ::fstat(m_directory, &directory) == 0 && (directory.st_mode & S_IXOTH) != 0
                && ::fstatat(m_directory, name, &file, AT_SYMLINK_NOFOLLOW) == 0
                && (file.st_mode & (S_IROTH | S_IWOTH)) != 0;
        }
        for (const int mode : {O_RDONLY, O_WRONLY}) {
            const int file = ::openat(m_directory, name, mode);
            if (file >= 0) {
                ::close(file);
                return true;
            }
        }
        return false;
    }

    const bool m_isRoot = ::geteuid() == 0;
    const int m_directory;
    Seen* m_seen = nullptr; // shared by both
    pid_t m_pid = 0;
};

// Nothing is taken away from the modes of new files.
class OpenUmask final
{
public:
    OpenUmask() = default;
    ~OpenUmask() { ::umask(m_previous); }
    Q_DISABLE_COPY_MOVE(OpenUmask)

private:
    const mode_t m_previous = ::umask(0);
};

} // namespace

// The tokens are plain text: the modes of the files are all that keeps them from others.
class TokenSecrecyTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void secondUserOpensNothingDuringSaves();
    void privateDirectoryKeepsEvenPublicFiles();
    void secondUserOpensWhatIsPublic();
};

void TokenSecrecyTest::secondUserOpensNothingDuringSaves()
{
    const OpenUmask umask;
    SettingsStore store;
    QVERIFY(store.ensureScaffold(nullptr));
    // The directory's own mode mustn't be what keeps the files.
    QCOMPARE(::chmod(QFile::encodeName(configPath()).constData(), 0755), 0);

    const SecondUser secondUser(configPath());
    QTRY_VERIFY(secondUser.tries() > 0);
    int saves = 0;
    while (saves < kSaves || (secondUser.triesBeside() == 0 && saves < kMostSaves)) {
        // A file that is replaced hands its mode down; one that is made anew can't.
        if (saves % 2 == 0) {
            QVERIFY(QFile::remove(configPath(u"keys.json"_s)));
        }
        ++saves;
        store.saveAuthTokens({u"access"_s, u"refresh"_s, saves, u"user-1"_s, u"me@example.org"_s});
    }
    QCOMPARE(store.loadAuthTokens().expiresAt, saves);
    QVERIFY2(secondUser.opened() == 0, secondUser.lastOpened());
    // It was there while the saves went on.
    QVERIFY(secondUser.triesBeside() > 0);
}

void TokenSecrecyTest::privateDirectoryKeepsEvenPublicFiles()
{
    const OpenUmask umask;
    QVERIFY(SettingsStore().ensureScaffold(nullptr));
    writeFile(configPath(u"public"_s), "for everybody");
    const SecondUser secondUser(configPath());
    QTRY_VERIFY(secondUser.tries() > 1000);
    QCOMPARE(secondUser.opened(), 0);
}

void TokenSecrecyTest::secondUserOpensWhatIsPublic()
{
    const OpenUmask umask;
    writeFile(configPath(u"public"_s), "for everybody");
    const SecondUser secondUser(configPath());
    QTRY_VERIFY(secondUser.opened() > 0);
    QCOMPARE(secondUser.lastOpened(), "public");
}

QTEST_GUILESS_MAIN(TokenSecrecyTest)
#include "TokenSecrecyTest.moc"
