#pragma once

#include <QAudioFormat>

#include <functional>

/// The format to record in: mono 16-bit at the first rate of 16000, 44100 and 48000 Hz that the
/// device supports, else what the device prefers, else an invalid format.
QAudioFormat chooseCaptureFormat(
    const std::function<bool(const QAudioFormat&)>& isSupported, const QAudioFormat& preferred);
