#pragma once

#include "dictation/AmplitudeProcessor.h"
#include "dictation/AudioCaptureService.h"
#include "dictation/GroqTranscriptionClient.h"
#include "dictation/WaveTimer.h"

#include <QObject>
#include <QString>
#include <QTimer>

class HistoryRepository;
class InputFocusMonitor;
class OverlayStateModel;
class TextInjectionService;

// One dictation, from the first sound to the pasted text: records, sends the recording to the
// worker, pastes and stores the answer, and keeps the overlay in step. The state of the dictation
// is the overlay's; there is no second copy. Everything runs on the main thread, and the signals of
// the members are direct calls: a failure inside a start() or a transcribe() comes back in here
// before the call returns. Created by main.
class TranscriptionPipeline final : public QObject
{
    Q_OBJECT

public:
    /// None of the three is owned, and each may be null. Without an overlay nothing can be started.
    TranscriptionPipeline(OverlayStateModel* overlay, HistoryRepository* history,
        InputFocusMonitor* focusMonitor, QObject* parent = nullptr);

    /// The access token of the signed-in user, stored trimmed. Without one nothing is recorded. A
    /// dictation that is being transcribed goes on with the token that it was sent with.
    void setApiKey(const QString& apiKey);
    /// From the next recording on; empty for the default microphone.
    void setPreferredAudioDeviceId(const QString& deviceId);
    void setTranscriptionLanguage(const QString& language);

    /// What brings the texts into their windows.
    [[nodiscard]] TextInjectionService& textInjection() { return *m_textInjection; }

    /// Starts or stops by the state. Calls within 300 ms of the last one that counted are lost.
    Q_INVOKABLE void toggle();
    /// These two act in the state that they are meant for, and do nothing in any other.
    Q_INVOKABLE void startRecordingExplicit();
    Q_INVOKABLE void stopRecordingExplicit();

signals:
    /// The worker refused the token; the state is Idle again, and the recording is kept.
    void authRequired();

private slots:
    void publishWaveFrame();
    void handleAudioChunkCaptured(const QByteArray& pcmChunk);
    void handleAudioError(const QString& message);
    void handleTranscriptionFinished(const QString& text);
    void handleTranscriptionFailed(const QString& error);

private:
    void handleInjectionFailed(const QString& error);
    void handleAuthExpired();
    void startRecording();
    void stopAndTranscribe();
    void resetToIdle();
    void stopTimers();
    void preserveRecording();
    void reportError(const QString& message);

    OverlayStateModel* const m_overlay;
    HistoryRepository* const m_history;
    AudioCaptureService m_audioCapture{this};
    AmplitudeProcessor m_amplitude;
    GroqTranscriptionClient m_transcriptionClient{this};
    TextInjectionService* const m_textInjection;
    WaveTimer m_waveTimer{this};
    QTimer m_maxDurationTimer{this};
    QTimer m_warningTimer{this};
    QString m_apiKey;
    QString m_pendingAudioPath;
};
