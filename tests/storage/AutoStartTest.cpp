#include "storage/SettingsStore.h"
#include "support/TarqTest.h"

#include <QDir>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

class AutoStartTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void init();
    void entryHasTheExactBytes();
    void entryKeepsTheModeOfAnOrdinaryFile();
    void enablingReplacesAnEditedEntry();
    void disablingRemovesTheEntry();
    void disablingWithoutAnEntrySucceeds();
    void settingMakesAndRemovesTheEntry();
    void settingIsOnDiskAndAppliedBeforeItsSignal();
    void applyingChangesNoSetting();
    void startDoesntReconcileSettingAndEntry();
    void fileInThePlaceOfTheDirectoryFails();
    void directoryInThePlaceOfTheEntryFails();
    void fullDiskFailsAndKeepsTheOldEntry();
    void settingStaysTrueWhenTheEntryFails();

private:
    [[nodiscard]] QString entryPath() const
    {
        return homePath(u".config/autostart/tarq-linux.desktop"_s);
    }
};

void AutoStartTest::init()
{
    TarqTest::init();
    SettingsStore store;
    QVERIFY(store.ensureScaffold(nullptr));
}

void AutoStartTest::entryHasTheExactBytes()
{
    SettingsStore store;
    QVERIFY(store.applyAutoStart(true));
    const QByteArray entry = readFile(entryPath());
    QCOMPARE(entry, R"([Desktop Entry]
Type=Application
Name=Tarq
Comment=Floating voice-to-text assistant
Exec=tarq-linux
Icon=tarq-linux
Terminal=false
Categories=Utility;Accessibility;Audio;
X-GNOME-Autostart-enabled=true
StartupNotify=false
)"_ba);
    QCOMPARE(entry.size(), 222);
}

void AutoStartTest::entryKeepsTheModeOfAnOrdinaryFile()
{
    const mode_t previous = ::umask(022);
    SettingsStore store;
    const bool written = store.applyAutoStart(true);
    ::umask(previous);
    QVERIFY(written);
    QCOMPARE(modeOf(entryPath()), 0644U);

    QVERIFY(QFile::setPermissions(entryPath(), QFile::Permissions(0x6640)));
    QVERIFY(store.applyAutoStart(true));
    QCOMPARE(modeOf(entryPath()), 0640U);
}

void AutoStartTest::enablingReplacesAnEditedEntry()
{
    writeFile(entryPath(), "[Desktop Entry]\nHidden=true\n"_ba);
    SettingsStore store;
    QVERIFY(store.applyAutoStart(true));
    QCOMPARE(readFile(entryPath()).size(), 222);
}

void AutoStartTest::disablingRemovesTheEntry()
{
    SettingsStore store;
    QVERIFY(store.applyAutoStart(true));
    QVERIFY(store.applyAutoStart(false));
    QVERIFY(!QFile::exists(entryPath()));
}

void AutoStartTest::disablingWithoutAnEntrySucceeds()
{
    SettingsStore store;
    QVERIFY(store.applyAutoStart(false));
    QVERIFY(!QFile::exists(QFileInfo(entryPath()).path()));
}

void AutoStartTest::settingMakesAndRemovesTheEntry()
{
    SettingsStore store;
    store.setAutoStart(true);
    QVERIFY(QFile::exists(entryPath()));
    store.setAutoStart(false);
    QVERIFY(!QFile::exists(entryPath()));
}

void AutoStartTest::settingIsOnDiskAndAppliedBeforeItsSignal()
{
    SettingsStore store;
    bool seen = false;
    connect(&store, &SettingsStore::autoStartChanged, this, [&]() {
        seen = true;
        QVERIFY(readFile(configPath(u"settings.json"_s)).contains("\"autoStart\": true"));
        QVERIFY(QFile::exists(entryPath()));
    });
    store.setAutoStart(true);
    QVERIFY(seen);
}

void AutoStartTest::applyingChangesNoSetting()
{
    SettingsStore store;
    const QSignalSpy changed(&store, &SettingsStore::autoStartChanged);
    QVERIFY(store.applyAutoStart(true));
    QVERIFY(!store.autoStart());
    QCOMPARE(changed.count(), 0);
}

void AutoStartTest::startDoesntReconcileSettingAndEntry()
{
    writeFile(configPath(u"settings.json"_s), "{\"autoStart\":true}"_ba);
    SettingsStore store;
    QVERIFY(store.ensureScaffold(nullptr));
    QVERIFY(store.autoStart());
    QVERIFY(!QFile::exists(entryPath()));
}

void AutoStartTest::fileInThePlaceOfTheDirectoryFails()
{
    writeFile(homePath(u".config/autostart"_s), "a file"_ba);
    SettingsStore store;
    QVERIFY(!store.applyAutoStart(true));
    QVERIFY(store.applyAutoStart(false));
}

void AutoStartTest::directoryInThePlaceOfTheEntryFails()
{
    QVERIFY(QDir().mkpath(entryPath()));
    SettingsStore store;
    QVERIFY(!store.applyAutoStart(true));
    QVERIFY(!store.applyAutoStart(false));
    QVERIFY(QFileInfo(entryPath()).isDir());
}

void AutoStartTest::fullDiskFailsAndKeepsTheOldEntry()
{
    writeFile(entryPath(), "old"_ba);
    SettingsStore store;
    bool written = true;
    {
        const FileSizeLimit limit(100);
        written = store.applyAutoStart(true);
    }
    QVERIFY(!written);
    QCOMPARE(readFile(entryPath()), "old"_ba);
}

void AutoStartTest::settingStaysTrueWhenTheEntryFails()
{
    QVERIFY(QDir().mkpath(entryPath()));
    SettingsStore store;
    const QSignalSpy changed(&store, &SettingsStore::autoStartChanged);
    store.setAutoStart(true);
    QVERIFY(store.autoStart());
    QCOMPARE(changed.count(), 1);
    QVERIFY(readFile(configPath(u"settings.json"_s)).contains("\"autoStart\": true"));
}

QTEST_GUILESS_MAIN(AutoStartTest)
#include "AutoStartTest.moc"
