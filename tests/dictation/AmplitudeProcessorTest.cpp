#include "dictation/AmplitudeProcessor.h"
#include "support/TarqTest.h"

#include <QRandomGenerator>

#include <bit>
#include <cmath>
#include <limits>

using namespace Qt::StringLiterals;

namespace {

using Scales = std::array<float, 5>;

QAudioFormat formatOf(QAudioFormat::SampleFormat sampleFormat, int channels = 1)
{
    QAudioFormat format;
    format.setSampleFormat(sampleFormat);
    format.setSampleRate(16000);
    format.setChannelCount(channels);
    return format;
}

template <typename Sample> QByteArray pcmOf(std::initializer_list<Sample> samples)
{
    return {reinterpret_cast<const char*>(samples.begin()),
        static_cast<qsizetype>(samples.size() * sizeof(Sample))};
}

// The level by its definition: every sample converted, the largest absolute value kept.
float plainLevel(const QByteArray& pcm, const QAudioFormat& format)
{
    float largest = 0.0F;
    const int step = format.bytesPerSample();
    for (qsizetype at = 0; at + step <= pcm.size(); at += step) {
        const float value = std::abs(format.normalizedSampleValue(pcm.constData() + at));
        if (value > largest) {
            largest = value;
        }
    }
    return AmplitudeProcessor::normalizePeakAmplitude(largest * 32767.0F);
}

bool fuzzyEqual(const Scales& actual, const Scales& expected)
{
    for (std::size_t i = 0; i < actual.size(); ++i) {
        if (std::abs(actual[i] - expected[i]) > 0.00001F) {
            return false;
        }
    }
    return true;
}

} // namespace

class AmplitudeProcessorTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void silenceStaysExactlyAtRest();
    void louderOfTwoBlocksCounts();
    void beatWithoutABlockDecays();
    void barsFollowTheWorkedExample();
    void fullLevelReachesTheCeilingOfEachBar();
    void fullScaleGivesLevelOneInEveryFormat_data();
    void fullScaleGivesLevelOneInEveryFormat();
    void halfLevelIsAPeakOf2000();
    void levelIsClamped();
    void trailingPartOfASampleIsIgnored();
    void nothingToMeasureGivesZero_data();
    void nothingToMeasureGivesZero();
    void negativePeakCounts();
    void everyChannelCounts();
    void levelEqualsTheDefinitionBitForBit_data();
    void levelEqualsTheDefinitionBitForBit();
    void numbersThatAreNoneDoNotCount();
    void resetForgetsEverything();
};

void AmplitudeProcessorTest::silenceStaysExactlyAtRest()
{
    AmplitudeProcessor processor;
    for (int beat = 0; beat < 100; ++beat) {
        processor.ingestPcmChunk(QByteArray(1600, '\0'), formatOf(QAudioFormat::Int16));
        const AmplitudeProcessor::WaveFrame frame = processor.tick();
        QCOMPARE(frame.rawNormalizedLevel, 0.0F);
        for (const float scale : frame.waveScales) {
            QCOMPARE(std::bit_cast<quint32>(scale), std::bit_cast<quint32>(0.1F));
        }
    }
}

void AmplitudeProcessorTest::louderOfTwoBlocksCounts()
{
    AmplitudeProcessor processor;
    const QAudioFormat format = formatOf(QAudioFormat::Int16);
    processor.ingestPcmChunk(pcmOf<qint16>({2000}), format);
    processor.ingestPcmChunk(pcmOf<qint16>({1000}), format);
    const float louder = AmplitudeProcessor::peakNormalizedLevel(pcmOf<qint16>({2000}), format);
    QCOMPARE(processor.pendingRawNormalizedLevel(), louder);
    QCOMPARE(processor.tick().rawNormalizedLevel, louder);
    QCOMPARE(processor.pendingRawNormalizedLevel(), 0.0F);
}

void AmplitudeProcessorTest::beatWithoutABlockDecays()
{
    AmplitudeProcessor processor;
    processor.pushRawNormalizedLevel(1.0F);
    const Scales loud = processor.tick().waveScales;
    const AmplitudeProcessor::WaveFrame silent = processor.tick();
    QCOMPARE(silent.rawNormalizedLevel, 0.0F);
    QVERIFY(silent.waveScales[0] < loud[0]);
    QVERIFY(silent.waveScales[0] > 0.1F);
    QCOMPARE(silent.waveScales[2], 0.1F);
    QCOMPARE(processor.waveScales(), silent.waveScales);
}

