#include "dictation/AudioCaptureService.h"
#include "support/AudioSources.h"
#include "support/TarqTest.h"

#include <QAudioDevice>
#include <QDir>
#include <QFileInfo>
#include <QMediaDevices>
#include <QRegularExpression>

using namespace Qt::StringLiterals;

// Records from a real audio server with a silent microphone.
class AudioCaptureServiceTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void initTestCase();

    void recordsIntoAWavFile();
    void stopBeforeAnyAudioGivesABareHeader();
    void stopWithoutASessionGivesNothing();
    void cancelDeletesTheFile();
    void cancelTwiceIsHarmless();
    void secondStartFailsAndLeavesTheFirstAlone();
    void prefersMono16BitAt16000Hz();
    void preferredDeviceIsUsed();
    void unknownDeviceFallsBackToTheDefault();
    void missingDeviceIsTriedAgainAtTheNextStart();
    void cacheDirectoryIsPrivate();
    void unusableCacheDirectoryFailsWithoutASignal();
    void unwritableCacheDirectoryFailsWithoutASignal();
    void fullDiskCancelsTheSession();
    void fullDiskAtTheStopGivesNothing();
    void fullDiskInTheLastDrainGivesNothing();
    void listenerMayCancelInsideTheError();
    void destructionDeletesTheFile();
    void sessionsFollowEachOther();

private:
    // Waits until some audio has come in.
    static bool hears(AudioCaptureService& capture)
    {
        QSignalSpy chunks(&capture, &AudioCaptureService::audioChunkCaptured);
        return chunks.wait(10000);
    }

    [[nodiscard]] QStringList recordings() const
    {
        return QDir(cachePath()).entryList(QDir::Files);
    }

    static bool isListed(const QByteArray& id)
    {
        const QList<QAudioDevice> inputs = QMediaDevices::audioInputs();
        return std::any_of(inputs.begin(), inputs.end(),
            [&id](const QAudioDevice& input) { return input.id() == id; });
    }
};

void AudioCaptureServiceTest::initTestCase()
{
    QVERIFY(AudioSources::add(u"second"_s));
    QVERIFY(AudioSources::addSilent(u"silent"_s, QDir::temp().filePath(u"silent"_s)));
}

void AudioCaptureServiceTest::recordsIntoAWavFile()
{
    AudioCaptureService capture;
    QSignalSpy stopped(&capture, &AudioCaptureService::recordingStopped);
    QSignalSpy errors(&capture, &AudioCaptureService::errorOccurred);
    QByteArray heard;
    connect(&capture, &AudioCaptureService::audioChunkCaptured, this,
        [&](const QByteArray& chunk) { heard += chunk; });
    QString error;
    QVERIFY2(capture.start(&error), qPrintable(error));
    QVERIFY(capture.isRecording());
    const QString path = capture.outputFilePath();
    QCOMPARE(QFileInfo(path).path(), cachePath());
    const QRegularExpression name(
        u"^tarq-linux-[0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}\\.wav$"_s);
    QVERIFY2(name.match(QFileInfo(path).fileName()).hasMatch(), qPrintable(path));
    QVERIFY(hears(capture));

    QCOMPARE(capture.stop(&error), path);
    QCOMPARE(error, QString());
    QVERIFY(!capture.isRecording());
    QCOMPARE(capture.outputFilePath(), QString());
    QVERIFY(!capture.captureFormat().isValid());
    QCOMPARE(stopped.count(), 1);
    QCOMPARE(stopped.first().first().toString(), path);
    QCOMPARE(errors.count(), 0);
    const QByteArray wav = readFile(path);
    QCOMPARE(wav.first(4), "RIFF"_ba);
    QCOMPARE(wav.mid(44), heard);
}

void AudioCaptureServiceTest::stopBeforeAnyAudioGivesABareHeader()
{
    AudioCaptureService capture;
    QSignalSpy chunks(&capture, &AudioCaptureService::audioChunkCaptured);
    QSignalSpy errors(&capture, &AudioCaptureService::errorOccurred);
    capture.setPreferredDeviceId(u"silent"_s);
    QVERIFY(capture.start(nullptr));
    QVERIFY(!chunks.wait(500));
    const QString path = capture.stop(nullptr);
    QVERIFY(!path.isEmpty());
    QCOMPARE(QFileInfo(path).size(), 44);
    QCOMPARE(errors.count(), 0);
}

