#include "storage/SettingsStore.h"
#include "support/TarqTest.h"

#include <QDir>

using namespace Qt::StringLiterals;

class SettingsResetTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void eightSignalsComeInOrder_data();
    void eightSignalsComeInOrder();
    void everySettingReturnsToItsDefault();
    void fileGetsTheDefaultBytes();
    void autostartEntryStays();
    void sessionAndHistoryStay();
    void failedWriteRereadsTheOldFileAndStillSignals();
    void unreadableFileLeavesTheSettingsAndStillSignals();
};

void SettingsResetTest::eightSignalsComeInOrder_data()
{
    QTest::addColumn<bool>("changedBefore");

    QTest::newRow("after changes") << true;
    QTest::newRow("without any change") << false;
}

void SettingsResetTest::eightSignalsComeInOrder()
{
    QFETCH(const bool, changedBefore);
    SettingsStore store;
    QVERIFY(store.ensureScaffold(nullptr));
    if (changedBefore) {
        store.setFirstRunComplete(true);
        store.setRecordingHotkey(u"F9"_s);
    }

    QByteArrayList signalsSeen;
    const auto note = [&](const char* name) {
        return [&signalsSeen, name]() {
            signalsSeen.append(name);
        };
    };
    connect(&store, &SettingsStore::microphoneDeviceIdChanged, this, note("microphoneDeviceId"));
    connect(&store, &SettingsStore::recordingHotkeyChanged, this, note("recordingHotkey"));
    connect(&store, &SettingsStore::pushToTalkModeChanged, this, note("pushToTalkMode"));
    connect(&store, &SettingsStore::autoStartChanged, this, note("autoStart"));
    connect(&store, &SettingsStore::showInTrayChanged, this, note("showInTray"));
    connect(&store, &SettingsStore::firstRunCompleteChanged, this, note("firstRunComplete"));
    connect(&store, &SettingsStore::telemetryOptInChanged, this, note("telemetryOptIn"));
    connect(
        &store, &SettingsStore::transcriptionLanguageChanged, this, note("transcriptionLanguage"));
    connect(&store, &SettingsStore::autoPunctuationChanged, this, note("autoPunctuation"));
    store.resetToDefaults();
    QCOMPARE(signalsSeen,
        (QByteArrayList{"microphoneDeviceId", "recordingHotkey", "pushToTalkMode", "autoStart",
            "showInTray", "telemetryOptIn", "transcriptionLanguage", "autoPunctuation"}));
}

void SettingsResetTest::everySettingReturnsToItsDefault()
{
    SettingsStore store;
    QVERIFY(store.ensureScaffold(nullptr));
    store.setMicrophoneDeviceId(u"m"_s);
    store.setRecordingHotkey(u"F9"_s);
    store.setPushToTalkMode(false);
    store.setAutoStart(true);
    store.setShowInTray(false);
    store.setFirstRunComplete(true);
    store.setTelemetryOptIn(true);
    store.setTranscriptionLanguage(u"de"_s);
    store.setAutoPunctuation(false);

    // Whoever rereads at the first signal sees every default already.
    QString languageAtFirstSignal;
    connect(&store, &SettingsStore::microphoneDeviceIdChanged, this,
        [&]() { languageAtFirstSignal = store.transcriptionLanguage(); });
    store.resetToDefaults();
    QCOMPARE(languageAtFirstSignal, u"auto"_s);

    QCOMPARE(store.microphoneDeviceId(), QString());
    QCOMPARE(store.recordingHotkey(), u"Super+Space"_s);
    QCOMPARE(store.pushToTalkMode(), true);
    QCOMPARE(store.autoStart(), false);
    QCOMPARE(store.showInTray(), true);
    QCOMPARE(store.firstRunComplete(), false);
    QCOMPARE(store.telemetryOptIn(), false);
    QCOMPARE(store.transcriptionLanguage(), u"auto"_s);
    QCOMPARE(store.autoPunctuation(), true);
}

void SettingsResetTest::fileGetsTheDefaultBytes()
{
    SettingsStore store;
    QVERIFY(store.ensureScaffold(nullptr));
    const QByteArray defaults = readFile(configPath(u"settings.json"_s));
    store.setShowInTray(false);
    QVERIFY(readFile(configPath(u"settings.json"_s)) != defaults);
    store.resetToDefaults();
    QCOMPARE(readFile(configPath(u"settings.json"_s)), defaults);
    QCOMPARE(modeOf(configPath(u"settings.json"_s)), 0600U);
}

void SettingsResetTest::autostartEntryStays()
{
    SettingsStore store;
    QVERIFY(store.ensureScaffold(nullptr));
    store.setAutoStart(true);
    store.resetToDefaults();
    QVERIFY(!store.autoStart());
    QVERIFY(QFile::exists(homePath(u".config/autostart/tarq-linux.desktop"_s)));
}

void SettingsResetTest::sessionAndHistoryStay()
{
    const QByteArray keys = "{\"accessToken\":\"a\"}"_ba;
    const QByteArray history = "{\"entries\":[{\"text\":\"a\"}]}"_ba;
    writeFile(configPath(u"keys.json"_s), keys);
    writeFile(configPath(u"history.json"_s), history);
    SettingsStore store;
    QVERIFY(store.ensureScaffold(nullptr));
    store.resetToDefaults();
    QCOMPARE(readFile(configPath(u"keys.json"_s)), keys);
    QCOMPARE(readFile(configPath(u"history.json"_s)), history);
}

void SettingsResetTest::failedWriteRereadsTheOldFileAndStillSignals()
{
    SettingsStore store;
    QVERIFY(store.ensureScaffold(nullptr));
    store.setRecordingHotkey(u"F9"_s);
    const QByteArray before = readFile(configPath(u"settings.json"_s));
    const QSignalSpy changed(&store, &SettingsStore::recordingHotkeyChanged);
    const QSignalSpy lastChanged(&store, &SettingsStore::autoPunctuationChanged);
    {
        const FileSizeLimit limit(100);
        store.resetToDefaults();
    }
    QCOMPARE(store.recordingHotkey(), u"F9"_s);
    QCOMPARE(readFile(configPath(u"settings.json"_s)), before);
    QCOMPARE(changed.count(), 1);
    QCOMPARE(lastChanged.count(), 1);
}

void SettingsResetTest::unreadableFileLeavesTheSettingsAndStillSignals()
{
    SettingsStore store;
    QVERIFY(store.ensureScaffold(nullptr));
    store.setRecordingHotkey(u"F9"_s);
    QVERIFY(QFile::remove(configPath(u"settings.json"_s)));
    QVERIFY(QDir().mkpath(configPath(u"settings.json"_s)));
    const QSignalSpy changed(&store, &SettingsStore::recordingHotkeyChanged);
    store.resetToDefaults();
    QCOMPARE(store.recordingHotkey(), u"F9"_s);
    QCOMPARE(changed.count(), 1);
}

QTEST_GUILESS_MAIN(SettingsResetTest)
#include "SettingsResetTest.moc"
