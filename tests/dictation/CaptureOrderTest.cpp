#include "dictation/AudioCaptureService.h"
#include "dictation/OverlayStateModel.h"
#include "dictation/RecordingWaveController.h"
#include "support/TarqTest.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTimer>
#include <QtEndian>

using namespace Qt::StringLiterals;
using State = OverlayStateModel::State;

namespace {

constexpr int kWavHeaderBytes = 44;
constexpr int kDataSizeOffset = 40;

// What the header of a WAV file says that follows it.
quint32 statedBytes(const QByteArray& wav)
{
    return wav.size() < kWavHeaderBytes
        ? 0
        : qFromLittleEndian<quint32>(wav.constData() + kDataSizeOffset);
}

} // namespace

// What a listener of the capture finds when it is told something.
class CaptureOrderTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void chunkComesFromARunningSession();
    void lastChunkComesBeforeTheEnd();
    void chunkThatCannotBeWrittenIsNotHandedOn();
    void errorComesBeforeTheSessionEnds();
    void refusedStartHasItsReasonBeforeItIsTold();
    void endIsToldWhenNothingIsLeftToDo();
    void endMayBeginTheNextSession();
    void waveStartsAtRestAndEndsAtRest();

private:
    [[nodiscard]] QStringList recordings() const
    {
        return QDir(cachePath()).entryList(QDir::Files);
    }
};

void CaptureOrderTest::chunkComesFromARunningSession()
{
    AudioCaptureService capture;
    QVERIFY(capture.start(nullptr));
    const QString path = capture.outputFilePath();
    bool heard = false;
    connect(&capture, &AudioCaptureService::audioChunkCaptured, this, [&](const QByteArray& chunk) {
        heard = true;
        QVERIFY(capture.isRecording());
        QCOMPARE(capture.outputFilePath(), path);
        // The chunk can't be read without it.
        QVERIFY(capture.captureFormat().isValid());
        QVERIFY(!chunk.isEmpty());
    });
    QTRY_VERIFY_WITH_TIMEOUT(heard, 20000);
}

void CaptureOrderTest::lastChunkComesBeforeTheEnd()
{
    AudioCaptureService capture;
    QSignalSpy chunks(&capture, &AudioCaptureService::audioChunkCaptured);
    QVERIFY(capture.start(nullptr));
    QVERIFY(chunks.wait(20000));
    QStringList order;
    connect(&capture, &AudioCaptureService::audioChunkCaptured, this, [&]() {
        order << u"chunk"_s;
        QVERIFY(capture.isRecording());
    });
    connect(&capture, &AudioCaptureService::recordingStopped, this, [&]() { order << u"end"_s; });
    // The event loop stands still: what comes in waits for the stop.
    QTest::qSleep(1000);
    QVERIFY(!capture.stop(nullptr).isEmpty());
    QCOMPARE(order, (QStringList{u"chunk"_s, u"end"_s}));
}

void CaptureOrderTest::chunkThatCannotBeWrittenIsNotHandedOn()
{
    AudioCaptureService capture;
    QSignalSpy chunks(&capture, &AudioCaptureService::audioChunkCaptured);
    QVERIFY(capture.start(nullptr));
    QVERIFY(chunks.wait(20000));
    QStringList order;
    connect(
        &capture, &AudioCaptureService::audioChunkCaptured, this, [&]() { order << u"chunk"_s; });
    connect(&capture, &AudioCaptureService::errorOccurred, this, [&]() { order << u"error"_s; });
    // Longer than the file buffers.
    QTest::qSleep(1000);
    const FileSizeLimit full(100);
    QCOMPARE(capture.stop(nullptr), QString());
    QCOMPARE(order, QStringList{u"error"_s});
}

void CaptureOrderTest::errorComesBeforeTheSessionEnds()
{
    AudioCaptureService capture;
    QVERIFY(capture.start(nullptr));
    const QString path = capture.outputFilePath();
    bool told = false;
    connect(&capture, &AudioCaptureService::errorOccurred, this, [&]() {
        told = true;
        QVERIFY(capture.isRecording());
        QCOMPARE(capture.outputFilePath(), path);
        QVERIFY(QFile::exists(path));
    });
    const FileSizeLimit full(100);
    QTRY_VERIFY_WITH_TIMEOUT(told, 20000);
    QVERIFY(!capture.isRecording());
    QCOMPARE(recordings(), QStringList());
}

void CaptureOrderTest::refusedStartHasItsReasonBeforeItIsTold()
{
    AudioCaptureService capture;
    QVERIFY(capture.start(nullptr));
    QString error;
    QString errorByThen;
    connect(&capture, &AudioCaptureService::errorOccurred, this, [&]() { errorByThen = error; });
    QVERIFY(!capture.start(&error));
    QCOMPARE(errorByThen, u"Audio capture is already in progress."_s);
}

void CaptureOrderTest::endIsToldWhenNothingIsLeftToDo()
{
    AudioCaptureService capture;
    QVERIFY(capture.start(nullptr));
    QSignalSpy chunks(&capture, &AudioCaptureService::audioChunkCaptured);
    QVERIFY(chunks.wait(20000));
    QByteArray wav;
    connect(&capture, &AudioCaptureService::recordingStopped, this, [&](const QString& path) {
        QVERIFY(!capture.isRecording());
        QCOMPARE(capture.outputFilePath(), QString());
        QVERIFY(!capture.captureFormat().isValid());
        wav = readFile(path);
    });
    const QString path = capture.stop(nullptr);
    QVERIFY(wav.size() > kWavHeaderBytes);
    QCOMPARE(statedBytes(wav), static_cast<quint32>(wav.size() - kWavHeaderBytes));
    QCOMPARE(readFile(path), wav);
}

void CaptureOrderTest::endMayBeginTheNextSession()
{
    AudioCaptureService capture;
    QVERIFY(capture.start(nullptr));
    QString next;
    connect(&capture, &AudioCaptureService::recordingStopped, this, [&]() {
        QVERIFY(capture.start(nullptr));
        next = capture.outputFilePath();
    });
    const QString path = capture.stop(nullptr);
    QVERIFY(capture.isRecording());
    QVERIFY(QFile::exists(path));
    QVERIFY(QFile::exists(next));
    QVERIFY(next != path);
}

void CaptureOrderTest::waveStartsAtRestAndEndsAtRest()
{
    OverlayStateModel overlay;
    RecordingWaveController controller(&overlay);
    auto* timer = controller.findChild<QTimer*>(u"waveTimer"_s);
    QStringList order;
    connect(&overlay, &OverlayStateModel::waveScalesChanged, this, [&]() {
        order << (overlay.waveScales() == QVariantList(5, 0.1F) ? u"rest"_s : u"wave"_s);
        QVERIFY(!timer->isActive());
    });
    connect(&overlay, &OverlayStateModel::visualStateChanged, this, [&]() {
        order << overlay.visualState();
        QVERIFY(!timer->isActive());
    });
    overlay.setWaveScales({1, 1, 1, 1, 1});
    controller.toggleRecording();
    QCOMPARE(overlay.state(), State::Recording);
    QVERIFY(timer->isActive());
    QCOMPARE(timer->interval(), 50);
    QVERIFY(!timer->isSingleShot());
    timer->stop();
    overlay.setWaveScales({1, 1, 1, 1, 1});
    timer->start();
    controller.toggleRecording();
    QCOMPARE(order,
        (QStringList{u"wave"_s, u"rest"_s, u"recording"_s, u"wave"_s, u"rest"_s, u"idle"_s}));
}

QTEST_GUILESS_MAIN(CaptureOrderTest)
#include "CaptureOrderTest.moc"
