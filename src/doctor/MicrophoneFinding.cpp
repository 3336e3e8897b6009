#include "doctor/MicrophoneFinding.h"

#include "dictation/AmplitudeProcessor.h"
#include "dictation/AudioCaptureService.h"
#include "storage/JsonFile.h"
#include "storage/SettingsStore.h"

#include <QEventLoop>
#include <QJsonObject>
#include <QTimer>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Doctor {

namespace {

constexpr int kRecordingMs = 500;

} // namespace

Finding examineMicrophone(const SettingsStore& settings)
{
    // Read here, since loading the settings would make what is missing of them.
    const QJsonObject stored
        = readJsonObject(settings.paths().settingsFile).value_or(QJsonObject());
    const QString subject = u"microphone"_s;
    AudioCaptureService capture;
    capture.setPreferredDeviceId(stored.value(u"microphoneDeviceId"_s).toString());
    QEventLoop loop;
    QString failure;
    float level = 0.0F;
    bool heard = false;
    QObject::connect(
        &capture, &AudioCaptureService::errorOccurred, &loop, [&](const QString& message) {
            failure = message;
            loop.quit();
        });
    QObject::connect(
        &capture, &AudioCaptureService::audioChunkCaptured, &loop, [&](const QByteArray& pcm) {
            heard = true;
            level = std::max(
                level, AmplitudeProcessor::peakNormalizedLevel(pcm, capture.captureFormat()));
        });
    if (!capture.start(&failure)) {
        return {subject, Verdict::Problem, failure};
    }
    QTimer::singleShot(kRecordingMs, &loop, &QEventLoop::quit);
    loop.exec();
    capture.cancel();
    if (!failure.isEmpty()) {
        return {subject, Verdict::Problem, failure};
    }
    if (!heard) {
        return {subject, Verdict::Problem,
            u"It gives no sound: look at the desktop's sound settings."_s};
    }
    const int percent = qRound(level * 100);
    if (percent == 0) {
        return {subject, Verdict::Hint,
            u"It is silent: look whether it is muted in the desktop's sound settings."_s};
    }
    return {subject, Verdict::Ok, u"level %1 %"_s.arg(percent)};
}

} // namespace Doctor
