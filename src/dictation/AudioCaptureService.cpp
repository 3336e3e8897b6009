#include "dictation/AudioCaptureService.h"

#include "dictation/CaptureFormat.h"
#include "dictation/ProcessExit.h"
#include "dictation/StartDeadline.h"
#include "storage/FailWith.h"
#include "storage/PrivateDirectories.h"

#include <QAudioDevice>
#include <QAudioSource>
#include <QDir>
#include <QFile>
#include <QIODevice>
#include <QMediaDevices>
#include <QUuid>

#include <algorithm>
#include <optional>

using namespace Qt::StringLiterals;

namespace {

constexpr int kNameAttempts = 8;

} // namespace

AudioCaptureService::AudioCaptureService(QObject* parent)
    : QObject(parent)
{
}

AudioCaptureService::~AudioCaptureService()
{
    // Whoever owns this object is being destroyed too, and must not be called any more.
    blockSignals(true);
    if (m_audioSource != nullptr) {
        // Deleted at once, since no later turn of the event loop may come.
        m_audioSource->stop();
        m_audioSource.reset();
    }
    cancel();
}

bool AudioCaptureService::start(QString* error)
{
    if (isRecording()) {
        return fail(u"Audio capture is already in progress."_s, error);
    }
    const QAudioDevice device = selectDevice();
    if (device.isNull()) {
        return fail(u"No audio input device is available."_s, error);
    }
    const QAudioFormat format = selectCaptureFormat(device);
    if (!format.isValid()) {
        return fail(u"No supported audio format was found for the default input device."_s, error);
    }
    const QString path = createTemporaryOutputPath(error);
    if (path.isEmpty() || !m_wavWriter.open(path, format, error)) {
        return false;
    }

    m_audioSource = std::make_unique<QAudioSource>(device, format);
    connect(m_audioSource.get(), &QAudioSource::stateChanged, this,
        &AudioCaptureService::handleAudioStateChanged);
    {
        const StartDeadline deadline;
        m_audioIoDevice = m_audioSource->start();
    }
    // Qt's connection to the sound server exists from now on, until it is destroyed.
    skipStaticDestructors();
    // A source that fails at once says so before start() returns, and the session is gone by then.
    if (m_audioIoDevice == nullptr || !isRecording()) {
        m_wavWriter.cancel();
        resetSession();
        return fail(u"Failed to start the Qt audio input stream."_s, error);
    }
    // Queued, since a block that can't be written ends the session, and stopping the source deletes
    // the device: it must not be in the middle of its own signal.
    connect(m_audioIoDevice, &QIODevice::readyRead, this, &AudioCaptureService::consumePendingAudio,
        Qt::QueuedConnection);
    m_outputPath = path;
    return true;
}

QString AudioCaptureService::stop(QString* error)
{
    if (!isRecording()) {
        return {};
    }
    // Whatever the device still holds was spoken before the stop.
    consumePendingAudio();
    if (!isRecording()) {
        // The last block couldn't be written, and the session is gone with its file.
        return {};
    }
    if (m_audioIoDevice != nullptr) {
        m_audioIoDevice->disconnect(this);
    }
    m_audioSource->stop();
    if (!m_wavWriter.finalize(error)) {
        resetSession();
        return {};
    }
    const QString path = m_wavWriter.takeFilePath();
    resetSession();
    emit recordingStopped(path);
    return path;
}

void AudioCaptureService::cancel()
{
    if (m_audioIoDevice != nullptr) {
        m_audioIoDevice->disconnect(this);
    }
    if (m_audioSource != nullptr) {
        m_audioSource->stop();
    }
    m_wavWriter.cancel();
    resetSession();
}

void AudioCaptureService::consumePendingAudio()
{
    if (m_audioIoDevice == nullptr) {
        return;
    }
    const QByteArray block = m_audioIoDevice->readAll();
    if (block.isEmpty()) {
        return;
    }
    QString error;
    if (!m_wavWriter.appendAudioData(block, &error)) {
        emit errorOccurred(error);
        cancel();
        return;
    }
    emit audioChunkCaptured(block);
}

void AudioCaptureService::handleAudioStateChanged(QAudio::State state)
{
    if (state != QAudio::StoppedState || m_audioSource == nullptr
        || m_audioSource->error() == QAudio::NoError) {
        return;
    }
    emit errorOccurred(
        u"Audio capture failed: %1"_s.arg(audioErrorToString(m_audioSource->error())));
    // A listener may have cancelled already; either way the source is not to be touched any more.
    cancel();
}

bool AudioCaptureService::fail(const QString& message, QString* error)
{
    failWith(error, message);
    emit errorOccurred(message);
    return false;
}

QString AudioCaptureService::audioErrorToString(QAudio::Error error)
{
    switch (error) {
    case QAudio::NoError:
        return u"no error"_s;
    case QAudio::OpenError:
        return u"open error"_s;
    case QAudio::IOError:
        return u"I/O error"_s;
    case QAudio::UnderrunError:
        return u"buffer underrun"_s;
    case QAudio::FatalError:
        return u"fatal error"_s;
    }
    return u"unknown error"_s;
}

QString AudioCaptureService::createTemporaryOutputPath(QString* error)
{
    const QDir directory(cacheRootPath());
    if (!directory.mkpath(u"."_s)) {
        failWith(error, u"Failed to create cache directory: %1"_s.arg(directory.path()));
        return {};
    }
    // The files inherit no protection but this.
    QFile::setPermissions(directory.path(), kPrivateDirectoryPermissions);

    for (int attempt = 0; attempt < kNameAttempts; ++attempt) {
        const QString name
            = u"tarq-linux-%1.wav"_s.arg(QUuid::createUuid().toString(QUuid::WithoutBraces));
        if (!directory.exists(name)) {
            return directory.filePath(name);
        }
    }
    failWith(error, u"Failed to allocate a unique temporary WAV file path."_s);
    return {};
}

QAudioDevice AudioCaptureService::selectDevice() const
{
    const std::optional<QList<QByteArray>> present = m_soundServer.sources();
    if (present && present->isEmpty()) {
        // Not even listing them with Qt would come to an end soon.
        return {};
    }
    const auto isPresent = [&present](const QAudioDevice& device) {
        return !present || present->contains(device.id());
    };
    const QList<QAudioDevice> devices = QMediaDevices::audioInputs();
    if (!m_preferredDeviceId.isEmpty()) {
        for (const QAudioDevice& device : devices) {
            if (QString::fromUtf8(device.id()) == m_preferredDeviceId && isPresent(device)) {
                return device;
            }
        }
    }
    const QAudioDevice defaultDevice = QMediaDevices::defaultAudioInput();
    if (isPresent(defaultDevice)) {
        return defaultDevice;
    }
    const auto other = std::find_if(devices.begin(), devices.end(), isPresent);
    return other != devices.end() ? *other : QAudioDevice();
}

QAudioFormat AudioCaptureService::selectCaptureFormat(const QAudioDevice& device)
{
    return chooseCaptureFormat(
        [&device](const QAudioFormat& format) { return device.isFormatSupported(format); },
        device.preferredFormat());
}

void AudioCaptureService::resetSession()
{
    if (m_audioIoDevice != nullptr) {
        m_audioIoDevice->disconnect(this);
        m_audioIoDevice.clear();
    }
    if (m_audioSource != nullptr) {
        m_audioSource->disconnect(this);
        // It may be in the middle of its own stateChanged.
        m_audioSource.release()->deleteLater();
    }
    m_outputPath.clear();
}
