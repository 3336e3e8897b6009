#include "dictation/WavWriter.h"
#include "support/TarqTest.h"

#include <QFileInfo>

#include <QtEndian>

using namespace Qt::StringLiterals;

namespace {

QAudioFormat formatOf(QAudioFormat::SampleFormat sampleFormat, int rate = 16000, int channels = 1)
{
    QAudioFormat format;
    format.setSampleFormat(sampleFormat);
    format.setSampleRate(rate);
    format.setChannelCount(channels);
    return format;
}

constexpr quint64 kLargestDataSize = 4294967259U;

// The file is cut back behind every block and so stays sparse: four gigabytes need no disk.
bool appendSilence(WavWriter& writer, quint64 bytes)
{
    const QByteArray block(64 * 1024 * 1024, '\0');
    while (bytes > 0) {
        const quint64 size = qMin(bytes, static_cast<quint64>(block.size()));
        if (!writer.appendAudioData(block.first(static_cast<qsizetype>(size)), nullptr)
            || !QFile::resize(writer.filePath(), 44)) {
            return false;
        }
        bytes -= size;
    }
    return true;
}

template <typename Number> Number numberAt(const QByteArray& bytes, qsizetype offset)
{
    return qFromLittleEndian<Number>(bytes.constData() + offset);
}

} // namespace

class WavWriterTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void emptyFileIsABareHeader();
    void sizesCountTheAudio();
    void headerDescribesTheFormat_data();
    void headerDescribesTheFormat();
    void samplesAreWrittenAsTheyCome();
    void unwritableFormatsAreRefused_data();
    void unwritableFormatsAreRefused();
    void unopenableFileIsNotDeleted();
    void largestRiffSizeIsWritten();
    void oneByteBeyondTheLargestRiffSizeDeletesTheFile();
    void nothingToFinalizeSucceeds();
    void appendAfterFinalizeFails();
    void emptyBlockSucceeds();
    void formatIsInvalidOnceTheFileIsTaken();
    void cancelDeletesAFinishedFile();
    void takenFileSurvivesCancel();
    void openDeletesAnUnfinishedFile();
    void fullDiskFailsTheStart();
    void fullDiskFailsTheEndAndDeletesTheFile_data();
    void fullDiskFailsTheEndAndDeletesTheFile();
    void fullDiskFailsTheBlockAndKeepsTheCount();
    void destructionDeletesNothing();

private:
    [[nodiscard]] QString path() const { return homePath(u"speech.wav"_s); }
};

void WavWriterTest::emptyFileIsABareHeader()
{
    WavWriter writer;
    QVERIFY(writer.open(path(), formatOf(QAudioFormat::Int16), nullptr));
    QVERIFY(writer.finalize(nullptr));
    const QByteArray bytes = readFile(path());
    QCOMPARE(bytes.size(), 44);
    QCOMPARE(numberAt<quint32>(bytes, 4), 36U);
    QCOMPARE(numberAt<quint32>(bytes, 40), 0U);
}

void WavWriterTest::sizesCountTheAudio()
{
    WavWriter writer;
    QVERIFY(writer.open(path(), formatOf(QAudioFormat::Int16), nullptr));
    QVERIFY(writer.appendAudioData(QByteArray(600, 'a'), nullptr));
    QVERIFY(writer.appendAudioData(QByteArray(400, 'b'), nullptr));
    QCOMPARE(writer.audioDataBytes(), 1000U);
    QVERIFY(writer.finalize(nullptr));
    const QByteArray bytes = readFile(path());
    QCOMPARE(bytes.size(), 1044);
    QCOMPARE(numberAt<quint32>(bytes, 4), 1036U);
    QCOMPARE(numberAt<quint32>(bytes, 40), 1000U);
}

void WavWriterTest::headerDescribesTheFormat_data()
{
    QTest::addColumn<QAudioFormat>("format");
    QTest::addColumn<quint16>("code");
    QTest::addColumn<quint16>("bits");
    QTest::newRow("mono 16 bit") << formatOf(QAudioFormat::Int16) << quint16(1) << quint16(16);
    QTest::newRow("stereo 8 bit") << formatOf(QAudioFormat::UInt8, 8000, 2) << quint16(1)
                                  << quint16(8);
    QTest::newRow("six channels 32 bit")
        << formatOf(QAudioFormat::Int32, 192000, 6) << quint16(1) << quint16(32);
    QTest::newRow("stereo float") << formatOf(QAudioFormat::Float, 48000, 2) << quint16(3)
                                  << quint16(32);
}

