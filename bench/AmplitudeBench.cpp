#include "dictation/AmplitudeProcessor.h"

#include <QRandomGenerator>

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdlib>

namespace {

constexpr int kSampleRate = 48000;

QAudioFormat formatOf(QAudioFormat::SampleFormat sampleFormat)
{
    QAudioFormat format;
    format.setSampleFormat(sampleFormat);
    format.setSampleRate(kSampleRate);
    format.setChannelCount(1);
    return format;
}

// One second of noise. Random bytes would hold floats that are no numbers, so those are made.
QByteArray oneSecondOf(const QAudioFormat& format)
{
    QRandomGenerator random(1);
    QByteArray pcm(kSampleRate * format.bytesPerSample(), Qt::Uninitialized);
    if (format.sampleFormat() == QAudioFormat::Float) {
        auto* samples = reinterpret_cast<float*>(pcm.data());
        for (int i = 0; i < kSampleRate; ++i) {
            samples[i] = static_cast<float>(random.generateDouble() * 0.1 - 0.05);
        }
    } else {
        random.fillRange(reinterpret_cast<quint32*>(pcm.data()), pcm.size() / 4);
    }
    return pcm;
}

float plainLevel(const QByteArray& pcm, const QAudioFormat& format)
{
    float largest = 0.0F;
    const int step = format.bytesPerSample();
    for (qsizetype at = 0; at + step <= pcm.size(); at += step) {
        const float value = std::abs(format.normalizedSampleValue(pcm.constData() + at));
        largest = value > largest ? value : largest;
    }
    return AmplitudeProcessor::normalizePeakAmplitude(largest * 32767.0F);
}

void peakLevel(benchmark::State& state, QAudioFormat::SampleFormat sampleFormat)
{
    const QAudioFormat format = formatOf(sampleFormat);
    const QByteArray pcm = oneSecondOf(format);
    if (AmplitudeProcessor::peakNormalizedLevel(pcm, format) != plainLevel(pcm, format)) {
        std::abort();
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(AmplitudeProcessor::peakNormalizedLevel(pcm, format));
    }
    state.SetItemsProcessed(state.iterations() * kSampleRate);
}

void plainLoop(benchmark::State& state, QAudioFormat::SampleFormat sampleFormat)
{
    const QAudioFormat format = formatOf(sampleFormat);
    const QByteArray pcm = oneSecondOf(format);
    for (auto _ : state) {
        benchmark::DoNotOptimize(plainLevel(pcm, format));
    }
    state.SetItemsProcessed(state.iterations() * kSampleRate);
}

// Nothing that looks at every sample is faster than this.
void readMemory(benchmark::State& state, QAudioFormat::SampleFormat sampleFormat)
{
    const QByteArray pcm = oneSecondOf(formatOf(sampleFormat));
    for (auto _ : state) {
        quint64 bits = 0;
        const auto* words = reinterpret_cast<const quint64*>(pcm.constData());
        for (qsizetype i = 0; i < pcm.size() / qsizetype(sizeof(quint64)); ++i) {
            bits |= words[i];
        }
        benchmark::DoNotOptimize(bits);
    }
    state.SetItemsProcessed(state.iterations() * kSampleRate);
}

void tick(benchmark::State& state)
{
    AmplitudeProcessor processor;
    for (auto _ : state) {
        processor.pushRawNormalizedLevel(0.5F);
        benchmark::DoNotOptimize(processor.tick());
    }
}

BENCHMARK_CAPTURE(peakLevel, UInt8, QAudioFormat::UInt8);
BENCHMARK_CAPTURE(plainLoop, UInt8, QAudioFormat::UInt8);
BENCHMARK_CAPTURE(readMemory, UInt8, QAudioFormat::UInt8);
BENCHMARK_CAPTURE(peakLevel, Int16, QAudioFormat::Int16);
BENCHMARK_CAPTURE(plainLoop, Int16, QAudioFormat::Int16);
BENCHMARK_CAPTURE(readMemory, Int16, QAudioFormat::Int16);
BENCHMARK_CAPTURE(peakLevel, Int32, QAudioFormat::Int32);
BENCHMARK_CAPTURE(plainLoop, Int32, QAudioFormat::Int32);
BENCHMARK_CAPTURE(readMemory, Int32, QAudioFormat::Int32);
BENCHMARK_CAPTURE(peakLevel, Float, QAudioFormat::Float);
BENCHMARK_CAPTURE(plainLoop, Float, QAudioFormat::Float);
BENCHMARK_CAPTURE(readMemory, Float, QAudioFormat::Float);
BENCHMARK(tick);

} // namespace
