#include "storage/HistoryRepository.h"
#include "storage/SettingsStore.h"
#include "support/TarqTest.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRandomGenerator>

#include <chrono>
#include <thread>

#include <csignal>

#include <sys/wait.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

constexpr int kKills = 200;
constexpr int kLatestKillUs = 20000;

// Texts long enough for more than one block on the disk, whose every character tells the round they
// belong to: a mixture of two rounds shows.
QString textOf(int round)
{
    return QString(9000, QChar(u'a' + round % 26));
}

[[noreturn]] void writeForEver(int readyPipe)
{
    SettingsStore store;
    store.ensureScaffold(nullptr);
    HistoryRepository history(store.paths().historyFile);
    if (::write(readyPipe, "r", 1) != 1) {
        ::_exit(1);
    }
    for (int round = 0;; ++round) {
        const QString text = textOf(round);
        store.setRecordingHotkey(text);
        store.setShowInTray(round % 2 == 0);
        store.saveAuthTokens({text, text, round, text, text});
        history.add(text);
        if (round % 8 == 7) {
            history.clearAll();
            store.resetToDefaults();
            store.clearAuthTokens();
        }
    }
}

bool isOfOneRound(const QString& text)
{
    return text.size() == 9000 && text.count(text.front()) == 9000;
}

} // namespace

// The program may be killed in the middle of any write: what is on disk afterwards is whole.
class StorageKillTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void filesAreWholeAfterAKillAtAnyMoment();

private:
    void verifySettings() const;
    void verifyKeys() const;
    void verifyHistory() const;
    void verifyLeftovers() const;

    static void runAndKillAfter(std::chrono::microseconds delay)
    {
        int ready[2];
        QCOMPARE(::pipe(ready), 0);
        const pid_t child = ::fork();
        QVERIFY(child >= 0);
        if (child == 0) {
            ::close(ready[0]);
            writeForEver(ready[1]);
        }
        ::close(ready[1]);
        char byte = 0;
        const ssize_t received = ::read(ready[0], &byte, 1);
        ::close(ready[0]);
        std::this_thread::sleep_for(delay);
        ::kill(child, SIGKILL);
        int status = 0;
        QCOMPARE(::waitpid(child, &status, 0), child);
        QVERIFY(WIFSIGNALED(status));
        QCOMPARE(received, 1);
    }

    [[nodiscard]] QJsonObject objectIn(const QString& name) const
    {
        QJsonParseError error;
        const QJsonDocument document = QJsonDocument::fromJson(readFile(configPath(name)), &error);
        return error.error == QJsonParseError::NoError ? document.object() : QJsonObject();
    }
};

void StorageKillTest::filesAreWholeAfterAKillAtAnyMoment()
{
    const quint32 seed = QRandomGenerator::global()->generate();
    qInfo("Seed %u", seed);
    QRandomGenerator random(seed);
    for (int i = 0; i < kKills; ++i) {
        runAndKillAfter(std::chrono::microseconds(random.bounded(kLatestKillUs)));
        verifySettings();
        verifyKeys();
        verifyHistory();
        verifyLeftovers();
        if (QTest::currentTestFailed()) {
            qInfo("After kill %d", i);
            return;
        }
    }
}

void StorageKillTest::verifySettings() const
{
    const QJsonObject settings = objectIn(u"settings.json"_s);
    QCOMPARE(settings.size(), 9);
    const QString hotkey = settings.value("recordingHotkey"_L1).toString();
    QVERIFY(hotkey == u"Super+Space"_s || isOfOneRound(hotkey));
    QVERIFY(settings.value("showInTray"_L1).isBool());
    QCOMPARE(settings.value("transcriptionLanguage"_L1).toString(), u"auto"_s);
    QCOMPARE(modeOf(configPath(u"settings.json"_s)), 0600U);
}

void StorageKillTest::verifyKeys() const
{
    const QJsonObject keys = objectIn(u"keys.json"_s);
    QCOMPARE(keys.value("model"_L1).toString(), u"whisper-large-v3-turbo"_s);
    const QString accessToken = keys.value("accessToken"_L1).toString();
    QVERIFY(accessToken.isEmpty() || isOfOneRound(accessToken));
    for (const auto& name : {"refreshToken"_L1, "userId"_L1, "userEmail"_L1}) {
        QCOMPARE(keys.value(name).toString(), accessToken);
    }
    QCOMPARE(modeOf(configPath(u"keys.json"_s)), 0600U);
}

void StorageKillTest::verifyHistory() const
{
    const QJsonObject document = objectIn(u"history.json"_s);
    QVERIFY(document.value("entries"_L1).isArray());
    const QJsonArray entries = document.value("entries"_L1).toArray();
    for (const QJsonValue& entry : entries) {
        QVERIFY(isOfOneRound(entry.toObject().value("text"_L1).toString()));
        QVERIFY(entry.toObject().value("id"_L1).toDouble() > 0);
    }
    QCOMPARE(HistoryRepository(configPath(u"history.json"_s)).count(), entries.size());
    QCOMPARE(modeOf(configPath(u"history.json"_s)), 0600U);
}

void StorageKillTest::verifyLeftovers() const
{
    // A file that was being written stays behind, but nobody else can read a token in it.
    for (const QFileInfo& file : QDir(configPath()).entryInfoList(QDir::Files | QDir::Hidden)) {
        QVERIFY(file.size() == 0 || modeOf(file.filePath()) == 0600U);
    }
}

QTEST_GUILESS_MAIN(StorageKillTest)
#include "StorageKillTest.moc"
