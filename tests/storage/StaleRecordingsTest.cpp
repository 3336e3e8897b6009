#include "storage/SettingsStore.h"
#include "support/TarqTest.h"

#include <QDateTime>
#include <QDir>
#include <QFile>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 kDayMs = 86400000;
constexpr qint64 kMinuteMs = 60000;

} // namespace

class StaleRecordingsTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void init();
    void oldFileGoesByDirectoryAndName_data();
    void oldFileGoesByDirectoryAndName();
    void fileGoesOnlyWhenOlderThanADay_data();
    void fileGoesOnlyWhenOlderThanADay();
    void fileOfJustADayIsJudgedStrictly();
    void filesInSubdirectoriesStay();
    void directoryWithTheNameOfARecordingStays();
    void linkToAnOldRecordingGoesAndItsTargetStays();
    void allOfManyFilesGo();
    void missingDirectoriesAreSkipped();
    void filesInThePlaceOfTheDirectoriesAreSkipped();
    void missingSpoolDoesntSaveTheCache();

private:
    [[nodiscard]] QString spoolPath(const QString& name = {}) const
    {
        return QDir(configPath(u"spool"_s)).filePath(name);
    }

    static void makeFile(const QString& path, qint64 ageMs)
    {
        writeFile(path, "RIFF"_ba);
        setTime(path, QDateTime::currentMSecsSinceEpoch() - ageMs);
    }

    static void setTime(const QString& path, qint64 msSinceEpoch)
    {
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadWrite));
        QVERIFY(file.setFileTime(
            QDateTime::fromMSecsSinceEpoch(msSinceEpoch), QFile::FileModificationTime));
    }
};

void StaleRecordingsTest::init()
{
    TarqTest::init();
    SettingsStore store;
    QVERIFY(store.ensureScaffold(nullptr));
}

void StaleRecordingsTest::oldFileGoesByDirectoryAndName_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("goesFromSpool");
    QTest::addColumn<bool>("goesFromCache");

    QTest::newRow("a recording of ours") << u"tarq-linux-1.wav"_s << true << true;
    QTest::newRow("nothing for the number") << u"tarq-linux-.wav"_s << true << true;
    QTest::newRow("any other recording") << u"old.wav"_s << true << false;
    QTest::newRow("ours by its end only") << u"my-tarq-linux-1.wav"_s << true << false;
    QTest::newRow("another format") << u"tarq-linux-1.txt"_s << false << false;
    QTest::newRow("more behind the ending") << u"tarq-linux-1.wav.bak"_s << false << false;
    QTest::newRow("no ending") << u"tarq-linux-1"_s << false << false;
    QTest::newRow("hidden") << u".tarq-linux-1.wav"_s << false << false;
    QTest::newRow("hidden, only the ending") << u".wav"_s << false << false;
}

void StaleRecordingsTest::oldFileGoesByDirectoryAndName()
{
    QFETCH(const QString, name);
    makeFile(spoolPath(name), 2 * kDayMs);
    makeFile(cachePath(name), 2 * kDayMs);
    SettingsStore().cleanStaleCacheFiles();
    QTEST(!QFile::exists(spoolPath(name)), "goesFromSpool");
    QTEST(!QFile::exists(cachePath(name)), "goesFromCache");
}

void StaleRecordingsTest::fileGoesOnlyWhenOlderThanADay_data()
{
    QTest::addColumn<qint64>("ageMs");
    QTest::addColumn<bool>("goes");

    QTest::newRow("new") << qint64(0) << false;
    QTest::newRow("a minute under a day") << kDayMs - kMinuteMs << false;
    QTest::newRow("a minute over a day") << kDayMs + kMinuteMs << true;
    QTest::newRow("years") << 3000 * kDayMs << true;
    QTest::newRow("from the future") << -kDayMs << false;
}

void StaleRecordingsTest::fileGoesOnlyWhenOlderThanADay()
{
    QFETCH(const qint64, ageMs);
    makeFile(spoolPath(u"tarq-linux-1.wav"_s), ageMs);
    makeFile(cachePath(u"tarq-linux-1.wav"_s), ageMs);
    SettingsStore().cleanStaleCacheFiles();
    QTEST(!QFile::exists(spoolPath(u"tarq-linux-1.wav"_s)), "goes");
    QTEST(!QFile::exists(cachePath(u"tarq-linux-1.wav"_s)), "goes");
}

