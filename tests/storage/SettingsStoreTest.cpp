#include "storage/SettingsStore.h"
#include "support/TarqTest.h"

#include <QCoreApplication>
#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMetaMethod>
#include <QMetaProperty>

#include <memory>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

QVariantMap valuesOf(const SettingsStore& store)
{
    const QMetaObject& meta = SettingsStore::staticMetaObject;
    QVariantMap values;
    for (int i = meta.propertyOffset(); i < meta.propertyCount(); ++i) {
        values.insert(QString::fromLatin1(meta.property(i).name()), meta.property(i).read(&store));
    }
    values.remove(u"appVersion"_s);
    return values;
}

QVariantMap defaultValues()
{
    return {
        {u"microphoneDeviceId"_s, QString()},
        {u"recordingHotkey"_s, u"Super+Space"_s},
        {u"pushToTalkMode"_s, true},
        {u"autoStart"_s, false},
        {u"showInTray"_s, true},
        {u"firstRunComplete"_s, false},
        {u"telemetryOptIn"_s, false},
        {u"transcriptionLanguage"_s, u"auto"_s},
        {u"autoPunctuation"_s, true},
    };
}

void addPropertyRows()
{
    QTest::addColumn<QByteArray>("property");
    QTest::addColumn<QVariant>("value");

    QTest::newRow("microphone") << "microphoneDeviceId"_ba << QVariant(u"alsa_input.usb"_s);
    QTest::newRow("hotkey") << "recordingHotkey"_ba << QVariant(u"Ctrl+Ö \"x\""_s);
    QTest::newRow("empty hotkey") << "recordingHotkey"_ba << QVariant(u""_s);
    QTest::newRow("push to talk") << "pushToTalkMode"_ba << QVariant(false);
    QTest::newRow("autostart") << "autoStart"_ba << QVariant(true);
    QTest::newRow("tray") << "showInTray"_ba << QVariant(false);
    QTest::newRow("first run") << "firstRunComplete"_ba << QVariant(true);
    QTest::newRow("telemetry") << "telemetryOptIn"_ba << QVariant(true);
    QTest::newRow("language") << "transcriptionLanguage"_ba << QVariant(u"de"_s);
    QTest::newRow("punctuation") << "autoPunctuation"_ba << QVariant(false);
}

// Counts the signals of a store, each under the name of its property.
class ChangeCounter final
{
public:
    explicit ChangeCounter(SettingsStore* store)
    {
        const QMetaObject& meta = SettingsStore::staticMetaObject;
        for (int i = meta.propertyOffset(); i < meta.propertyCount(); ++i) {
            const QMetaProperty property = meta.property(i);
            if (property.hasNotifySignal()) {
                m_spies.push_back(std::make_unique<QSignalSpy>(store, property.notifySignal()));
                m_names.append(property.name());
            }
        }
    }

    /// One name for each signal that was emitted.
    [[nodiscard]] QByteArrayList changes() const
    {
        QByteArrayList changes;
        for (qsizetype i = 0; i < m_names.size(); ++i) {
            for (int n = 0; n < m_spies[static_cast<size_t>(i)]->count(); ++n) {
                changes.append(m_names[i]);
            }
        }
        return changes;
    }

private:
    std::vector<std::unique_ptr<QSignalSpy>> m_spies;
    QByteArrayList m_names;
};

} // namespace

class SettingsStoreTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void newStoreHasTheDefaults();
    void qmlSeesTenProperties();
    void appVersionIsTheApplications();
    void emptyObjectGivesTheFallbacks();
    void valueOfTheWrongTypeFallsBack_data();
    void valueOfTheWrongTypeFallsBack();
    void anyTextIsTakenAsItStands_data();
    void anyTextIsTakenAsItStands();
    void loadingIsSilent();
    void changeIsWrittenAndSignalledOnce_data();
    void changeIsWrittenAndSignalledOnce();
    void presentValueWritesAndSignalsNothing_data();
    void presentValueWritesAndSignalsNothing();
    void changeIsOnDiskBeforeItsSignal();
    void firstChangeSortsTheKeysAndIndentsByFour();
    void unknownKeyGoesAtTheFirstChange();
    void vanishedFileIsWrittenAnewFromMemory();
    void vanishedDirectoryKeepsTheChangeInMemory();
    void fullDiskKeepsTheOldFileAndTheChangeInMemory();
    void editBehindItsBackIsOverwritten();
    void writtenFileIsPrivate();
    void flushWritesWhatIsInMemory();

