#include "dictation/RecordingWaveController.h"

#include "dictation/OverlayStateModel.h"

#include <QDebug>
#include <QFile>

RecordingWaveController::RecordingWaveController(OverlayStateModel* overlay, QObject* parent)
    : QObject(parent)
    , m_overlay(overlay)
{
    connect(&m_waveTimer, &QTimer::timeout, this, &RecordingWaveController::publishWaveFrame);
    connect(&m_audioCapture, &AudioCaptureService::audioChunkCaptured, this,
        &RecordingWaveController::handleAudioChunkCaptured);
    connect(&m_audioCapture, &AudioCaptureService::errorOccurred, this,
        &RecordingWaveController::handleAudioError);
}

void RecordingWaveController::toggleRecording()
{
    if (m_overlay == nullptr) {
        return;
    }
    switch (m_overlay->state()) {
    case OverlayStateModel::State::Idle:
        startRecording();
        break;
    case OverlayStateModel::State::Recording:
        stopRecording();
        break;
    case OverlayStateModel::State::Processing:
        break;
    }
}

void RecordingWaveController::publishWaveFrame()
{
    if (m_overlay != nullptr) {
        m_overlay->setWaveScales(m_amplitude.tick().waveScales);
    }
}

void RecordingWaveController::handleAudioChunkCaptured(const QByteArray& pcmChunk)
{
    m_amplitude.ingestPcmChunk(pcmChunk, m_audioCapture.captureFormat());
}

void RecordingWaveController::handleAudioError(const QString& message)
{
    qWarning().noquote() << message;
    m_audioCapture.cancel();
    resetRecordingVisuals();
}

void RecordingWaveController::startRecording()
{
    QString error;
    if (!m_audioCapture.start(&error)) {
        qWarning().noquote() << error;
        resetRecordingVisuals();
        return;
    }
    m_amplitude.reset();
    m_overlay->resetWaveScales();
    m_overlay->setState(OverlayStateModel::State::Recording);
    m_waveTimer.start();
}

void RecordingWaveController::stopRecording()
{
    QString error;
    const QString path = m_audioCapture.stop(&error);
    if (!path.isEmpty()) {
        QFile::remove(path);
    } else if (!error.isEmpty()) {
        qWarning().noquote() << error;
    }
    resetRecordingVisuals();
}

void RecordingWaveController::resetRecordingVisuals()
{
    m_waveTimer.stop();
    m_amplitude.reset();
    if (m_overlay != nullptr) {
        m_overlay->resetWaveScales();
        m_overlay->setState(OverlayStateModel::State::Idle);
    }
}