void StaleRecordingsTest::fileOfJustADayIsJudgedStrictly()
{
    // A ladder of files whose ages lie a millisecond apart, around a day: the sweep's own moment
    // lies between the two clock readings, so the rung at which it cut is known within them. A file
    // that is a day old at the later reading is at most that at the sweep, and so it stays.
    constexpr qint64 kRungs = 50;
    const qint64 base = QDateTime::currentMSecsSinceEpoch() - kDayMs;
    for (qint64 rung = -kRungs; rung <= kRungs; ++rung) {
        const QString path = spoolPath(u"%1.wav"_s.arg(rung));
        writeFile(path, "RIFF"_ba);
        setTime(path, base + rung);
    }
    const qint64 before = QDateTime::currentMSecsSinceEpoch() - kDayMs;
    SettingsStore().cleanStaleCacheFiles();
    const qint64 after = QDateTime::currentMSecsSinceEpoch() - kDayMs;
    for (qint64 rung = -kRungs; rung <= kRungs; ++rung) {
        const bool exists = QFile::exists(spoolPath(u"%1.wav"_s.arg(rung)));
        if (base + rung >= after) {
            QVERIFY(exists);
        } else if (base + rung < before) {
            QVERIFY(!exists);
        }
    }
}

void StaleRecordingsTest::filesInSubdirectoriesStay()
{
    const QStringList paths{
        spoolPath(u"sub/tarq-linux-1.wav"_s), cachePath(u"sub/tarq-linux-1.wav"_s)};
    for (const QString& path : paths) {
        makeFile(path, 2 * kDayMs);
    }
    SettingsStore().cleanStaleCacheFiles();
    for (const QString& path : paths) {
        QVERIFY(QFile::exists(path));
    }
}

void StaleRecordingsTest::directoryWithTheNameOfARecordingStays()
{
    QVERIFY(QDir().mkpath(spoolPath(u"tarq-linux-1.wav"_s)));
    QVERIFY(QDir().mkpath(cachePath(u"tarq-linux-1.wav"_s)));
    SettingsStore().cleanStaleCacheFiles();
    QVERIFY(QFileInfo(spoolPath(u"tarq-linux-1.wav"_s)).isDir());
    QVERIFY(QFileInfo(cachePath(u"tarq-linux-1.wav"_s)).isDir());
}

void StaleRecordingsTest::linkToAnOldRecordingGoesAndItsTargetStays()
{
    const QString target = homePath(u"elsewhere.wav"_s);
    makeFile(target, 2 * kDayMs);
    QVERIFY(QFile::link(target, spoolPath(u"link.wav"_s)));
    SettingsStore().cleanStaleCacheFiles();
    QVERIFY(!QFileInfo(spoolPath(u"link.wav"_s)).isSymLink());
    QVERIFY(QFile::exists(target));
}

void StaleRecordingsTest::allOfManyFilesGo()
{
    // Removing while walking must not make the walk lose its place.
    for (int i = 0; i < 2000; ++i) {
        makeFile(cachePath(u"tarq-linux-%1.wav"_s.arg(i)), 2 * kDayMs);
    }
    makeFile(cachePath(u"tarq-linux-new.wav"_s), 0);
    SettingsStore().cleanStaleCacheFiles();
    QCOMPARE(QDir(cachePath()).entryList(QDir::Files), QStringList{u"tarq-linux-new.wav"_s});
}

void StaleRecordingsTest::missingDirectoriesAreSkipped()
{
    QVERIFY(QDir(configPath()).removeRecursively());
    SettingsStore().cleanStaleCacheFiles();
    QVERIFY(!QFile::exists(spoolPath()));
    QVERIFY(!QFile::exists(cachePath()));
}

void StaleRecordingsTest::filesInThePlaceOfTheDirectoriesAreSkipped()
{
    QVERIFY(QDir(spoolPath()).removeRecursively());
    writeFile(configPath(u"spool"_s), "a file"_ba);
    writeFile(homePath(u".cache/Tarq-Linux"_s), "a file"_ba);
    SettingsStore().cleanStaleCacheFiles();
    QCOMPARE(readFile(configPath(u"spool"_s)), "a file"_ba);
    QCOMPARE(readFile(homePath(u".cache/Tarq-Linux"_s)), "a file"_ba);
}

void StaleRecordingsTest::missingSpoolDoesntSaveTheCache()
{
    // Without the spool the cache is swept all the same.
    QVERIFY(QDir(spoolPath()).removeRecursively());
    makeFile(cachePath(u"tarq-linux-1.wav"_s), 2 * kDayMs);
    SettingsStore().cleanStaleCacheFiles();
    QVERIFY(!QFile::exists(cachePath(u"tarq-linux-1.wav"_s)));
}

QTEST_GUILESS_MAIN(StaleRecordingsTest)
#include "StaleRecordingsTest.moc"
