#include "FuzzSupport.h"
#include "storage/HistoryRepository.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <tuple>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kMaxEntries = 100;

// Entries of the same time may come in any order.
QList<HistoryEntry> sorted(QList<HistoryEntry> entries)
{
    std::sort(entries.begin(), entries.end(), [](const HistoryEntry& a, const HistoryEntry& b) {
        return std::tie(a.createdAt, a.id, a.text) < std::tie(b.createdAt, b.id, b.text);
    });
    return entries;
}

bool equal(const QList<HistoryEntry>& a, const QList<HistoryEntry>& b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
        [](const HistoryEntry& left, const HistoryEntry& right) {
            return left.id == right.id && left.text == right.text
                && left.createdAt == right.createdAt;
        });
}

void requireOrder(const QList<HistoryEntry>& entries)
{
    Fuzz::require(
        std::is_sorted(entries.begin(), entries.end(),
            [](const HistoryEntry& a, const HistoryEntry& b) { return a.createdAt > b.createdAt; }),
        "the newest entry comes first");
    for (const HistoryEntry& entry : entries) {
        Fuzz::require(!entry.text.isEmpty() && entry.text == entry.text.trimmed(),
            "a text is trimmed and not empty");
    }
}

void requireExport(HistoryRepository& history)
{
    const QString json = history.exportToFile(u"json"_s);
    const QString text = history.exportToFile(u"text"_s);
    if (history.count() == 0) {
        Fuzz::require(json.isEmpty() && text.isEmpty(), "nothing to export makes no file");
        return;
    }
    const QJsonDocument exported = QJsonDocument::fromJson(Fuzz::readFile(json));
    Fuzz::require(exported["count"_L1].toInt() == history.count(), "an export has every entry");
    Fuzz::require(!Fuzz::readFile(text).isEmpty(), "an export as text isn't empty");
    QFile::remove(json);
    QFile::remove(text);
}

} // namespace

// The input is history.json.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray input = Fuzz::bytes(data, size);
    if (Fuzz::mayHaveByteOrderMark(input)) {
        return 0;
    }
    const QString path = Fuzz::homePath(u"history.json"_s);
    Fuzz::writeFile(path, input);
    HistoryRepository history(path);
    requireOrder(history.list());
    requireExport(history);
    Fuzz::require(history.searchEntries(u" "_s).size() == history.count(), "a blank finds all");

    const QString added = history.count() > 0 ? history.list().first().text : u"the first"_s;
    history.add(added);
    Fuzz::require(history.count() > 0 && history.count() <= kMaxEntries,
        "there are never more than a hundred entries");
    Fuzz::require(history.list().first().text == added, "what was added comes first");
    Fuzz::require(!history.searchEntries(added).isEmpty(), "an entry is found by its own text");
    Fuzz::require(equal(sorted(HistoryRepository(path).list()), sorted(history.list())),
        "a saved history loads again equal");

    const qint64 id = history.list().last().id;
    history.removeEntry(static_cast<double>(id));
    const QList<HistoryEntry> left = history.list();
    Fuzz::require(std::none_of(left.begin(), left.end(),
                      [id](const HistoryEntry& entry) { return entry.id == id; }),
        "a removed entry is gone");
    history.clearAll();
    Fuzz::require(HistoryRepository(path).count() == 0, "nothing is left of a cleared history");
    return 0;
}