void AudioCaptureServiceTest::stopWithoutASessionGivesNothing()
{
    AudioCaptureService capture;
    QSignalSpy stopped(&capture, &AudioCaptureService::recordingStopped);
    QString error = u"untouched"_s;
    QCOMPARE(capture.stop(&error), QString());
    QCOMPARE(error, u"untouched"_s);
    QCOMPARE(stopped.count(), 0);
}

void AudioCaptureServiceTest::cancelDeletesTheFile()
{
    AudioCaptureService capture;
    QSignalSpy stopped(&capture, &AudioCaptureService::recordingStopped);
    QVERIFY(capture.start(nullptr));
    QVERIFY(hears(capture));
    capture.cancel();
    QVERIFY(!capture.isRecording());
    QCOMPARE(recordings(), QStringList());
    QCOMPARE(stopped.count(), 0);
}

void AudioCaptureServiceTest::cancelTwiceIsHarmless()
{
    AudioCaptureService capture;
    capture.cancel();
    QVERIFY(capture.start(nullptr));
    capture.cancel();
    capture.cancel();
    QCOMPARE(recordings(), QStringList());
}

void AudioCaptureServiceTest::secondStartFailsAndLeavesTheFirstAlone()
{
    AudioCaptureService capture;
    QVERIFY(capture.start(nullptr));
    QSignalSpy errors(&capture, &AudioCaptureService::errorOccurred);
    QString error;
    QVERIFY(!capture.start(&error));
    QCOMPARE(error, u"Audio capture is already in progress."_s);
    QCOMPARE(errors.count(), 1);
    QVERIFY(capture.isRecording());
    QVERIFY(!capture.stop(nullptr).isEmpty());
}

void AudioCaptureServiceTest::prefersMono16BitAt16000Hz()
{
    AudioCaptureService capture;
    QVERIFY(capture.start(nullptr));
    const QAudioFormat format = capture.captureFormat();
    QCOMPARE(format.sampleRate(), 16000);
    QCOMPARE(format.channelCount(), 1);
    QCOMPARE(format.sampleFormat(), QAudioFormat::Int16);
}

void AudioCaptureServiceTest::preferredDeviceIsUsed()
{
    AudioCaptureService capture;
    QVERIFY(capture.start(nullptr));
    QTRY_COMPARE(AudioSources::recorded(), u"mic"_s);
    capture.cancel();
    QTRY_COMPARE(AudioSources::recorded(), QString());

    capture.setPreferredDeviceId(u"second"_s);
    QVERIFY(capture.start(nullptr));
    QTRY_COMPARE(AudioSources::recorded(), u"second"_s);
}

void AudioCaptureServiceTest::unknownDeviceFallsBackToTheDefault()
{
    AudioCaptureService capture;
    QSignalSpy errors(&capture, &AudioCaptureService::errorOccurred);
    capture.setPreferredDeviceId(u"unplugged long ago"_s);
    QVERIFY(capture.start(nullptr));
    QTRY_COMPARE(AudioSources::recorded(), u"mic"_s);
    QCOMPARE(errors.count(), 0);
}

void AudioCaptureServiceTest::missingDeviceIsTriedAgainAtTheNextStart()
{
    AudioCaptureService capture;
    capture.setPreferredDeviceId(u"third"_s);
    QVERIFY(capture.start(nullptr));
    QTRY_COMPARE(AudioSources::recorded(), u"mic"_s);
    QVERIFY(!capture.stop(nullptr).isEmpty());

    QVERIFY(AudioSources::add(u"third"_s));
    QTRY_VERIFY(isListed("third"_ba));
    QVERIFY(capture.start(nullptr));
    QTRY_COMPARE(AudioSources::recorded(), u"third"_s);
}

void AudioCaptureServiceTest::cacheDirectoryIsPrivate()
{
    QVERIFY(QDir().mkpath(cachePath()));
    QVERIFY(QFile::setPermissions(cachePath(),
        QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner | QFile::ReadOther
            | QFile::ExeOther));
    AudioCaptureService capture;
    QVERIFY(capture.start(nullptr));
    QCOMPARE(modeOf(cachePath()), 0700U);
}

void AudioCaptureServiceTest::unusableCacheDirectoryFailsWithoutASignal()
{
    writeFile(homePath(u".cache"_s), "a file, where the directory should be"_ba);
    AudioCaptureService capture;
    QSignalSpy errors(&capture, &AudioCaptureService::errorOccurred);
    QString error;
    QVERIFY(!capture.start(&error));
    QCOMPARE(error, u"Failed to create cache directory: %1"_s.arg(cachePath()));
    QCOMPARE(errors.count(), 0);
    QVERIFY(!capture.start(nullptr));
}

