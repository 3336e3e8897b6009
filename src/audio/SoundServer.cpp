#include "audio/SoundServer.h"

#include <QProcess>
#include <QStandardPaths>

using namespace Qt::StringLiterals;

namespace {

// It takes ten milliseconds, but a machine that is busy with other things has been seen to need two
// seconds.
constexpr int kToolTimeoutMs = 5000;

// A source is a line: its number, its name, and what else there is to say, with tabs between.
QList<QByteArray> namesIn(const QByteArray& table)
{
    QList<QByteArray> names;
    for (const QByteArray& line : table.split('\n')) {
        const QList<QByteArray> columns = line.split('\t');
        if (columns.size() > 1) {
            names.append(columns.at(1));
        }
    }
    return names;
}

} // namespace

SoundServer::SoundServer()
    : m_pactlPath(QStandardPaths::findExecutable(u"pactl"_s))
{
}

std::optional<QList<QByteArray>> SoundServer::sources() const
{
    if (m_pactlPath.isEmpty()) {
        return std::nullopt;
    }
    QProcess process;
    process.start(m_pactlPath, {u"list"_s, u"short"_s, u"sources"_s});
    if (!process.waitForFinished(kToolTimeoutMs)) {
        if (process.error() == QProcess::FailedToStart) {
            return std::nullopt;
        }
        // Ended by hand: a QProcess that dies with its program still running complains in the log.
        process.kill();
        process.waitForFinished();
        return QList<QByteArray>();
    }
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0) {
        return std::nullopt;
    }
    return namesIn(process.readAllStandardOutput());
}
