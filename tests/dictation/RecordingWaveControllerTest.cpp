#include "dictation/RecordingWaveController.h"
#include "dictation/OverlayStateModel.h"
#include "support/TarqTest.h"

#include <QDir>
#include <QRegularExpression>
#include <QTimer>

using namespace Qt::StringLiterals;
using State = OverlayStateModel::State;

class RecordingWaveControllerTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void waveIsDrawnEvery50Ms();
    void twoTogglesLeaveNoFile();
    void processingIsLeftAlone();
    void failedStartStaysIdleAtRest();
    void fullDiskEndsTheRecordingInTheLogAlone();
    void withoutAnOverlayNothingHappens();

private:
    [[nodiscard]] QStringList recordings() const
    {
        return QDir(cachePath()).entryList(QDir::Files);
    }
};

void RecordingWaveControllerTest::waveIsDrawnEvery50Ms()
{
    OverlayStateModel overlay;
    RecordingWaveController controller(&overlay);
    const auto* timer = controller.findChild<QTimer*>(u"waveTimer"_s);
    QCOMPARE(timer->interval(), 50);
    QCOMPARE(timer->timerType(), Qt::PreciseTimer);
    QVERIFY(!timer->isSingleShot());
    controller.toggleRecording();
    QVERIFY(timer->isActive());
    controller.toggleRecording();
    QVERIFY(!timer->isActive());
}

void RecordingWaveControllerTest::twoTogglesLeaveNoFile()
{
    OverlayStateModel overlay;
    RecordingWaveController controller(&overlay);
    controller.toggleRecording();
    QCOMPARE(overlay.state(), State::Recording);
    QCOMPARE(recordings().size(), 1);
    controller.toggleRecording();
    QCOMPARE(overlay.state(), State::Idle);
    QCOMPARE(recordings(), QStringList());
}

void RecordingWaveControllerTest::processingIsLeftAlone()
{
    OverlayStateModel overlay;
    RecordingWaveController controller(&overlay);
    overlay.setState(State::Processing);
    controller.toggleRecording();
    QCOMPARE(overlay.state(), State::Processing);
    QCOMPARE(recordings(), QStringList());
}

void RecordingWaveControllerTest::failedStartStaysIdleAtRest()
{
    writeFile(homePath(u".cache"_s), "a file, where the directory should be"_ba);
    OverlayStateModel overlay;
    overlay.setWaveScales({1.0F, 1.0F, 1.0F, 1.0F, 1.0F});
    RecordingWaveController controller(&overlay);
    QTest::ignoreMessage(
        QtWarningMsg, qPrintable(u"Failed to create cache directory: %1"_s.arg(cachePath())));
    controller.toggleRecording();
    QCOMPARE(overlay.state(), State::Idle);
    QCOMPARE(overlay.waveScales(), (QVariantList{0.1F, 0.1F, 0.1F, 0.1F, 0.1F}));
}

void RecordingWaveControllerTest::fullDiskEndsTheRecordingInTheLogAlone()
{
    OverlayStateModel overlay;
    RecordingWaveController controller(&overlay);
    controller.toggleRecording();
    QTest::ignoreMessage(
        QtWarningMsg, QRegularExpression(u"^Failed to append audio data to .*\\.wav$"_s));
    const FileSizeLimit full(100);
    QTRY_COMPARE_WITH_TIMEOUT(overlay.state(), State::Idle, 10000);
    QCOMPARE(recordings(), QStringList());
    QCOMPARE(overlay.lastError(), QString());
    QVERIFY(!overlay.recordingWarning());
}

void RecordingWaveControllerTest::withoutAnOverlayNothingHappens()
{
    RecordingWaveController controller(nullptr);
    controller.toggleRecording();
    QVERIFY(!QDir(cachePath()).exists());
}

QTEST_GUILESS_MAIN(RecordingWaveControllerTest)
#include "RecordingWaveControllerTest.moc"
