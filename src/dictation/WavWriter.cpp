#include "dictation/WavWriter.h"

#include "storage/FailWith.h"

#include <limits>

using namespace Qt::StringLiterals;

namespace {

constexpr quint32 kFormatChunkSize = 16;
// The header's bytes that the RIFF size counts: all but the chunk id and the size itself.
constexpr quint32 kCountedHeaderBytes = 36;
constexpr quint64 kMaxDataBytes = std::numeric_limits<quint32>::max() - kCountedHeaderBytes;

constexpr quint16 kNotWritable = 0;

// Format codes of the RIFF "fmt " chunk: 1 is integer PCM, 3 is IEEE float.
quint16 wavFormatCode(QAudioFormat::SampleFormat sampleFormat)
{
    switch (sampleFormat) {
    case QAudioFormat::UInt8:
    case QAudioFormat::Int16:
    case QAudioFormat::Int32:
        return 1;
    case QAudioFormat::Float:
        return 3;
    default:
        return kNotWritable;
    }
}

void appendLittleEndian16(QByteArray& bytes, quint16 value)
{
    bytes.append(static_cast<char>(value & 0xff));
    bytes.append(static_cast<char>(value >> 8));
}

void appendLittleEndian32(QByteArray& bytes, quint32 value)
{
    appendLittleEndian16(bytes, static_cast<quint16>(value & 0xffff));
    appendLittleEndian16(bytes, static_cast<quint16>(value >> 16));
}

bool writeAll(QIODevice& device, const QByteArray& bytes)
{
    return device.write(bytes) == bytes.size();
}

} // namespace

bool WavWriter::open(const QString& filePath, const QAudioFormat& format, QString* error)
{
    cancel();
    if (!format.isValid()) {
        return failWith(error, u"Invalid audio format for WAV output."_s);
    }
    if (wavFormatCode(format.sampleFormat()) == kNotWritable) {
        return failWith(error, u"Unsupported sample format for WAV output."_s);
    }
    m_file.setFileName(filePath);
    if (!m_file.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        // What couldn't be opened isn't ours to delete.
        m_file.setFileName({});
        return failWith(error, u"Failed to open WAV file: %1"_s.arg(filePath));
    }
    m_format = format;
    m_dataBytes = 0;
    if (!writeHeader(0, error)) {
        cancel();
        return false;
    }
    return true;
}

bool WavWriter::appendAudioData(const QByteArray& data, QString* error)
{
    if (!m_file.isOpen()) {
        return failWith(error, u"WAV output is not open."_s);
    }
    if (data.isEmpty()) {
        return true;
    }
    if (!writeAll(m_file, data)) {
        return failWith(error, u"Failed to append audio data to %1"_s.arg(m_file.fileName()));
    }
    m_dataBytes += static_cast<quint64>(data.size());
    return true;
}

bool WavWriter::finalize(QString* error)
{
    if (!m_file.isOpen()) {
        return true;
    }
    if (m_dataBytes > kMaxDataBytes) {
        cancel();
        return failWith(error, u"WAV file exceeds the 32-bit RIFF size limit."_s);
    }
    if (!m_file.seek(0)) {
        cancel();
        return failWith(error, u"Failed to seek to the WAV header."_s);
    }
    if (!writeHeader(static_cast<quint32>(m_dataBytes), error)) {
        cancel();
        return false;
    }
    m_file.close();
    return true;
}

void WavWriter::cancel()
{
    if (m_file.isOpen()) {
        m_file.close();
    }
    if (!m_file.fileName().isEmpty()) {
        m_file.remove();
        m_file.setFileName({});
    }
    forgetAudio();
}

QString WavWriter::takeFilePath()
{
    if (m_file.isOpen()) {
        m_file.close();
    }
    const QString path = m_file.fileName();
    m_file.setFileName({});
    forgetAudio();
    return path;
}

bool WavWriter::writeHeader(quint32 dataBytes, QString* error)
{
    const auto bytesPerFrame = static_cast<quint32>(m_format.bytesPerFrame());
    const auto sampleRate = static_cast<quint32>(m_format.sampleRate());

    QByteArray header;
    header.append("RIFF");
    appendLittleEndian32(header, dataBytes + kCountedHeaderBytes);
    header.append("WAVE");
    header.append("fmt ");
    appendLittleEndian32(header, kFormatChunkSize);
    appendLittleEndian16(header, wavFormatCode(m_format.sampleFormat()));
    appendLittleEndian16(header, static_cast<quint16>(m_format.channelCount()));
    appendLittleEndian32(header, sampleRate);
    appendLittleEndian32(header, bytesPerFrame * sampleRate);
    appendLittleEndian16(header, static_cast<quint16>(bytesPerFrame));
    appendLittleEndian16(header, static_cast<quint16>(m_format.bytesPerSample() * 8));
    header.append("data");
    appendLittleEndian32(header, dataBytes);

    // Flushed, since closing the file overlooks a disk that is full.
    if (!writeAll(m_file, header) || !m_file.flush()) {
        return failWith(error, u"Failed to write WAV header to %1"_s.arg(m_file.fileName()));
    }
    return true;
}

void WavWriter::forgetAudio()
{
    m_format = QAudioFormat();
    m_dataBytes = 0;
}
