#pragma once

#include "dictation/AmplitudeProcessor.h"
#include "dictation/AudioCaptureService.h"
#include "dictation/WaveTimer.h"

#include <QObject>

class OverlayStateModel;

// Records, draws the wave, and throws the recording away: shows that microphone, arithmetic and
// state model work together, with no network and no paste. Failures go to the log alone. A normal
// run doesn't build it.
class RecordingWaveController final : public QObject
{
    Q_OBJECT

public:
    /// `overlay` may be null: then nothing happens at all.
    explicit RecordingWaveController(OverlayStateModel* overlay, QObject* parent = nullptr);

    /// Starts or stops by the overlay's state; does nothing while that is Processing.
    Q_INVOKABLE void toggleRecording();

private slots:
    void publishWaveFrame();
    void handleAudioChunkCaptured(const QByteArray& pcmChunk);
    void handleAudioError(const QString& message);

private:
    void startRecording();
    void stopRecording();
    void resetRecordingVisuals();

    OverlayStateModel* const m_overlay;
    AudioCaptureService m_audioCapture{this};
    AmplitudeProcessor m_amplitude;
    WaveTimer m_waveTimer{this};
};
