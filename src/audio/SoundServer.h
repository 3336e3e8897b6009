#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <optional>

// Asks the sound server itself which sources it has. Qt's list keeps what is gone, with Qt 6.4
// since a restart of the server and with 6.8 since it was unplugged, and a recording from such a
// source never begins: QAudioSource::start() doesn't return.
class SoundServer final
{
public:
    SoundServer();

    /// The ids of the sources that are there now. Nothing if nobody can tell, for want of the tool
    /// or of a server; an empty list if the server doesn't answer within five seconds.
    [[nodiscard]] std::optional<QList<QByteArray>> sources() const;

private:
    QString m_pactlPath;
};
