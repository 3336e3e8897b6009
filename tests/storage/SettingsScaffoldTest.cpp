#include "storage/FailingChmod.h"
#include "storage/SettingsDefaults.h"
#include "storage/SettingsStore.h"
#include "support/TarqTest.h"

#include <QDir>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace {

constexpr auto kDefaultSettings = R"({
  "microphoneDeviceId": "",
  "recordingHotkey": "Super+Space",
  "pushToTalkMode": true,
  "autoStart": false,
  "showInTray": true,
  "firstRunComplete": false,
  "telemetryOptIn": false,
  "transcriptionLanguage": "auto",
  "autoPunctuation": true
}
)";
constexpr auto kDefaultKeys = "{\n  \"model\": \"whisper-large-v3-turbo\"\n}\n";
constexpr auto kDefaultHistory = "{\n  \"entries\": []\n}\n";

} // namespace

class SettingsScaffoldTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void constructorTouchesNoFile();
    void pathsAreBelowTheHomeDirectory();
    void xdgConfigHomeMovesNothing();
    void firstStartWritesTheDefaults_data();
    void firstStartWritesTheDefaults();
    void firstStartMakesEverythingPrivate();
    void umaskDoesntMatter();
    void directoriesOpenToOthersBecomePrivate();
    void validFileIsKeptAndMadePrivate_data();
    void validFileIsKeptAndMadePrivate();
    void corruptFileIsReplacedByItsDefault_data();
    void corruptFileIsReplacedByItsDefault();
    void unwritableHomeIsReported();
    void fileInThePlaceOfTheDirectoryIsReported();
    void fileInThePlaceOfTheSpoolIsReported();
    void directoryInThePlaceOfAFileIsReported_data();
    void directoryInThePlaceOfAFileIsReported();
    void fullDiskIsReported();
    void refusedDirectoryPermissionsAreReported();
    void refusedFilePermissionsAreReported();
    void failureWithoutAPlaceForTheMessageIsOnlyFalse();
    void failedScaffoldLoadsNothing();
    void secondStartFindsEverythingInPlace();
};

void SettingsScaffoldTest::constructorTouchesNoFile()
{
    const SettingsStore store;
    QVERIFY(QDir(homePath()).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot));
}

void SettingsScaffoldTest::pathsAreBelowTheHomeDirectory()
{
    const SettingsStore store;
    const QString root = homePath(u".config/Tarq-Linux"_s);
    QCOMPARE(store.paths().configRoot, root);
    QCOMPARE(store.configDirectory(), root);
    QCOMPARE(store.paths().settingsFile, root + "/settings.json"_L1);
    QCOMPARE(store.paths().keysFile, root + "/keys.json"_L1);
    QCOMPARE(store.paths().historyFile, root + "/history.json"_L1);
    QCOMPARE(store.paths().spoolDirectory, root + "/spool"_L1);
}

void SettingsScaffoldTest::xdgConfigHomeMovesNothing()
{
    const ScopedVariable elsewhere("XDG_CONFIG_HOME", homePath(u"elsewhere"_s).toLocal8Bit());
    SettingsStore store;
    QVERIFY(store.ensureScaffold(nullptr));
    QVERIFY(QFile::exists(configPath(u"settings.json"_s)));
    QVERIFY(!QFile::exists(homePath(u"elsewhere"_s)));
    QCOMPARE(autostartDesktopPath(), homePath(u".config/autostart/tarq-linux.desktop"_s));
}

void SettingsScaffoldTest::firstStartWritesTheDefaults_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<int>("size");

    QTest::newRow("settings") << u"settings.json"_s << QByteArray(kDefaultSettings) << 255;
    QTest::newRow("keys") << u"keys.json"_s << QByteArray(kDefaultKeys) << 40;
    QTest::newRow("history") << u"history.json"_s << QByteArray(kDefaultHistory) << 20;
}

void SettingsScaffoldTest::firstStartWritesTheDefaults()
{
    QFETCH(const QString, name);
    SettingsStore store;
    QString error;
    QVERIFY(store.ensureScaffold(&error));
    QCOMPARE(error, QString());
    const QByteArray written = readFile(configPath(name));
    QTEST(written, "content");
    QTEST(static_cast<int>(written.size()), "size");
}

void SettingsScaffoldTest::firstStartMakesEverythingPrivate()
{
    SettingsStore store;
    QVERIFY(store.ensureScaffold(nullptr));
    QCOMPARE(modeOf(configPath()), 0700U);
    QCOMPARE(modeOf(configPath(u"spool"_s)), 0700U);
    for (const QString& name : {u"settings.json"_s, u"keys.json"_s, u"history.json"_s}) {
        QCOMPARE(modeOf(configPath(name)), 0600U);
    }
    const auto kEverything = QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot;
    QCOMPARE(QDir(configPath()).entryList(kEverything, QDir::Name),
        (QStringList{u"history.json"_s, u"keys.json"_s, u"settings.json"_s, u"spool"_s}));
}

