#include "dictation/AmplitudeProcessor.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>

namespace {

// Ordinary speech peaks far below full scale: a peak of 4000 out of 32767 already fills the bars.
constexpr float kFullLevelPeak = 4000.0F;
constexpr float kInt16Peak = 32767.0F;
constexpr float kScaleSpan = 0.9F;

// Samples of a block may lie at any address, so they are copied out one by one; compilers turn that
// into plain (vector) loads.
template <typename Sample> Sample sampleAt(const char* pcm, qsizetype index)
{
    Sample sample;
    std::memcpy(&sample, pcm + index * static_cast<qsizetype>(sizeof(Sample)), sizeof(Sample));
    return sample;
}

float absoluteValue(const QAudioFormat& format, const void* sample)
{
    return std::abs(format.normalizedSampleValue(sample));
}

// The conversion of an integer sample rises with the sample, so the largest absolute value belongs
// to the lowest or the highest one. Finding these two is a loop over integers that vectorizes;
// converting every sample is not.
template <typename Sample> struct IntegerExtremes {
    Sample lowest = std::numeric_limits<Sample>::max();
    Sample highest = std::numeric_limits<Sample>::min();

    void add(Sample sample)
    {
        lowest = std::min(lowest, sample);
        highest = std::max(highest, sample);
    }
    void add(const IntegerExtremes& other)
    {
        lowest = std::min(lowest, other.lowest);
        highest = std::max(highest, other.highest);
    }
};

// Without its sign bit, a float (IEEE 754) compares like the integer with the same bits. What lies
// above infinity is no number, and doesn't count.
struct FloatExtreme {
    qint32 magnitude = 0;

    void add(qint32 bits)
    {
        constexpr qint32 kMagnitudeMask = 0x7fffffff;
        constexpr qint32 kInfinity = 0x7f800000;
        const qint32 other = bits & kMagnitudeMask;
        magnitude = std::max(magnitude, other > kInfinity ? 0 : other);
    }
    void add(const FloatExtreme& other) { magnitude = std::max(magnitude, other.magnitude); }
};

// Goes through the four quarters of a block side by side: in a single row each comparison would
// wait for the one before.
template <typename Extreme, typename Sample> Extreme extremeOf(const char* pcm, qsizetype count)
{
    Extreme first;
    Extreme second;
    Extreme third;
    Extreme fourth;
    const qsizetype quarter = count / 4;
    for (qsizetype i = 0; i < quarter; ++i) {
        first.add(sampleAt<Sample>(pcm, i));
        second.add(sampleAt<Sample>(pcm, i + quarter));
        third.add(sampleAt<Sample>(pcm, i + 2 * quarter));
        fourth.add(sampleAt<Sample>(pcm, i + 3 * quarter));
    }
    for (qsizetype i = 4 * quarter; i < count; ++i) {
        first.add(sampleAt<Sample>(pcm, i));
    }
    third.add(fourth);
    first.add(second);
    first.add(third);
    return first;
}

template <typename Sample>
float largestInteger(const char* pcm, qsizetype count, const QAudioFormat& format)
{
    const auto extremes = extremeOf<IntegerExtremes<Sample>, Sample>(pcm, count);
    return std::max(
        absoluteValue(format, &extremes.lowest), absoluteValue(format, &extremes.highest));
}

float largestFloat(const char* pcm, qsizetype count, const QAudioFormat& format)
{
    const auto sample = std::bit_cast<float>(extremeOf<FloatExtreme, qint32>(pcm, count).magnitude);
    return absoluteValue(format, &sample);
}

float largestAbsoluteValue(const char* pcm, qsizetype count, const QAudioFormat& format)
{
    switch (format.sampleFormat()) {
    case QAudioFormat::UInt8:
        return largestInteger<quint8>(pcm, count, format);
    case QAudioFormat::Int16:
        return largestInteger<qint16>(pcm, count, format);
    case QAudioFormat::Int32:
        return largestInteger<qint32>(pcm, count, format);
    case QAudioFormat::Float:
        return largestFloat(pcm, count, format);
    default:
        return 0.0F;
    }
}

} // namespace

void AmplitudeProcessor::reset()
{
    m_pendingRawNormalizedLevel = 0.0F;
    m_smoothedLevels.fill(0.0F);
    m_waveScales = kRestScales;
}

void AmplitudeProcessor::ingestPcmChunk(const QByteArray& pcm, const QAudioFormat& format)
{
    pushRawNormalizedLevel(peakNormalizedLevel(pcm, format));
}

void AmplitudeProcessor::pushRawNormalizedLevel(float level)
{
    m_pendingRawNormalizedLevel
        = std::max(m_pendingRawNormalizedLevel, std::clamp(level, 0.0F, 1.0F));
}

AmplitudeProcessor::WaveFrame AmplitudeProcessor::tick()
{
    const float level = m_pendingRawNormalizedLevel;
    m_pendingRawNormalizedLevel = 0.0F;
    for (std::size_t i = 0; i < m_waveScales.size(); ++i) {
        m_smoothedLevels[i] += kSmoothingFactors[i] * (level - m_smoothedLevels[i]);
        m_waveScales[i] = m_smoothedLevels[i] * kWaveWeights[i] * kScaleSpan + kMinBarScale;
    }
    return {level, m_waveScales};
}

float AmplitudeProcessor::normalizePeakAmplitude(float peak)
{
    return std::clamp(peak / kFullLevelPeak, 0.0F, 1.0F);
}

float AmplitudeProcessor::peakNormalizedLevel(const QByteArray& pcm, const QAudioFormat& format)
{
    const int bytesPerSample = format.bytesPerSample();
    if (pcm.isEmpty() || !format.isValid() || bytesPerSample < 1) {
        return 0.0F;
    }
    const qsizetype count = pcm.size() / bytesPerSample;
    if (count == 0) {
        return 0.0F;
    }
    return normalizePeakAmplitude(
        largestAbsoluteValue(pcm.constData(), count, format) * kInt16Peak);
}
