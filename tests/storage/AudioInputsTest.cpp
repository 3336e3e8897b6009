#include "storage/SettingsStore.h"
#include "support/AudioSources.h"
#include "support/TarqTest.h"

#include <QAudioDevice>
#include <QMediaDevices>

using namespace Qt::StringLiterals;

class AudioInputsTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void inputIsListedWithIdNameAndDefault();
    void exactlyTheDefaultInputIsMarked();
    void listIsMadeAnewAtEachCall(); // the last, since it takes the microphone away

private:
    static QStringList listedIds(const SettingsStore& store)
    {
        QStringList ids;
        for (const QVariant& device : store.audioInputDevices()) {
            ids.append(device.toMap().value(u"id"_s).toString());
        }
        return ids;
    }
};

void AudioInputsTest::inputIsListedWithIdNameAndDefault()
{
    const SettingsStore store;
    // The server is asked in the background.
    QTRY_VERIFY(!store.audioInputDevices().isEmpty());
    const QVariantList devices = store.audioInputDevices();
    QCOMPARE(devices.size(), 1);
    const QVariantMap device = devices.first().toMap();
    QCOMPARE(device.keys(), (QStringList{u"id"_s, u"isDefault"_s, u"name"_s}));
    QCOMPARE(device.value(u"id"_s), QVariant(u"mic"_s));
    QCOMPARE(device.value(u"name"_s), QVariant(u"Microphone"_s));
    QCOMPARE(device.value(u"isDefault"_s), QVariant(true));
}

void AudioInputsTest::exactlyTheDefaultInputIsMarked()
{
    const SettingsStore store;
    QTRY_VERIFY(!store.audioInputDevices().isEmpty());
    for (const QVariant& device : store.audioInputDevices()) {
        const QVariantMap map = device.toMap();
        QCOMPARE(map.value(u"isDefault"_s).toBool(),
            map.value(u"id"_s).toByteArray() == QMediaDevices::defaultAudioInput().id());
    }
}

void AudioInputsTest::listIsMadeAnewAtEachCall()
{
    const SettingsStore store;
    QTRY_COMPARE(listedIds(store), (QStringList{u"mic"_s}));
    QVERIFY(AudioSources::add(u"second"_s));
    QTRY_COMPARE(listedIds(store), (QStringList{u"mic"_s, u"second"_s}));
    QVERIFY(AudioSources::removeAll());
    QTRY_COMPARE(listedIds(store), QStringList{});
}

QTEST_GUILESS_MAIN(AudioInputsTest)
#include "AudioInputsTest.moc"