void SettingsScaffoldTest::umaskDoesntMatter()
{
    const mode_t previous = ::umask(0);
    SettingsStore store;
    const bool complete = store.ensureScaffold(nullptr);
    ::umask(previous);
    QVERIFY(complete);
    QCOMPARE(modeOf(configPath()), 0700U);
    QCOMPARE(modeOf(configPath(u"keys.json"_s)), 0600U);
}

void SettingsScaffoldTest::directoriesOpenToOthersBecomePrivate()
{
    QVERIFY(QDir().mkpath(configPath(u"spool"_s)));
    QVERIFY(QFile::setPermissions(configPath(), QFile::Permissions(0x7755)));
    QVERIFY(QFile::setPermissions(configPath(u"spool"_s), QFile::Permissions(0x7777)));
    SettingsStore store;
    QVERIFY(store.ensureScaffold(nullptr));
    QCOMPARE(modeOf(configPath()), 0700U);
    QCOMPARE(modeOf(configPath(u"spool"_s)), 0700U);
}

void SettingsScaffoldTest::validFileIsKeptAndMadePrivate_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("content");

    QTest::newRow("settings") << u"settings.json"_s << "{ \"autoStart\":true }"_ba;
    QTest::newRow("settings, empty object") << u"settings.json"_s << "{}"_ba;
    QTest::newRow("settings, unknown key") << u"settings.json"_s << "{\"foo\": 1}"_ba;
    QTest::newRow("settings, some megabytes")
        << u"settings.json"_s << "{\"foo\":\""_ba + QByteArray(3000000, 'x') + "\"}";
    QTest::newRow("keys") << u"keys.json"_s << "{\"accessToken\":\"a\"}\n"_ba;
    QTest::newRow("history") << u"history.json"_s << "{\"entries\":7}"_ba;
}

void SettingsScaffoldTest::validFileIsKeptAndMadePrivate()
{
    QFETCH(const QString, name);
    QFETCH(const QByteArray, content);
    writeFile(configPath(name), content);
    QVERIFY(QFile::setPermissions(configPath(name), QFile::Permissions(0x6644)));
    SettingsStore store;
    QVERIFY(store.ensureScaffold(nullptr));
    QCOMPARE(readFile(configPath(name)), content);
    QCOMPARE(modeOf(configPath(name)), 0600U);
}

void SettingsScaffoldTest::corruptFileIsReplacedByItsDefault_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QByteArray>("replacement");

    const QByteArray deep = "{\"a\":"_ba + QByteArray(2000000, '[');
    QTest::newRow("settings, empty") << u"settings.json"_s << ""_ba << QByteArray(kDefaultSettings);
    QTest::newRow("settings, array")
        << u"settings.json"_s << "[]"_ba << QByteArray(kDefaultSettings);
    QTest::newRow("settings, garbage")
        << u"settings.json"_s << "gar\0bage"_ba << QByteArray(kDefaultSettings);
    QTest::newRow("settings, truncated")
        << u"settings.json"_s << "{\"showInTray\": fal"_ba << QByteArray(kDefaultSettings);
    QTest::newRow("settings, nested too deep")
        << u"settings.json"_s << deep << QByteArray(kDefaultSettings);
    QTest::newRow("settings, megabytes of garbage")
        << u"settings.json"_s << QByteArray(5000000, 'x') << QByteArray(kDefaultSettings);
    QTest::newRow("keys, array") << u"keys.json"_s << "[{}]"_ba << QByteArray(kDefaultKeys);
    QTest::newRow("keys, truncated")
        << u"keys.json"_s << "{\"accessToken\":\"a"_ba << QByteArray(kDefaultKeys);
    QTest::newRow("keys, nested too deep") << u"keys.json"_s << deep << QByteArray(kDefaultKeys);
    QTest::newRow("history, garbage")
        << u"history.json"_s << "garbage"_ba << QByteArray(kDefaultHistory);
    QTest::newRow("history, truncated")
        << u"history.json"_s << "{\"entries\":[{"_ba << QByteArray(kDefaultHistory);
    QTest::newRow("history, nested too deep")
        << u"history.json"_s << deep << QByteArray(kDefaultHistory);
}

void SettingsScaffoldTest::corruptFileIsReplacedByItsDefault()
{
    QFETCH(const QString, name);
    QFETCH(const QByteArray, content);
    writeFile(configPath(name), content);
    SettingsStore store;
    QString error;
    QVERIFY(store.ensureScaffold(&error));
    QCOMPARE(error, QString());
    QTEST(readFile(configPath(name)), "replacement");
    QCOMPARE(modeOf(configPath(name)), 0600U);
    // No backup is left beside it.
    QCOMPARE(QDir(configPath()).entryList(QDir::Files | QDir::Hidden).size(), 3);
}

