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

// The conversion of an integer sample rises with the sample, so the largest absolute value belongs
// to the lowest or the highest one. Finding these two is a loop that the compiler vectorizes;
// converting every sample is not. Samples may lie at any address, hence the copies.
template <typename Sample>
float largestInteger(const char* pcm, qsizetype count, const QAudioFormat& format)
{
    Sample lowest = std::numeric_limits<Sample>::max();
    Sample highest = std::numeric_limits<Sample>::min();
    for (qsizetype i = 0; i < count; ++i) {
        Sample sample;
        std::memcpy(&sample, pcm + i * qsizetype(sizeof(sample)), sizeof(sample));
        lowest = std::min(lowest, sample);
        highest = std::max(highest, sample);
    }
    // By value: a variable whose address is taken stays in memory, and its loop isn't vectorized.
    const auto absoluteValue = [&format](Sample sample) {
        return std::abs(format.normalizedSampleValue(&sample));
    };
    return std::max(absoluteValue(lowest), absoluteValue(highest));
}

// A float (IEEE 754) without its sign compares like the integer with the same bits, and integers
// vectorize where floats don't. What lies above infinity is no number, and doesn't count.
float largestFloat(const char* pcm, qsizetype count)
{
    constexpr qint32 kWithoutSign = 0x7fffffff;
    constexpr qint32 kInfinity = 0x7f800000;
    qint32 largest = 0;
    for (qsizetype i = 0; i < count; ++i) {
        qint32 bits = 0;
        std::memcpy(&bits, pcm + i * qsizetype(sizeof(bits)), sizeof(bits));
        bits &= kWithoutSign;
        largest = std::max(largest, bits > kInfinity ? 0 : bits);
    }
    return std::bit_cast<float>(largest);
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
        return largestFloat(pcm, count);
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
