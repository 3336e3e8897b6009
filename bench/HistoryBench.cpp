#include "storage/HistoryRepository.h"

#include <QTemporaryDir>

#include <benchmark/benchmark.h>

using namespace Qt::StringLiterals;

namespace {

constexpr int kEntries = 100;
const QString kTranscript
    = u"a sentence of the length that somebody says in one breath "_s.repeated(3);

void fill(const QString& path)
{
    HistoryRepository history(path);
    for (int i = 0; i < kEntries; ++i) {
        history.add(kTranscript);
    }
}

void loadHistory(benchmark::State& state)
{
    const QTemporaryDir directory;
    const QString path = directory.filePath(u"history.json"_s);
    fill(path);
    for (auto _ : state) {
        const HistoryRepository history(path);
        benchmark::DoNotOptimize(history.count());
    }
}

// An addition to a full history writes all of it.
void saveHistory(benchmark::State& state)
{
    const QTemporaryDir directory;
    const QString path = directory.filePath(u"history.json"_s);
    fill(path);
    HistoryRepository history(path);
    for (auto _ : state) {
        history.add(kTranscript);
    }
}

BENCHMARK(loadHistory);
BENCHMARK(saveHistory);

} // namespace