void WavWriterTest::headerDescribesTheFormat()
{
    QFETCH(QAudioFormat, format);
    QFETCH(quint16, code);
    QFETCH(quint16, bits);
    WavWriter writer;
    QVERIFY(writer.open(path(), format, nullptr));
    QCOMPARE(writer.format(), format);
    QVERIFY(writer.finalize(nullptr));

    const QByteArray bytes = readFile(path());
    QCOMPARE(bytes.first(4), "RIFF"_ba);
    QCOMPARE(bytes.mid(8, 8), "WAVEfmt "_ba);
    QCOMPARE(numberAt<quint32>(bytes, 16), 16U);
    QCOMPARE(numberAt<quint16>(bytes, 20), code);
    QCOMPARE(numberAt<quint16>(bytes, 22), format.channelCount());
    QCOMPARE(numberAt<quint32>(bytes, 24), static_cast<quint32>(format.sampleRate()));
    const int frame = format.channelCount() * bits / 8;
    QCOMPARE(numberAt<quint32>(bytes, 28), static_cast<quint32>(frame * format.sampleRate()));
    QCOMPARE(numberAt<quint16>(bytes, 32), frame);
    QCOMPARE(numberAt<quint16>(bytes, 34), bits);
    QCOMPARE(bytes.mid(36, 4), "data"_ba);
}

void WavWriterTest::samplesAreWrittenAsTheyCome()
{
    WavWriter writer;
    QVERIFY(writer.open(path(), formatOf(QAudioFormat::Float, 48000, 2), nullptr));
    const QByteArray block = QByteArray::fromHex("0000803f000080bf00010203fffefdfc");
    QVERIFY(writer.appendAudioData(block, nullptr));
    QVERIFY(writer.appendAudioData(block.first(5), nullptr));
    QVERIFY(writer.finalize(nullptr));
    QCOMPARE(readFile(path()).mid(44), block + block.first(5));
}

void WavWriterTest::unwritableFormatsAreRefused_data()
{
    QTest::addColumn<QAudioFormat>("format");
    QTest::addColumn<QString>("message");
    QTest::newRow("default") << QAudioFormat() << u"Invalid audio format for WAV output."_s;
    QTest::newRow("no channels") << formatOf(QAudioFormat::Int16, 16000, 0)
                                 << u"Invalid audio format for WAV output."_s;
    QTest::newRow("unknown samples")
        << formatOf(QAudioFormat::Unknown) << u"Invalid audio format for WAV output."_s;
    QTest::newRow("future samples")
        << formatOf(QAudioFormat::NSampleFormats) << u"Unsupported sample format for WAV output."_s;
}

void WavWriterTest::unwritableFormatsAreRefused()
{
    QFETCH(QAudioFormat, format);
    QFETCH(QString, message);
    WavWriter writer;
    QString error;
    QVERIFY(!writer.open(path(), format, &error));
    QCOMPARE(error, message);
    QVERIFY(!writer.open(path(), format, nullptr));
    QVERIFY(!writer.isOpen());
    QVERIFY(!QFileInfo::exists(path()));
}

void WavWriterTest::unopenableFileIsNotDeleted()
{
    // A directory can't be opened for writing.
    const QString directory = homePath(u"music"_s);
    QVERIFY(QDir().mkpath(directory));
    WavWriter writer;
    QString error;
    QVERIFY(!writer.open(directory, formatOf(QAudioFormat::Int16), &error));
    QCOMPARE(error, u"Failed to open WAV file: %1"_s.arg(directory));
    QCOMPARE(writer.filePath(), QString());
    writer.cancel();
    QVERIFY(QFileInfo::exists(directory));
}

void WavWriterTest::largestRiffSizeIsWritten()
{
    WavWriter writer;
    QVERIFY(writer.open(path(), formatOf(QAudioFormat::UInt8), nullptr));
    QVERIFY(appendSilence(writer, kLargestDataSize));
    QString error;
    QVERIFY2(writer.finalize(&error), qPrintable(error));
    QFile file(path());
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray header = file.read(44);
    QCOMPARE(numberAt<quint32>(header, 4), 4294967295U);
    QCOMPARE(numberAt<quint32>(header, 40), 4294967259U);
}

void WavWriterTest::oneByteBeyondTheLargestRiffSizeDeletesTheFile()
{
    WavWriter writer;
    QVERIFY(writer.open(path(), formatOf(QAudioFormat::UInt8), nullptr));
    QVERIFY(appendSilence(writer, kLargestDataSize + 1));
    QString error;
    QVERIFY(!writer.finalize(&error));
    QCOMPARE(error, u"WAV file exceeds the 32-bit RIFF size limit."_s);
    QVERIFY(!QFileInfo::exists(path()));
    QCOMPARE(writer.filePath(), QString());
    QVERIFY(!writer.format().isValid());
}

void WavWriterTest::nothingToFinalizeSucceeds()
{
    WavWriter writer;
    QString error;
    QVERIFY(writer.finalize(&error));
    QCOMPARE(error, QString());
    QCOMPARE(writer.takeFilePath(), QString());
}

