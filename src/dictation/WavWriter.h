#pragma once

#include <QAudioFormat>
#include <QFile>
#include <QString>

// Streams audio into a RIFF/WAVE file whose length isn't known at the start: a placeholder header
// is written first, and rewritten when the file is finished. From open() on the writer answers for
// the file and cancel() deletes it, until takeFilePath() hands it over. Operations that can fail
// return false, with a sentence in `error` unless that is null.
class WavWriter final
{
public:
    /// Starts a file. An unfinished earlier one is deleted first.
    bool open(const QString& filePath, const QAudioFormat& format, QString* error);
    /// A failure leaves the file open; the caller decides what becomes of it.
    bool appendAudioData(const QByteArray& data, QString* error);
    /// Completes the file; a failure deletes it. Without an open file there is nothing to do.
    bool finalize(QString* error);
    /// Closes and deletes the file, finished or not.
    void cancel();
    /// Releases the file to the caller; empty if there is none.
    QString takeFilePath();

    [[nodiscard]] bool isOpen() const { return m_file.isOpen(); }
    [[nodiscard]] QString filePath() const { return m_file.fileName(); }
    /// Invalid when there is no file.
    [[nodiscard]] QAudioFormat format() const { return m_format; }
    [[nodiscard]] quint64 audioDataBytes() const { return m_dataBytes; }

private:
    bool writeHeader(quint32 dataBytes, QString* error);
    void forgetAudio();

    QFile m_file;
    QAudioFormat m_format;
    quint64 m_dataBytes = 0;
};