void AudioCaptureServiceTest::unwritableCacheDirectoryFailsWithoutASignal()
{
    // Not even root can create a file in the directory that the kernel keeps for file descriptors.
    QVERIFY(QDir().mkpath(homePath(u".cache"_s)));
    QVERIFY(QFile::link(u"/proc/self/fd"_s, cachePath()));
    AudioCaptureService capture;
    QSignalSpy errors(&capture, &AudioCaptureService::errorOccurred);
    QString error;
    QVERIFY(!capture.start(&error));
    QVERIFY2(error.startsWith("Failed to open WAV file: "_L1), qPrintable(error));
    QCOMPARE(errors.count(), 0);
    QVERIFY(!capture.isRecording());
}

void AudioCaptureServiceTest::fullDiskCancelsTheSession()
{
    AudioCaptureService capture;
    QVERIFY(capture.start(nullptr));
    const QString path = capture.outputFilePath();
    QSignalSpy errors(&capture, &AudioCaptureService::errorOccurred);
    const FileSizeLimit full(100);
    QVERIFY(errors.wait(10000));
    QCOMPARE(errors.count(), 1);
    QCOMPARE(errors.first().first().toString(), u"Failed to append audio data to %1"_s.arg(path));
    QVERIFY(!capture.isRecording());
    QCOMPARE(recordings(), QStringList());
}

void AudioCaptureServiceTest::fullDiskAtTheStopGivesNothing()
{
    AudioCaptureService capture;
    QVERIFY(capture.start(nullptr));
    QVERIFY(hears(capture));
    QSignalSpy errors(&capture, &AudioCaptureService::errorOccurred);
    QSignalSpy stopped(&capture, &AudioCaptureService::recordingStopped);
    const FileSizeLimit full(0);
    QString error;
    QCOMPARE(capture.stop(&error), QString());
    QCOMPARE(error, u"Failed to seek to the WAV header."_s);
    QCOMPARE(errors.count(), 0);
    QCOMPARE(stopped.count(), 0);
    QVERIFY(!capture.isRecording());
    QCOMPARE(recordings(), QStringList());
}

void AudioCaptureServiceTest::fullDiskInTheLastDrainGivesNothing()
{
    AudioCaptureService capture;
    QVERIFY(capture.start(nullptr));
    const QString path = capture.outputFilePath();
    QSignalSpy errors(&capture, &AudioCaptureService::errorOccurred);
    QSignalSpy stopped(&capture, &AudioCaptureService::recordingStopped);
    QVERIFY(hears(capture));
    // From here on the event loop stands still: what comes in waits for the stop.
    const FileSizeLimit full(100);
    QTest::qSleep(1000);
    QString error;
    QCOMPARE(capture.stop(&error), QString());
    QCOMPARE(errors.count(), 1);
    QCOMPARE(errors.first().first().toString(), u"Failed to append audio data to %1"_s.arg(path));
    QCOMPARE(stopped.count(), 0);
    QVERIFY(!capture.isRecording());
    QCOMPARE(recordings(), QStringList());
}

void AudioCaptureServiceTest::listenerMayCancelInsideTheError()
{
    AudioCaptureService capture;
    QVERIFY(capture.start(nullptr));
    int errors = 0;
    connect(&capture, &AudioCaptureService::errorOccurred, this, [&]() {
        ++errors;
        capture.cancel();
    });
    const FileSizeLimit full(100);
    QTRY_VERIFY_WITH_TIMEOUT(!capture.isRecording(), 10000);
    QCoreApplication::processEvents();
    QCOMPARE(errors, 1);
    QCOMPARE(recordings(), QStringList());
}

void AudioCaptureServiceTest::destructionDeletesTheFile()
{
    {
        AudioCaptureService capture;
        QVERIFY(capture.start(nullptr));
        QVERIFY(hears(capture));
    }
    QCOMPARE(recordings(), QStringList());
}

void AudioCaptureServiceTest::sessionsFollowEachOther()
{
    AudioCaptureService capture;
    QSet<QString> paths;
    for (int session = 0; session < 20; ++session) {
        QVERIFY(capture.start(nullptr));
        paths.insert(capture.stop(nullptr));
        QCoreApplication::processEvents();
    }
    QCOMPARE(paths.size(), 20);
}

QTEST_GUILESS_MAIN(AudioCaptureServiceTest)
#include "AudioCaptureServiceTest.moc"
