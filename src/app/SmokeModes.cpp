#include "app/SmokeModes.h"

#include "app/CommandLine.h"
#include "app/QuitSignals.h"
#include "desktop/SessionDetector.h"
#include "dictation/AmplitudeProcessor.h"
#include "dictation/AudioCaptureService.h"
#include "dictation/OverlayStateModel.h"
#include "dictation/RecordingWaveController.h"

#include <QCoreApplication>
#include <QDebug>
#include <QList>
#include <QTimer>

namespace {

constexpr float kDefaultLevel = 1.0F;
constexpr int kDefaultWaveMs = 500;
constexpr int kDefaultAudioMs = 1000;

constexpr int kCaptureFailed = 2;
constexpr int kNoFile = 3;

// Streams the numbers as "[a, b, c]", into a stream without spacing.
template <typename Numbers> void streamList(QDebug& stream, const Numbers& numbers)
{
    const char* separator = "[";
    for (const auto number : numbers) {
        stream << separator << number;
        separator = ", ";
    }
    stream << "]";
}

void raisePeaks(QList<double>& peaks, const QVariantList& scales)
{
    for (qsizetype i = 0; i < qMin(peaks.size(), scales.size()); ++i) {
        peaks[i] = qMax(peaks.at(i), scales.at(i).toDouble());
    }
}

} // namespace

int runSessionSmoke()
{
    qInfo().noquote() << "session:" << SessionDetector::sessionTypeName();
    return 0;
}

int runAmplitudeSmoke(const CommandLine& commandLine)
{
    AmplitudeProcessor processor;
    processor.pushRawNormalizedLevel(commandLine.floatArgument(kDefaultLevel));
    const AmplitudeProcessor::WaveFrame frame = processor.tick();

    QDebug stream = qInfo().nospace().noquote();
    stream << "raw=" << frame.rawNormalizedLevel << " scales=";
    streamList(stream, frame.waveScales);
    return 0;
}

int runRecordingWaveSmoke(const CommandLine& commandLine)
{
    const int durationMs = commandLine.positiveArgument(kDefaultWaveMs);
    OverlayStateModel overlay;
    RecordingWaveController controller(&overlay);

    QList<double> peaks(overlay.waveScales().size(), 0.0);
    raisePeaks(peaks, overlay.waveScales());
    QObject::connect(&overlay, &OverlayStateModel::waveScalesChanged, qApp,
        [&]() { raisePeaks(peaks, overlay.waveScales()); });

    controller.toggleRecording();
    QTimer::singleShot(durationMs, qApp, [&]() {
        controller.toggleRecording();
        {
            QDebug stream = qInfo().nospace().noquote();
            stream << "state=" << overlay.visualState() << " maxScales=";
            streamList(stream, peaks);
        }
        QCoreApplication::exit(0);
    });
    return exitStatus(QCoreApplication::exec());
}

int runAudioSmoke(const CommandLine& commandLine)
{
    const int durationMs = commandLine.positiveArgument(kDefaultAudioMs);
    AudioCaptureService capture;
    QObject::connect(
        &capture, &AudioCaptureService::errorOccurred, qApp, [](const QString& message) {
            qCritical().noquote() << message;
            QCoreApplication::exit(kCaptureFailed);
        });

    QString error;
    if (!capture.start(&error)) {
        qCritical().noquote() << error;
        return kCaptureFailed;
    }
    QTimer::singleShot(durationMs, qApp, [&]() {
        const QString path = capture.stop(&error);
        if (path.isEmpty()) {
            qCritical().noquote() << error;
            QCoreApplication::exit(kNoFile);
            return;
        }
        qInfo().noquote() << path;
        QCoreApplication::exit(0);
    });
    return exitStatus(QCoreApplication::exec());
}
