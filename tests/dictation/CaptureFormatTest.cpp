#include "dictation/CaptureFormat.h"
#include "support/TarqTest.h"

using namespace Qt::StringLiterals;

namespace {

QAudioFormat formatOf(QAudioFormat::SampleFormat sampleFormat, int rate, int channels)
{
    QAudioFormat format;
    format.setSampleFormat(sampleFormat);
    format.setSampleRate(rate);
    format.setChannelCount(channels);
    return format;
}

} // namespace

class CaptureFormatTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void firstSupportedRateIsTaken_data();
    void firstSupportedRateIsTaken();
    void everyRateIsTriedInMono16Bit();
    void stereoFloatDeviceGivesWhatItPrefers();
    void deviceWithNothingGivesAnInvalidFormat();
};

void CaptureFormatTest::firstSupportedRateIsTaken_data()
{
    QTest::addColumn<QList<int>>("supported");
    QTest::addColumn<int>("taken");
    QTest::newRow("all") << QList<int>{16000, 44100, 48000} << 16000;
    QTest::newRow("the upper two") << QList<int>{44100, 48000} << 44100;
    QTest::newRow("the highest") << QList<int>{48000} << 48000;
}

void CaptureFormatTest::firstSupportedRateIsTaken()
{
    QFETCH(QList<int>, supported);
    QFETCH(int, taken);
    const QAudioFormat format = chooseCaptureFormat(
        [&](const QAudioFormat& asked) { return supported.contains(asked.sampleRate()); },
        formatOf(QAudioFormat::Float, 96000, 2));
    QCOMPARE(format, formatOf(QAudioFormat::Int16, taken, 1));
}

void CaptureFormatTest::everyRateIsTriedInMono16Bit()
{
    QList<int> rates;
    chooseCaptureFormat(
        [&](const QAudioFormat& asked) {
            rates.append(asked.sampleRate());
            return asked.channelCount() != 1 || asked.sampleFormat() != QAudioFormat::Int16;
        },
        {});
    QCOMPARE(rates, (QList<int>{16000, 44100, 48000}));
}

void CaptureFormatTest::stereoFloatDeviceGivesWhatItPrefers()
{
    const QAudioFormat preferred = formatOf(QAudioFormat::Float, 48000, 2);
    QCOMPARE(chooseCaptureFormat([](const QAudioFormat&) { return false; }, preferred), preferred);
}

void CaptureFormatTest::deviceWithNothingGivesAnInvalidFormat()
{
    const QAudioFormat none
        = chooseCaptureFormat([](const QAudioFormat&) { return false; }, QAudioFormat());
    QVERIFY(!none.isValid());
}

QTEST_GUILESS_MAIN(CaptureFormatTest)
#include "CaptureFormatTest.moc"
