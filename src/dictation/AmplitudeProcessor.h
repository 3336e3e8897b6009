#pragma once

#include <QAudioFormat>
#include <QByteArray>

#include <array>

// Turns blocks of audio, of any size and at any pace, into the heights of the five wave bars, drawn
// at a steady beat. The highest peak since the last beat counts; each beat moves every bar towards
// it with a speed and a weight of its own, the middle bar fastest and tallest.
class AmplitudeProcessor final
{
public:
    static constexpr float kMinBarScale = 0.1F;
    static constexpr std::array<float, 5> kWaveWeights{0.4F, 0.7F, 1.0F, 0.7F, 0.4F};
    static constexpr std::array<float, 5> kSmoothingFactors{0.35F, 0.55F, 1.0F, 0.55F, 0.35F};

    struct WaveFrame {
        float rawNormalizedLevel = 0.0F; ///< 0 to 1
        std::array<float, 5> waveScales{}; ///< 0.1 to 1, left to right
    };

    void reset();
    void ingestPcmChunk(const QByteArray& pcm, const QAudioFormat& format);
    /// `level` is clamped to 0 to 1.
    void pushRawNormalizedLevel(float level);
    /// One beat: consumes the pending level.
    WaveFrame tick();

    [[nodiscard]] std::array<float, 5> waveScales() const { return m_waveScales; }
    [[nodiscard]] float pendingRawNormalizedLevel() const { return m_pendingRawNormalizedLevel; }

    /// The level, 0 to 1, of a peak on the scale of 16-bit samples.
    [[nodiscard]] static float normalizePeakAmplitude(float peak);
    /// The level of the highest sample of the block, over all channels; 0 without a whole sample.
    [[nodiscard]] static float peakNormalizedLevel(
        const QByteArray& pcm, const QAudioFormat& format);

private:
    static constexpr std::array<float, 5> kRestScales{
        kMinBarScale, kMinBarScale, kMinBarScale, kMinBarScale, kMinBarScale};

    float m_pendingRawNormalizedLevel = 0.0F;
    std::array<float, 5> m_smoothedLevels{};
    std::array<float, 5> m_waveScales = kRestScales;
};