void SettingsScaffoldTest::unwritableHomeIsReported()
{
    // Nobody can make a directory there, root included.
    const ScopedVariable home("HOME", "/proc"_ba);
    SettingsStore store;
    QString error;
    QVERIFY(!store.ensureScaffold(&error));
    QCOMPARE(error, u"Failed to create directory: /proc/.config/Tarq-Linux"_s);

    const QSignalSpy changed(&store, &SettingsStore::showInTrayChanged);
    store.setShowInTray(false);
    QCOMPARE(changed.count(), 1);
    QVERIFY(!store.showInTray());
}

void SettingsScaffoldTest::fileInThePlaceOfTheDirectoryIsReported()
{
    writeFile(configPath(), "a file"_ba);
    SettingsStore store;
    QString error;
    QVERIFY(!store.ensureScaffold(&error));
    QCOMPARE(error, "Failed to create directory: "_L1 + configPath());
    QCOMPARE(readFile(configPath()), "a file"_ba);
}

void SettingsScaffoldTest::fileInThePlaceOfTheSpoolIsReported()
{
    writeFile(configPath(u"spool"_s), "a file"_ba);
    SettingsStore store;
    QString error;
    QVERIFY(!store.ensureScaffold(&error));
    QCOMPARE(error, "Failed to create directory: "_L1 + configPath(u"spool"_s));
    // It ends with the first failure.
    QVERIFY(!QFile::exists(configPath(u"settings.json"_s)));
}

void SettingsScaffoldTest::directoryInThePlaceOfAFileIsReported_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QStringList>("written");

    QTest::newRow("settings") << u"settings.json"_s << QStringList();
    QTest::newRow("keys") << u"keys.json"_s << QStringList{u"settings.json"_s};
    QTest::newRow("history") << u"history.json"_s
                             << QStringList{u"keys.json"_s, u"settings.json"_s};
}

void SettingsScaffoldTest::directoryInThePlaceOfAFileIsReported()
{
    QFETCH(const QString, name);
    QVERIFY(QDir().mkpath(configPath(name)));
    SettingsStore store;
    QString error;
    QVERIFY(!store.ensureScaffold(&error));
    QCOMPARE(error, "Failed to open file: "_L1 + configPath(name));
    QTEST(QDir(configPath()).entryList(QDir::Files | QDir::Hidden, QDir::Name), "written");
}

void SettingsScaffoldTest::fullDiskIsReported()
{
    SettingsStore store;
    QString error;
    bool complete = true;
    {
        const FileSizeLimit limit(100);
        complete = store.ensureScaffold(&error);
    }
    QVERIFY(!complete);
    QCOMPARE(error, "Failed to finalize file: "_L1 + configPath(u"settings.json"_s));
    QCOMPARE(QDir(configPath()).entryList(QDir::Files | QDir::Hidden), QStringList());
}

void SettingsScaffoldTest::refusedDirectoryPermissionsAreReported()
{
    for (const QString& path : {configPath(u"spool"_s), QDir::cleanPath(configPath())}) {
        const FailingChmod refused(path);
        SettingsStore store;
        QString error;
        QVERIFY(!store.ensureScaffold(&error));
        QCOMPARE(error, "Failed to set directory permissions: "_L1 + path);
    }
}

void SettingsScaffoldTest::refusedFilePermissionsAreReported()
{
    // First when the file is new, then when it is there already.
    const FailingChmod refused(configPath(u"keys.json"_s));
    for (int start = 0; start < 2; ++start) {
        SettingsStore store;
        QString error;
        QVERIFY(!store.ensureScaffold(&error));
        QCOMPARE(error, "Failed to set file permissions: "_L1 + configPath(u"keys.json"_s));
        QVERIFY(!QFile::exists(configPath(u"history.json"_s)));
    }
}

void SettingsScaffoldTest::failureWithoutAPlaceForTheMessageIsOnlyFalse()
{
    writeFile(configPath(), ""_ba);
    SettingsStore store;
    QVERIFY(!store.ensureScaffold(nullptr));
}

void SettingsScaffoldTest::failedScaffoldLoadsNothing()
{
    writeFile(configPath(u"settings.json"_s), "{\"showInTray\":false}"_ba);
    QVERIFY(QDir().mkpath(configPath(u"history.json"_s)));
    SettingsStore store;
    QVERIFY(!store.ensureScaffold(nullptr));
    QVERIFY(store.showInTray());
}

void SettingsScaffoldTest::secondStartFindsEverythingInPlace()
{
    SettingsStore first;
    QVERIFY(first.ensureScaffold(nullptr));
    first.setRecordingHotkey(u"F9"_s);
    const QByteArray settings = readFile(configPath(u"settings.json"_s));

    SettingsStore second;
    QVERIFY(second.ensureScaffold(nullptr));
    QCOMPARE(second.recordingHotkey(), u"F9"_s);
    QCOMPARE(readFile(configPath(u"settings.json"_s)), settings);
}

QTEST_GUILESS_MAIN(SettingsScaffoldTest)
#include "SettingsScaffoldTest.moc"