void AmplitudeProcessorTest::barsFollowTheWorkedExample()
{
    AmplitudeProcessor processor;
    processor.pushRawNormalizedLevel(0.5F);
    QVERIFY(fuzzyEqual(processor.tick().waveScales, {0.163F, 0.27325F, 0.55F, 0.27325F, 0.163F}));
    QVERIFY(fuzzyEqual(
        processor.tick().waveScales, {0.14095F, 0.1779625F, 0.1F, 0.1779625F, 0.14095F}));
}

void AmplitudeProcessorTest::fullLevelReachesTheCeilingOfEachBar()
{
    AmplitudeProcessor processor;
    Scales scales{};
    for (int beat = 0; beat < 200; ++beat) {
        processor.pushRawNormalizedLevel(1.0F);
        scales = processor.tick().waveScales;
    }
    QVERIFY(fuzzyEqual(scales, {0.46F, 0.73F, 1.0F, 0.73F, 0.46F}));
}

void AmplitudeProcessorTest::fullScaleGivesLevelOneInEveryFormat_data()
{
    QTest::addColumn<QByteArray>("pcm");
    QTest::addColumn<QAudioFormat>("format");
    QTest::newRow("16 bit") << pcmOf<qint16>({32767}) << formatOf(QAudioFormat::Int16);
    QTest::newRow("float") << pcmOf<float>({1.0F}) << formatOf(QAudioFormat::Float);
    QTest::newRow("32 bit") << pcmOf<qint32>({std::numeric_limits<qint32>::max()})
                            << formatOf(QAudioFormat::Int32);
    QTest::newRow("8 bit") << pcmOf<quint8>({255}) << formatOf(QAudioFormat::UInt8);
}

void AmplitudeProcessorTest::fullScaleGivesLevelOneInEveryFormat()
{
    QFETCH(QByteArray, pcm);
    QFETCH(QAudioFormat, format);
    QCOMPARE(AmplitudeProcessor::peakNormalizedLevel(pcm, format), 1.0F);
}

void AmplitudeProcessorTest::halfLevelIsAPeakOf2000()
{
    const float level = AmplitudeProcessor::peakNormalizedLevel(
        pcmOf<qint16>({0, 2000, -3}), formatOf(QAudioFormat::Int16));
    QVERIFY(std::abs(level - 0.5F) < 0.001F);
    QCOMPARE(AmplitudeProcessor::normalizePeakAmplitude(2000.0F), 0.5F);
    QCOMPARE(AmplitudeProcessor::normalizePeakAmplitude(4000.0F), 1.0F);
    QCOMPARE(AmplitudeProcessor::normalizePeakAmplitude(32767.0F), 1.0F);
    QCOMPARE(AmplitudeProcessor::normalizePeakAmplitude(-1.0F), 0.0F);
}

void AmplitudeProcessorTest::levelIsClamped()
{
    AmplitudeProcessor processor;
    processor.pushRawNormalizedLevel(-1.0F);
    QCOMPARE(processor.pendingRawNormalizedLevel(), 0.0F);
    processor.pushRawNormalizedLevel(2.0F);
    QCOMPARE(processor.pendingRawNormalizedLevel(), 1.0F);
}

void AmplitudeProcessorTest::trailingPartOfASampleIsIgnored()
{
    const QByteArray pcm = pcmOf<qint16>({1000, 32767}).first(3);
    QCOMPARE(AmplitudeProcessor::peakNormalizedLevel(pcm, formatOf(QAudioFormat::Int16)),
        plainLevel(pcmOf<qint16>({1000}), formatOf(QAudioFormat::Int16)));
}

void AmplitudeProcessorTest::nothingToMeasureGivesZero_data()
{
    QTest::addColumn<QByteArray>("pcm");
    QTest::addColumn<QAudioFormat>("format");
    QTest::newRow("no data") << QByteArray() << formatOf(QAudioFormat::Int16);
    QTest::newRow("half a sample") << QByteArray(1, '\x7f') << formatOf(QAudioFormat::Int16);
    QTest::newRow("invalid format") << QByteArray(100, '\x7f') << QAudioFormat();
    QTest::newRow("unknown samples")
        << QByteArray(100, '\x7f') << formatOf(QAudioFormat::NSampleFormats);
}

