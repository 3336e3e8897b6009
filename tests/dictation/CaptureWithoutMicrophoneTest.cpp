#include "dictation/AudioCaptureService.h"
#include "dictation/OverlayStateModel.h"
#include "dictation/RecordingWaveController.h"
#include "support/TarqTest.h"

#include <QDir>
#include <QRegularExpression>

using namespace Qt::StringLiterals;

// A machine without an audio server. Once a process has seen none, it never sees one, so that these
// tests are a program of their own.
class CaptureWithoutMicrophoneTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void startFailsWithASentenceAndASignal();
    void failedStartTouchesNoFile();
    void waveControllerStaysIdle();
};

void CaptureWithoutMicrophoneTest::startFailsWithASentenceAndASignal()
{
    // Qt's own word, once in a process.
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"^PulseAudioService: "_s));
    AudioCaptureService capture;
    QSignalSpy errors(&capture, &AudioCaptureService::errorOccurred);
    QString error;
    QVERIFY(!capture.start(&error));
    QCOMPARE(error, u"No audio input device is available."_s);
    QCOMPARE(errors.count(), 1);
    QCOMPARE(errors.first().first().toString(), error);
    QVERIFY(!capture.start(nullptr));
    QVERIFY(!capture.isRecording());
    QCOMPARE(capture.stop(nullptr), QString());
}

void CaptureWithoutMicrophoneTest::failedStartTouchesNoFile()
{
    AudioCaptureService capture;
    QVERIFY(!capture.start(nullptr));
    QVERIFY(!QDir(cachePath()).exists());
}

void CaptureWithoutMicrophoneTest::waveControllerStaysIdle()
{
    OverlayStateModel overlay;
    RecordingWaveController controller(&overlay);
    // Told by the service's signal and by the failed start.
    QTest::ignoreMessage(QtWarningMsg, "No audio input device is available.");
    QTest::ignoreMessage(QtWarningMsg, "No audio input device is available.");
    controller.toggleRecording();
    QCOMPARE(overlay.state(), OverlayStateModel::State::Idle);
    QCOMPARE(overlay.waveScales(), (QVariantList{0.1F, 0.1F, 0.1F, 0.1F, 0.1F}));
    QCOMPARE(overlay.lastError(), QString());
}

QTEST_GUILESS_MAIN(CaptureWithoutMicrophoneTest)
#include "CaptureWithoutMicrophoneTest.moc"
