#include "dictation/TranscriptionPipeline.h"

#include "desktop/InputFocusMonitor.h"
#include "desktop/TextInjectionService.h"
#include "dictation/OverlayStateModel.h"
#include "storage/HistoryRepository.h"

#include <QDebug>
#include <QElapsedTimer>
#include <QFile>

using namespace Qt::StringLiterals;

namespace {

constexpr int kWarningMs = 60000;
constexpr int kMaxDurationMs = 120000;
constexpr qint64 kToggleGuardMs = 300;

} // namespace

TranscriptionPipeline::TranscriptionPipeline(OverlayStateModel* overlay, HistoryRepository* history,
    InputFocusMonitor* focusMonitor, QObject* parent)
    : QObject(parent)
    , m_overlay(overlay)
    , m_history(history)
    , m_textInjection(new TextInjectionService(focusMonitor, this))
{
    m_maxDurationTimer.setObjectName(u"maxDurationTimer"_s);
    m_maxDurationTimer.setSingleShot(true);
    m_maxDurationTimer.setInterval(kMaxDurationMs);
    m_warningTimer.setObjectName(u"warningTimer"_s);
    m_warningTimer.setSingleShot(true);
    m_warningTimer.setInterval(kWarningMs);

    connect(&m_waveTimer, &QTimer::timeout, this, &TranscriptionPipeline::publishWaveFrame);
    connect(&m_audioCapture, &AudioCaptureService::audioChunkCaptured, this,
        &TranscriptionPipeline::handleAudioChunkCaptured);
    connect(&m_audioCapture, &AudioCaptureService::errorOccurred, this,
        &TranscriptionPipeline::handleAudioError);
    connect(&m_transcriptionClient, &GroqTranscriptionClient::transcriptionFinished, this,
        &TranscriptionPipeline::handleTranscriptionFinished);
    connect(&m_transcriptionClient, &GroqTranscriptionClient::transcriptionFailed, this,
        &TranscriptionPipeline::handleTranscriptionFailed);
    connect(&m_maxDurationTimer, &QTimer::timeout, this, &TranscriptionPipeline::stopAndTranscribe);
    connect(&m_warningTimer, &QTimer::timeout, this, [this]() {
        if (m_overlay != nullptr) {
            m_overlay->setRecordingWarning(true);
        }
    });
    connect(m_textInjection, &TextInjectionService::injectionFailed, this,
        &TranscriptionPipeline::handleInjectionFailed);
    connect(&m_transcriptionClient, &GroqTranscriptionClient::authExpired, this,
        &TranscriptionPipeline::handleAuthExpired);
}

void TranscriptionPipeline::setApiKey(const QString& apiKey)
{
    m_apiKey = apiKey.trimmed();
}

void TranscriptionPipeline::setPreferredAudioDeviceId(const QString& deviceId)
{
    m_audioCapture.setPreferredDeviceId(deviceId);
}

void TranscriptionPipeline::setTranscriptionLanguage(const QString& language)
{
    m_transcriptionClient.setLanguage(language);
}

void TranscriptionPipeline::toggle()
{
    if (m_overlay == nullptr) {
        return;
    }
    // A double click, or a key binding that fires twice, must not end what it has just begun.
    static QElapsedTimer lastToggle;
    if (lastToggle.isValid() && lastToggle.elapsed() < kToggleGuardMs) {
        return;
    }
    lastToggle.start();

    switch (m_overlay->state()) {
    case OverlayStateModel::State::Idle:
        startRecording();
        break;
    case OverlayStateModel::State::Recording:
        stopAndTranscribe();
        break;
    case OverlayStateModel::State::Processing:
        break;
    }
}

void TranscriptionPipeline::startRecordingExplicit()
{
    if (m_overlay != nullptr && m_overlay->state() == OverlayStateModel::State::Idle) {
        startRecording();
    }
}

void TranscriptionPipeline::stopRecordingExplicit()
{
    if (m_overlay != nullptr && m_overlay->state() == OverlayStateModel::State::Recording) {
        stopAndTranscribe();
    }
}

