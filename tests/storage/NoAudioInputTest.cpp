#include "storage/SettingsStore.h"
#include "support/TarqTest.h"

using namespace Qt::StringLiterals;

// A program of its own: Qt asks for the audio server once in the life of a process.
class NoAudioInputTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void machineWithoutAnInputGivesAnEmptyList();
};

void NoAudioInputTest::machineWithoutAnInputGivesAnEmptyList()
{
    const ScopedVariable server("PULSE_SERVER", "unix:" + homePath(u"nothing"_s).toLocal8Bit());
    QTest::ignoreMessage(QtWarningMsg, "PulseAudioService: pa_context_connect() failed");
    QCOMPARE(SettingsStore().audioInputDevices(), QVariantList());
}

QTEST_GUILESS_MAIN(NoAudioInputTest)
#include "NoAudioInputTest.moc"
