#include "storage/HistoryRepository.h"
#include "support/TarqTest.h"

#include <QDateTime>
#include <QFileInfo>

#include <functional>

#include <ctime>

using namespace Qt::StringLiterals;
using Change = std::function<void(HistoryRepository&)>;

// What a listener of the history finds when it is told of a change, and the times of an export in
// the zone of the moment.
class HistorySignalsTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void listenerFindsTheChangeDone_data();
    void listenerFindsTheChangeDone();
    void listenerMayChangeTheHistory();
    void exportFollowsTheTimeZoneOfTheMoment();

private:
    [[nodiscard]] QString path() const { return homePath(u"history.json"_s); }

    static QStringList textsOf(const QVariantList& entries)
    {
        QStringList texts;
        for (const QVariant& entry : entries) {
            texts.append(entry.toMap().value(u"text"_s).toString());
        }
        return texts;
    }
};

void HistorySignalsTest::listenerFindsTheChangeDone_data()
{
    QTest::addColumn<Change>("change");
    QTest::addColumn<QStringList>("left");

    const auto row = [](const char* name, const Change& change, const QStringList& left) {
        QTest::newRow(name) << change << left;
    };
    row("added", [](HistoryRepository& history) { history.add(u"note c"_s); },
        {u"note c"_s, u"note b"_s, u"note a"_s});
    row("removed", [](HistoryRepository& history) { history.removeEntry(1); }, {u"note b"_s});
    row("cleared", [](HistoryRepository& history) { history.clearAll(); }, {});
}

void HistorySignalsTest::listenerFindsTheChangeDone()
{
    QFETCH(const Change, change);
    QFETCH(const QStringList, left);
    writeFile(path(),
        R"({"entries":[{"id":2,"text":"note b","createdAt":2},
        {"id":1,"text":"note a","createdAt":1}]})"_ba);
    HistoryRepository history(path());
    // The search keeps something between two changes.
    QCOMPARE(history.searchEntries(u"note"_s).size(), 2);

    int told = 0;
    connect(&history, &HistoryRepository::historyChanged, this, [&]() {
        ++told;
        QCOMPARE(textsOf(history.entriesAsVariant()), left);
        QCOMPARE(history.count(), static_cast<int>(left.size()));
        QCOMPARE(textsOf(history.searchEntries(u"note"_s)), left);
        QCOMPARE(textsOf(HistoryRepository(path()).entriesAsVariant()), left);
    });
    change(history);
    QCOMPARE(told, 1);
}

void HistorySignalsTest::listenerMayChangeTheHistory()
{
    HistoryRepository history(path());
    QList<int> counts;
    connect(&history, &HistoryRepository::historyChanged, this, [&]() {
        counts << history.count();
        history.clearAll();
    });
    history.add(u"a"_s);
    QCOMPARE(counts, (QList<int>{1, 0}));
    QCOMPARE(history.count(), 0);
    QCOMPARE(HistoryRepository(path()).count(), 0);
}

void HistorySignalsTest::exportFollowsTheTimeZoneOfTheMoment()
{
    struct Zone {
        QByteArray rule;
        int secondsEast;
        QByteArray line;
    };
    // The user travels while the program runs. Half hours, and another day at either end.
    const QList<Zone> zones{
        {"WEST+11:30", -41400, "[2023-11-14T10:43:20] a\n\n"},
        {"EAST-13:30", 48600, "[2023-11-15T11:43:20] a\n\n"},
        {"UTC0", 0, "[2023-11-14T22:13:20] a\n\n"},
    };
    writeFile(path(), R"({"entries":[{"id":5,"text":"a","createdAt":1700000000999}]})"_ba);
    HistoryRepository history(path());
    for (const Zone& zone : zones) {
        const ScopedVariable rule("TZ", zone.rule);
        ::tzset();
        // Reckoned without the zone's own arithmetic.
        const auto stamp = [&zone]() {
            return QDateTime::currentDateTimeUtc()
                .addSecs(zone.secondsEast)
                .toString(u"yyyyMMdd-HHmmss"_s);
        };
        const QString before = stamp();
        const QString file = history.exportToFile(u"txt"_s);
        const QString after = stamp();
        const QString named = QFileInfo(file).baseName().section(u'-', 2);
        QVERIFY2(before <= named && named <= after, qPrintable(named));
        QCOMPARE(readFile(file), zone.line);
        const QByteArray json = readFile(history.exportToFile(u"json"_s));
        QVERIFY(json.contains("\"createdAtIso\": \"" + zone.line.mid(1, 19) + '"'));
    }
    ::tzset();
}

QTEST_GUILESS_MAIN(HistorySignalsTest)
#include "HistorySignalsTest.moc"