void AmplitudeProcessorTest::nothingToMeasureGivesZero()
{
    QFETCH(QByteArray, pcm);
    QFETCH(QAudioFormat, format);
    QCOMPARE(AmplitudeProcessor::peakNormalizedLevel(pcm, format), 0.0F);
}

void AmplitudeProcessorTest::negativePeakCounts()
{
    QCOMPARE(AmplitudeProcessor::peakNormalizedLevel(
                 pcmOf<qint16>({-3000, 2999}), formatOf(QAudioFormat::Int16)),
        plainLevel(pcmOf<qint16>({-3000}), formatOf(QAudioFormat::Int16)));
}

void AmplitudeProcessorTest::everyChannelCounts()
{
    QCOMPARE(AmplitudeProcessor::peakNormalizedLevel(
                 pcmOf<qint16>({0, 0, 0, 2500}), formatOf(QAudioFormat::Int16, 2)),
        plainLevel(pcmOf<qint16>({2500}), formatOf(QAudioFormat::Int16)));
}

void AmplitudeProcessorTest::levelEqualsTheDefinitionBitForBit_data()
{
    QTest::addColumn<QAudioFormat>("format");
    QTest::newRow("8 bit") << formatOf(QAudioFormat::UInt8);
    QTest::newRow("16 bit") << formatOf(QAudioFormat::Int16);
    QTest::newRow("32 bit") << formatOf(QAudioFormat::Int32);
    QTest::newRow("float") << formatOf(QAudioFormat::Float);
}

void AmplitudeProcessorTest::levelEqualsTheDefinitionBitForBit()
{
    QFETCH(QAudioFormat, format);
    QRandomGenerator random(20261120);
    // Blocks of every length, at every alignment, quiet enough that the level isn't just 1.
    for (int length = 1; length < 400; ++length) {
        QByteArray bytes(length * format.bytesPerSample() + 3, '\0');
        for (int i = 0; i < length; ++i) {
            char* at = bytes.data() + 3 + i * format.bytesPerSample();
            const double value = (random.generateDouble() - 0.5) * 0.2;
            switch (format.sampleFormat()) {
            case QAudioFormat::UInt8:
                *at = static_cast<char>(128 + static_cast<int>(value * 100));
                break;
            case QAudioFormat::Int16: {
                const auto sample = static_cast<qint16>(value * 32767);
                memcpy(at, &sample, sizeof(sample));
                break;
            }
            case QAudioFormat::Int32: {
                const auto sample = static_cast<qint32>(value * 2147483647.0);
                memcpy(at, &sample, sizeof(sample));
                break;
            }
            default: {
                const auto sample = static_cast<float>(value);
                memcpy(at, &sample, sizeof(sample));
                break;
            }
            }
        }
        const QByteArray pcm = QByteArray::fromRawData(bytes.constData() + 3, bytes.size() - 3);
        QCOMPARE(std::bit_cast<quint32>(AmplitudeProcessor::peakNormalizedLevel(pcm, format)),
            std::bit_cast<quint32>(plainLevel(pcm, format)));
    }
}

void AmplitudeProcessorTest::numbersThatAreNoneDoNotCount()
{
    const QAudioFormat format = formatOf(QAudioFormat::Float);
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float infinity = std::numeric_limits<float>::infinity();
    const QByteArray withNan = pcmOf<float>({nan, 0.01F, -nan});
    QCOMPARE(AmplitudeProcessor::peakNormalizedLevel(withNan, format), plainLevel(withNan, format));
    QCOMPARE(AmplitudeProcessor::peakNormalizedLevel(pcmOf<float>({-infinity}), format), 1.0F);
}

void AmplitudeProcessorTest::resetForgetsEverything()
{
    AmplitudeProcessor processor;
    processor.pushRawNormalizedLevel(1.0F);
    processor.tick();
    processor.pushRawNormalizedLevel(0.7F);
    processor.reset();
    QCOMPARE(processor.pendingRawNormalizedLevel(), 0.0F);
    QCOMPARE(processor.waveScales(), (Scales{0.1F, 0.1F, 0.1F, 0.1F, 0.1F}));
    QCOMPARE(processor.tick().waveScales, (Scales{0.1F, 0.1F, 0.1F, 0.1F, 0.1F}));
}

QTEST_GUILESS_MAIN(AmplitudeProcessorTest)
#include "AmplitudeProcessorTest.moc"