void TranscriptionPipeline::publishWaveFrame()
{
    if (m_overlay != nullptr) {
        m_overlay->setWaveScales(m_amplitude.tick().waveScales);
    }
}

void TranscriptionPipeline::handleAudioChunkCaptured(const QByteArray& pcmChunk)
{
    m_amplitude.ingestPcmChunk(pcmChunk, m_audioCapture.captureFormat());
}

void TranscriptionPipeline::handleAudioError(const QString& message)
{
    qWarning().noquote() << "Audio error:" << message;
    m_audioCapture.cancel();
    reportError(message);
    resetToIdle();
}

void TranscriptionPipeline::handleTranscriptionFinished(const QString& text)
{
    if (!m_pendingAudioPath.isEmpty()) {
        QFile::remove(m_pendingAudioPath);
        m_pendingAudioPath.clear();
    }
    m_textInjection->inject(text);
    if (m_history != nullptr) {
        m_history->add(text);
    }
    if (m_overlay != nullptr) {
        m_overlay->clearError();
    }
    resetToIdle();
}

void TranscriptionPipeline::handleTranscriptionFailed(const QString& error)
{
    qWarning().noquote() << "Transcription failed:" << error;
    preserveRecording();
    reportError(error);
    resetToIdle();
}

void TranscriptionPipeline::handleInjectionFailed(const QString& error)
{
    qWarning().noquote() << "Text injection failed:" << error;
    reportError(error);
}

void TranscriptionPipeline::handleAuthExpired()
{
    preserveRecording();
    // Idle before anybody hears of it: a listener may sign the user out.
    resetToIdle();
    emit authRequired();
}

void TranscriptionPipeline::startRecording()
{
    if (m_overlay == nullptr) {
        return;
    }
    if (m_apiKey.isEmpty()) {
        m_overlay->setLastError(u"Sign in to use Tarq."_s);
        return;
    }
    QString error;
    if (!m_audioCapture.start(&error)) {
        qWarning().noquote() << error;
        m_overlay->setLastError(error);
        resetToIdle();
        return;
    }
    m_overlay->clearError();
    m_amplitude.reset();
    m_overlay->resetWaveScales();
    m_overlay->setState(OverlayStateModel::State::Recording);
    m_waveTimer.start();
    m_maxDurationTimer.start();
    m_warningTimer.start();
}

void TranscriptionPipeline::stopAndTranscribe()
{
    if (m_overlay == nullptr) {
        return;
    }
    stopTimers();
    m_amplitude.reset();
    m_overlay->setRecordingWarning(false);

    QString error;
    m_pendingAudioPath = m_audioCapture.stop(&error);
    if (m_pendingAudioPath.isEmpty()) {
        if (!error.isEmpty()) {
            qWarning().noquote() << error;
        }
        resetToIdle();
        return;
    }
    m_overlay->setState(OverlayStateModel::State::Processing);
    m_overlay->resetWaveScales();
    m_transcriptionClient.transcribe(m_pendingAudioPath, m_apiKey);
}

void TranscriptionPipeline::resetToIdle()
{
    stopTimers();
    m_amplitude.reset();
    if (m_overlay != nullptr) {
        m_overlay->setRecordingWarning(false);
        m_overlay->resetWaveScales();
        m_overlay->setState(OverlayStateModel::State::Idle);
    }
}

void TranscriptionPipeline::stopTimers()
{
    m_waveTimer.stop();
    m_maxDurationTimer.stop();
    m_warningTimer.stop();
}

// The recording stays on disk, so that no spoken word is lost to a bad connection; the sweep of old
// recordings takes it a day later.
void TranscriptionPipeline::preserveRecording()
{
    if (!m_pendingAudioPath.isEmpty()) {
        qWarning().noquote() << "Audio preserved at:" << m_pendingAudioPath;
        m_pendingAudioPath.clear();
    }
}

void TranscriptionPipeline::reportError(const QString& message)
{
    if (m_overlay != nullptr) {
        m_overlay->setLastError(message);
    }
}