private:
    [[nodiscard]] QJsonObject settingsOnDisk() const
    {
        return QJsonDocument::fromJson(readFile(configPath(u"settings.json"_s))).object();
    }
};

void SettingsStoreTest::newStoreHasTheDefaults()
{
    const SettingsStore store;
    QCOMPARE(valuesOf(store), defaultValues());
}

void SettingsStoreTest::qmlSeesTenProperties()
{
    const QMetaObject& meta = SettingsStore::staticMetaObject;
    QByteArrayList names;
    for (int i = meta.propertyOffset(); i < meta.propertyCount(); ++i) {
        const QMetaProperty property = meta.property(i);
        names.append(property.name());
        if (property.name() == "appVersion"_ba) {
            QVERIFY(property.isConstant() && !property.isWritable());
            QVERIFY(!property.hasNotifySignal());
        } else {
            QVERIFY(property.isWritable());
            QCOMPARE(property.notifySignal().name(), property.name() + "Changed"_ba);
        }
    }
    QCOMPARE(names,
        (QByteArrayList{"microphoneDeviceId", "recordingHotkey", "pushToTalkMode", "autoStart",
            "showInTray", "firstRunComplete", "telemetryOptIn", "transcriptionLanguage",
            "autoPunctuation", "appVersion"}));
}

void SettingsStoreTest::appVersionIsTheApplications()
{
    QCoreApplication::setApplicationVersion(u"9.8.7"_s);
    QCOMPARE(SettingsStore().appVersion(), u"9.8.7"_s);
}

void SettingsStoreTest::emptyObjectGivesTheFallbacks()
{
    writeFile(configPath(u"settings.json"_s), "{}"_ba);
    SettingsStore store;
    QVERIFY(store.ensureScaffold(nullptr));
    QCOMPARE(valuesOf(store), defaultValues());
    QCOMPARE(readFile(configPath(u"settings.json"_s)), "{}"_ba);

    store.setShowInTray(false);
    QCOMPARE(settingsOnDisk().size(), 9);
}

void SettingsStoreTest::valueOfTheWrongTypeFallsBack_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QByteArray>("value");

    QTest::newRow("punctuation is a string") << u"autoPunctuation"_s << "\"yes\""_ba;
    QTest::newRow("hotkey is a number") << u"recordingHotkey"_s << "7"_ba;
    QTest::newRow("hotkey is null") << u"recordingHotkey"_s << "null"_ba;
    QTest::newRow("microphone is a list") << u"microphoneDeviceId"_s << "[\"a\"]"_ba;
    QTest::newRow("language is a bool") << u"transcriptionLanguage"_s << "false"_ba;
    QTest::newRow("tray is 0") << u"showInTray"_s << "0"_ba;
    QTest::newRow("push to talk is null") << u"pushToTalkMode"_s << "null"_ba;
    QTest::newRow("autostart is 1") << u"autoStart"_s << "1"_ba;
    QTest::newRow("first run is an object") << u"firstRunComplete"_s << "{}"_ba;
    QTest::newRow("telemetry is a string") << u"telemetryOptIn"_s << "\"true\""_ba;
}

void SettingsStoreTest::valueOfTheWrongTypeFallsBack()
{
    QFETCH(const QString, key);
    QFETCH(const QByteArray, value);
    // Every other value differs from its default, so that only the one falls back.
    QByteArray file = "{\"microphoneDeviceId\":\"m\",\"recordingHotkey\":\"h\",\"pushToTalkMode\":"
                      "false,\"autoStart\":true,\"showInTray\":false,\"firstRunComplete\":true,"
                      "\"telemetryOptIn\":true,\"transcriptionLanguage\":\"l\","
                      "\"autoPunctuation\":false,"_ba;
    file += '"' + key.toLatin1() + "\":" + value + '}';
    writeFile(configPath(u"settings.json"_s), file);
    SettingsStore store;
    QVERIFY(store.ensureScaffold(nullptr));

    const QVariantMap values = valuesOf(store);
    const QVariantMap defaults = defaultValues();
    for (const QString& name : values.keys()) {
        QCOMPARE(values.value(name) == defaults.value(name), name == key);
    }
}

