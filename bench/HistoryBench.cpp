#include "storage/HistoryRepository.h"
#include "storage/JsonFile.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSaveFile>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

using namespace Qt::StringLiterals;

namespace {

const QString kTranscript
    = u"a sentence of the length that somebody says in one breath "_s.repeated(3);
const QString kNeedle = u"One Breath and then"_s; // in none of them, so that all are searched

// A history of that many entries, in a directory of its own. More than a hundred come only from a
// file that was made elsewhere, and stay until the next addition.
class HistoryOnDisk
{
public:
    explicit HistoryOnDisk(qint64 count)
    {
        QJsonArray entries;
        for (qint64 i = 0; i < count; ++i) {
            const double time = 1.7e12 + static_cast<double>(i);
            entries.append(
                QJsonObject{{u"id"_s, time}, {u"text"_s, kTranscript}, {u"createdAt"_s, time}});
        }
        writeJsonFile(
            path(), QJsonDocument(QJsonObject{{u"entries"_s, entries}}).toJson(), nullptr);
    }
    [[nodiscard]] QString path() const { return m_directory.filePath(u"history.json"_s); }
    [[nodiscard]] QByteArray bytes() const
    {
        QFile file(path());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

private:
    QTemporaryDir m_directory;
};

void loadHistory(benchmark::State& state)
{
    const HistoryOnDisk disk(state.range(0));
    for (auto _ : state) {
        const HistoryRepository history(disk.path());
        benchmark::DoNotOptimize(history.count());
    }
}

void parseAlone(benchmark::State& state)
{
    const HistoryOnDisk disk(state.range(0));
    for (auto _ : state) {
        benchmark::DoNotOptimize(QJsonDocument::fromJson(disk.bytes()));
    }
}

void saveHistory(benchmark::State& state)
{
    const HistoryOnDisk disk(state.range(0));
    HistoryRepository history(disk.path());
    double oldest = 1.7e12;
    for (auto _ : state) {
        // Saves what is left, which is nearly all.
        history.removeEntry(oldest++);
    }
}

void writeAlone(benchmark::State& state)
{
    const HistoryOnDisk disk(state.range(0));
    const QByteArray bytes = disk.bytes();
    for (auto _ : state) {
        writeJsonFile(disk.path(), bytes, nullptr);
    }
}

void searchHistory(benchmark::State& state)
{
    const HistoryOnDisk disk(state.range(0));
    const HistoryRepository history(disk.path());
    for (auto _ : state) {
        benchmark::DoNotOptimize(history.searchEntries(kNeedle));
    }
}

void containsAlone(benchmark::State& state)
{
    const QStringList texts(state.range(0), kTranscript);
    const QString needle = kNeedle.toLower();
    for (auto _ : state) {
        qsizetype found = 0;
        for (const QString& text : texts) {
            found += text.contains(needle) ? 1 : 0;
        }
        benchmark::DoNotOptimize(found);
    }
}

BENCHMARK(loadHistory)->Arg(100)->Arg(10000);
BENCHMARK(parseAlone)->Arg(100)->Arg(10000);
BENCHMARK(saveHistory)->Arg(100)->Arg(10000)->Iterations(20);
BENCHMARK(writeAlone)->Arg(100)->Arg(10000)->Iterations(20);
BENCHMARK(searchHistory)->Arg(100)->Arg(10000);
BENCHMARK(containsAlone)->Arg(100)->Arg(10000);

} // namespace