void WavWriterTest::appendAfterFinalizeFails()
{
    WavWriter writer;
    QVERIFY(writer.open(path(), formatOf(QAudioFormat::Int16), nullptr));
    QVERIFY(writer.finalize(nullptr));
    QString error;
    QVERIFY(!writer.appendAudioData("ab"_ba, &error));
    QCOMPARE(error, u"WAV output is not open."_s);
    QCOMPARE(writer.filePath(), path());
}

void WavWriterTest::emptyBlockSucceeds()
{
    WavWriter writer;
    QVERIFY(writer.open(path(), formatOf(QAudioFormat::Int16), nullptr));
    QVERIFY(writer.appendAudioData({}, nullptr));
    QCOMPARE(writer.audioDataBytes(), 0U);
}

void WavWriterTest::formatIsInvalidOnceTheFileIsTaken()
{
    WavWriter writer;
    QVERIFY(writer.open(path(), formatOf(QAudioFormat::Int16), nullptr));
    QVERIFY(writer.appendAudioData("abcd"_ba, nullptr));
    QVERIFY(writer.finalize(nullptr));
    QVERIFY(writer.format().isValid());
    QCOMPARE(writer.takeFilePath(), path());
    QVERIFY(!writer.format().isValid());
    QCOMPARE(writer.audioDataBytes(), 0U);
}

void WavWriterTest::cancelDeletesAFinishedFile()
{
    WavWriter writer;
    QVERIFY(writer.open(path(), formatOf(QAudioFormat::Int16), nullptr));
    QVERIFY(writer.finalize(nullptr));
    writer.cancel();
    QVERIFY(!QFileInfo::exists(path()));
    writer.cancel();
}

void WavWriterTest::takenFileSurvivesCancel()
{
    WavWriter writer;
    QVERIFY(writer.open(path(), formatOf(QAudioFormat::Int16), nullptr));
    QVERIFY(writer.finalize(nullptr));
    QCOMPARE(writer.takeFilePath(), path());
    writer.cancel();
    QVERIFY(QFileInfo::exists(path()));
}

void WavWriterTest::openDeletesAnUnfinishedFile()
{
    WavWriter writer;
    QVERIFY(writer.open(path(), formatOf(QAudioFormat::Int16), nullptr));
    const QString second = homePath(u"second.wav"_s);
    QVERIFY(writer.open(second, formatOf(QAudioFormat::Int16), nullptr));
    QVERIFY(!QFileInfo::exists(path()));
    QVERIFY(QFileInfo::exists(second));
}

void WavWriterTest::fullDiskFailsTheStart()
{
    const FileSizeLimit full(0);
    WavWriter writer;
    QString error;
    QVERIFY(!writer.open(path(), formatOf(QAudioFormat::Int16), &error));
    QCOMPARE(error, u"Failed to write WAV header to %1"_s.arg(path()));
    QVERIFY(!QFileInfo::exists(path()));
    QCOMPARE(writer.filePath(), QString());
}

void WavWriterTest::fullDiskFailsTheEndAndDeletesTheFile_data()
{
    QTest::addColumn<int>("audioBytes");
    QTest::addColumn<QString>("message");
    QTest::newRow("no audio") << 0 << u"Failed to write WAV header to %1"_s;
    QTest::newRow("audio that isn't on the disk yet")
        << 3200 << u"Failed to seek to the WAV header."_s;
}

void WavWriterTest::fullDiskFailsTheEndAndDeletesTheFile()
{
    QFETCH(int, audioBytes);
    QFETCH(QString, message);
    WavWriter writer;
    QVERIFY(writer.open(path(), formatOf(QAudioFormat::Int16), nullptr));
    QVERIFY(writer.appendAudioData(QByteArray(audioBytes, 'a'), nullptr));
    const FileSizeLimit full(0);
    QString error;
    QVERIFY(!writer.finalize(&error));
    QCOMPARE(error, message.contains(u'%') ? message.arg(path()) : message);
    QVERIFY(!QFileInfo::exists(path()));
}

void WavWriterTest::fullDiskFailsTheBlockAndKeepsTheCount()
{
    WavWriter writer;
    QVERIFY(writer.open(path(), formatOf(QAudioFormat::Int16), nullptr));
    QVERIFY(writer.appendAudioData(QByteArray(20000, 'a'), nullptr));
    const FileSizeLimit full(40000);
    QString error;
    QVERIFY(!writer.appendAudioData(QByteArray(100000, 'b'), &error));
    QCOMPARE(error, u"Failed to append audio data to %1"_s.arg(path()));
    QCOMPARE(writer.audioDataBytes(), 20000U);
    QVERIFY(writer.isOpen());
    writer.cancel();
    QVERIFY(!QFileInfo::exists(path()));
}

void WavWriterTest::destructionDeletesNothing()
{
    {
        WavWriter writer;
        QVERIFY(writer.open(path(), formatOf(QAudioFormat::Int16), nullptr));
    }
    QVERIFY(QFileInfo::exists(path()));
}

QTEST_GUILESS_MAIN(WavWriterTest)
#include "WavWriterTest.moc"