void SettingsStoreTest::anyTextIsTakenAsItStands_data()
{
    QTest::addColumn<QByteArray>("property");
    QTest::addColumn<QString>("text");

    QTest::newRow("empty hotkey") << "recordingHotkey"_ba << u""_s;
    QTest::newRow("hotkey of any form") << "recordingHotkey"_ba << u" no hotkey "_s;
    QTest::newRow("empty language") << "transcriptionLanguage"_ba << u""_s;
    QTest::newRow("unknown language") << "transcriptionLanguage"_ba << u"tlh-QX"_s;
    QTest::newRow("microphone that isn't there") << "microphoneDeviceId"_ba << u"gone"_s;
}

void SettingsStoreTest::anyTextIsTakenAsItStands()
{
    QFETCH(const QByteArray, property);
    QFETCH(const QString, text);
    writeFile(configPath(u"settings.json"_s), "{\"" + property + "\":\"" + text.toUtf8() + "\"}");
    SettingsStore store;
    QVERIFY(store.ensureScaffold(nullptr));
    QCOMPARE(store.property(property.constData()), QVariant(text));
}

void SettingsStoreTest::loadingIsSilent()
{
    writeFile(
        configPath(u"settings.json"_s), "{\"showInTray\":false,\"recordingHotkey\":\"a\"}"_ba);
    SettingsStore store;
    const ChangeCounter counter(&store);
    QVERIFY(store.ensureScaffold(nullptr));
    QVERIFY(!store.showInTray());
    QCOMPARE(counter.changes(), QByteArrayList());
}

void SettingsStoreTest::changeIsWrittenAndSignalledOnce_data()
{
    addPropertyRows();
}

void SettingsStoreTest::changeIsWrittenAndSignalledOnce()
{
    QFETCH(const QByteArray, property);
    QFETCH(const QVariant, value);
    SettingsStore store;
    QVERIFY(store.ensureScaffold(nullptr));
    const ChangeCounter counter(&store);
    QVERIFY(store.setProperty(property.constData(), value));

    QCOMPARE(counter.changes(), QByteArrayList{property});
    QVariantMap expected = defaultValues();
    expected.insert(QString::fromLatin1(property), value);
    QCOMPARE(valuesOf(store), expected);
    QCOMPARE(settingsOnDisk().toVariantMap(), expected);

    SettingsStore next;
    QVERIFY(next.ensureScaffold(nullptr));
    QCOMPARE(valuesOf(next), expected);
}

void SettingsStoreTest::presentValueWritesAndSignalsNothing_data()
{
    addPropertyRows();
}

void SettingsStoreTest::presentValueWritesAndSignalsNothing()
{
    QFETCH(const QByteArray, property);
    QFETCH(const QVariant, value);
    SettingsStore store;
    QVERIFY(store.ensureScaffold(nullptr));
    store.setProperty(property.constData(), value);
    QVERIFY(QFile::remove(configPath(u"settings.json"_s)));

    const ChangeCounter counter(&store);
    store.setProperty(property.constData(), value);
    QCOMPARE(counter.changes(), QByteArrayList());
    QVERIFY(!QFile::exists(configPath(u"settings.json"_s)));
}

void SettingsStoreTest::changeIsOnDiskBeforeItsSignal()
{
    SettingsStore store;
    QVERIFY(store.ensureScaffold(nullptr));
    QString onDisk;
    connect(&store, &SettingsStore::recordingHotkeyChanged, this,
        [&]() { onDisk = settingsOnDisk().value("recordingHotkey"_L1).toString(); });
    store.setRecordingHotkey(u"F9"_s);
    QCOMPARE(onDisk, u"F9"_s);
}

void SettingsStoreTest::firstChangeSortsTheKeysAndIndentsByFour()
{
    SettingsStore store;
    QVERIFY(store.ensureScaffold(nullptr));
    store.setTranscriptionLanguage(u"de"_s);
    QCOMPARE(readFile(configPath(u"settings.json"_s)), R"({
    "autoPunctuation": true,
    "autoStart": false,
    "firstRunComplete": false,
    "microphoneDeviceId": "",
    "pushToTalkMode": true,
    "recordingHotkey": "Super+Space",
    "showInTray": true,
    "telemetryOptIn": false,
    "transcriptionLanguage": "de"
}
)"_ba);
}

