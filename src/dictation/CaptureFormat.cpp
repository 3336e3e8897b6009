#include "dictation/CaptureFormat.h"

QAudioFormat chooseCaptureFormat(
    const std::function<bool(const QAudioFormat&)>& isSupported, const QAudioFormat& preferred)
{
    // 16000 Hz is what speech recognition works on; more only makes the upload longer.
    for (const int sampleRate : {16000, 44100, 48000}) {
        QAudioFormat format;
        format.setSampleRate(sampleRate);
        format.setChannelCount(1);
        format.setSampleFormat(QAudioFormat::Int16);
        if (isSupported(format)) {
            return format;
        }
    }
    return preferred.isValid() ? preferred : QAudioFormat();
}
