#pragma once

#include "audio/SoundServer.h"
#include "dictation/WavWriter.h"

#include <QAudio>
#include <QIODevice>
#include <QObject>
#include <QPointer>
#include <QString>

#include <memory>

class QAudioDevice;
class QAudioSource;

// Records the microphone into a temporary WAV file and hands every block of audio on. One object
// holds at most one session, from start() to stop(), which keeps the file, or cancel(), which
// deletes it. A failure while recording is told by errorOccurred and cancels the session.
class AudioCaptureService final : public QObject
{
    Q_OBJECT

public:
    explicit AudioCaptureService(QObject* parent = nullptr);
    /// A session that is alive ends without its file.
    ~AudioCaptureService() override;

    /// Begins a session. On failure returns false with a sentence in `error` (may be null); trouble
    /// with the device is also told by errorOccurred, trouble with the file isn't.
    bool start(QString* error);
    /// Ends the session. Returns the path of the finished file, which is then the caller's; empty
    /// without a session, or with a sentence in `error` (may be null) if the file can't be
    /// finished.
    QString stop(QString* error);
    /// Harmless without a session, and inside errorOccurred.
    void cancel();

    [[nodiscard]] bool isRecording() const { return m_audioSource != nullptr; }
    [[nodiscard]] QString outputFilePath() const { return m_outputPath; }
    [[nodiscard]] QAudioFormat captureFormat() const { return m_wavWriter.format(); }

    /// The id of the microphone to use from the next start() on. One that is empty, or that isn't
    /// there, means the default input.
    void setPreferredDeviceId(const QString& deviceId) { m_preferredDeviceId = deviceId; }

signals:
    void audioChunkCaptured(const QByteArray& pcmChunk);
    void recordingStopped(const QString& filePath);
    void errorOccurred(const QString& message);

private slots:
    void consumePendingAudio();
    void handleAudioStateChanged(QAudio::State state);

private:
    bool fail(const QString& message, QString* error);
    [[nodiscard]] static QString audioErrorToString(QAudio::Error error);
    [[nodiscard]] static QString createTemporaryOutputPath(QString* error);
    [[nodiscard]] QAudioDevice selectDevice() const;
    [[nodiscard]] static QAudioFormat selectCaptureFormat(const QAudioDevice& device);
    void resetSession();

    std::unique_ptr<QAudioSource> m_audioSource;
    QPointer<QIODevice> m_audioIoDevice;
    WavWriter m_wavWriter;
    QString m_outputPath;
    QString m_preferredDeviceId;
    SoundServer m_soundServer;
};
