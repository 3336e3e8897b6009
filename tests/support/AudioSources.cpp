#include "support/AudioSources.h"

#include <QProcess>
#include <QStringList>

using namespace Qt::StringLiterals;

namespace {

QString pactl(const QStringList& arguments)
{
    QProcess process;
    process.start(u"pactl"_s, arguments);
    process.waitForFinished();
    return process.exitCode() == 0 ? QString::fromUtf8(process.readAllStandardOutput()) : QString();
}

} // namespace

bool AudioSources::add(const QString& id)
{
    // Qt hides the monitors of sinks, but not a source that is made from one.
    const QString sink = id + "_sink"_L1;
    return !pactl({u"load-module"_s, u"module-null-sink"_s, "sink_name="_L1 + sink}).isEmpty()
        && !pactl(
            {u"load-module"_s, u"module-remap-source"_s, "master="_L1 + sink + ".monitor"_L1,
                "source_name="_L1 + id, "source_properties=device.description="_L1 + id.toUpper()})
                .isEmpty();
}

bool AudioSources::removeAll()
{
    QProcess process;
    process.start(u"pactl"_s, {u"unload-module"_s, u"module-remap-source"_s});
    return process.waitForFinished() && process.exitCode() == 0;
}

bool AudioSources::addSilent(const QString& name, const QString& pipePath)
{
    // Reads from a pipe that nobody writes to. PipeWire would make silence of that; as its own
    // driver it waits for its own clock, which the pipe doesn't have.
    return !pactl({u"load-module"_s, u"module-pipe-source"_s, "source_name="_L1 + name,
                      "file="_L1 + pipePath, u"source_properties=node.driver=true"_s})
                .isEmpty();
}

QString AudioSources::recorded()
{
    // Both lists have tabs between the columns; the second of an output is its source's number. The
    // remapped sources record from their monitors themselves, and have a driver of their own.
    const QStringList outputs = pactl({u"list"_s, u"short"_s, u"source-outputs"_s}).split(u'\n');
    const QStringList sources = pactl({u"list"_s, u"short"_s, u"sources"_s}).split(u'\n');
    for (const QString& output : outputs) {
        for (const QString& source : sources) {
            const QStringList columns = source.split(u'\t');
            if (columns.first() == output.section(u'\t', 1, 1)
                && !columns.value(1).endsWith(".monitor"_L1)) {
                return columns.value(1);
            }
        }
    }
    return {};
}