void SettingsStoreTest::unknownKeyGoesAtTheFirstChange()
{
    writeFile(configPath(u"settings.json"_s), "{\"foo\": 1}"_ba);
    SettingsStore store;
    QVERIFY(store.ensureScaffold(nullptr));
    store.setShowInTray(true); // no change
    QVERIFY(settingsOnDisk().contains("foo"_L1));
    store.setShowInTray(false);
    QVERIFY(!settingsOnDisk().contains("foo"_L1));
}

void SettingsStoreTest::vanishedFileIsWrittenAnewFromMemory()
{
    SettingsStore store;
    QVERIFY(store.ensureScaffold(nullptr));
    store.setRecordingHotkey(u"F9"_s);
    QVERIFY(QFile::remove(configPath(u"settings.json"_s)));
    store.setShowInTray(false);
    QCOMPARE(settingsOnDisk().value("recordingHotkey"_L1).toString(), u"F9"_s);
    QCOMPARE(modeOf(configPath(u"settings.json"_s)), 0600U);
}

void SettingsStoreTest::vanishedDirectoryKeepsTheChangeInMemory()
{
    SettingsStore store;
    QVERIFY(store.ensureScaffold(nullptr));
    QVERIFY(QDir(configPath()).removeRecursively());
    const ChangeCounter counter(&store);
    store.setShowInTray(false);
    QVERIFY(!store.showInTray());
    QCOMPARE(counter.changes(), QByteArrayList{"showInTray"});
    QVERIFY(!QFile::exists(configPath()));
}

void SettingsStoreTest::fullDiskKeepsTheOldFileAndTheChangeInMemory()
{
    SettingsStore store;
    QVERIFY(store.ensureScaffold(nullptr));
    const QByteArray before = readFile(configPath(u"settings.json"_s));
    const ChangeCounter counter(&store);
    {
        const FileSizeLimit limit(100);
        store.setRecordingHotkey(u"F9"_s);
        // Beyond the buffer of a file, so that the write itself fails.
        store.setMicrophoneDeviceId(QString(100000, u'm'));
    }
    QCOMPARE(store.recordingHotkey(), u"F9"_s);
    QCOMPARE(store.microphoneDeviceId().size(), 100000);
    QCOMPARE(counter.changes(), (QByteArrayList{"microphoneDeviceId", "recordingHotkey"}));
    QCOMPARE(readFile(configPath(u"settings.json"_s)), before);
    QCOMPARE(QDir(configPath()).entryList(QDir::Files | QDir::Hidden).size(), 3);
}

void SettingsStoreTest::editBehindItsBackIsOverwritten()
{
    SettingsStore store;
    QVERIFY(store.ensureScaffold(nullptr));
    writeFile(configPath(u"settings.json"_s), "{\"recordingHotkey\":\"F1\"}"_ba);
    store.setShowInTray(false);
    QCOMPARE(store.recordingHotkey(), u"Super+Space"_s);
    QCOMPARE(settingsOnDisk().value("recordingHotkey"_L1).toString(), u"Super+Space"_s);
}

void SettingsStoreTest::writtenFileIsPrivate()
{
    SettingsStore store;
    QVERIFY(store.ensureScaffold(nullptr));
    QVERIFY(QFile::setPermissions(configPath(u"settings.json"_s), QFile::Permissions(0x6644)));
    store.setShowInTray(false);
    QCOMPARE(modeOf(configPath(u"settings.json"_s)), 0600U);
}

void SettingsStoreTest::flushWritesWhatIsInMemory()
{
    SettingsStore store;
    QVERIFY(store.ensureScaffold(nullptr));
    store.setShowInTray(false);
    const QByteArray written = readFile(configPath(u"settings.json"_s));
    QVERIFY(QFile::remove(configPath(u"settings.json"_s)));
    const ChangeCounter counter(&store);
    store.flush();
    QCOMPARE(readFile(configPath(u"settings.json"_s)), written);
    QCOMPARE(counter.changes(), QByteArrayList());
}

QTEST_GUILESS_MAIN(SettingsStoreTest)
#include "SettingsStoreTest.moc"
