#include "storage/HistoryRepository.h"
#include "storage/SettingsStore.h"
#include "support/TarqTest.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::StringLiterals;

// What the history reads from its file and writes to it.
class HistoryFileTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void missingFileGivesAnEmptyHistory();
    void scaffoldedFileGivesAnEmptyHistory();
    void unreadableFileGivesAnEmptyHistoryAndStays_data();
    void unreadableFileGivesAnEmptyHistoryAndStays();
    void directoryInThePlaceOfTheFileGivesAnEmptyHistory();
    void corruptFileIsReplacedByTheNextChange();
    void entryOfAWrongShapeIsSkippedOrRepaired_data();
    void entryOfAWrongShapeIsSkippedOrRepaired();
    void numberBeyondIntegersCountsAsZero_data();
    void numberBeyondIntegersCountsAsZero();
    void goodEntriesSurviveBadNeighbours();
    void entriesAreSortedNewestFirstAndWrittenSo();
    void entriesOfTheSameTimeAllStay();
    void blankEntryDisappearsAtTheNextChange();
    void loadDoesntWrite();
    void longHistoryIsKeptWholeUntilTheNextAdd();
    void longHistoryIsWrittenWholeAfterARemoval();
    void megabytesOfTextAreRead();
    void fileIsWrittenSortedAndIndented();
    void emptyHistoryIsWrittenAsAnEmptyList();
    void newFileIsPrivate();
    void editBehindItsBackIsOverwritten();
    void failedWriteIsSilentAndKeepsTheOldFile();
    void missingDirectoryMakesWritesSilent();

private:
    [[nodiscard]] QString path() const { return homePath(u"history.json"_s); }

    void writeHistory(const QByteArray& entries) const
    {
        writeFile(path(), "{\"entries\":[" + entries + "]}");
    }

    [[nodiscard]] QStringList textsOnDisk() const
    {
        QStringList texts;
        const QJsonObject object = QJsonDocument::fromJson(readFile(path())).object();
        for (const QJsonValue& entry : object.value("entries"_L1).toArray()) {
            texts.append(entry.toObject().value("text"_L1).toString());
        }
        return texts;
    }

    static QStringList textsOf(const HistoryRepository& history)
    {
        QStringList texts;
        for (const HistoryEntry& entry : history.list()) {
            texts.append(entry.text);
        }
        return texts;
    }

    /// Entries "1" to "count", each a millisecond younger than the one before.
    static QByteArray numberedEntries(int count)
    {
        QByteArrayList entries;
        for (int i = 1; i <= count; ++i) {
            const QByteArray number = QByteArray::number(i);
            entries.append(
                "{\"id\":" + number + ",\"text\":\"" + number + "\",\"createdAt\":" + number + '}');
        }
        return entries.join(',');
    }
};

void HistoryFileTest::missingFileGivesAnEmptyHistory()
{
    const HistoryRepository history(path());
    QCOMPARE(history.count(), 0);
    QVERIFY(!QFile::exists(path()));
}

void HistoryFileTest::scaffoldedFileGivesAnEmptyHistory()
{
    SettingsStore store;
    QVERIFY(store.ensureScaffold(nullptr));
    HistoryRepository history(store.paths().historyFile);
    QCOMPARE(history.count(), 0);
    history.add(u"hello"_s);
    QCOMPARE(HistoryRepository(configPath(u"history.json"_s)).count(), 1);
}

void HistoryFileTest::unreadableFileGivesAnEmptyHistoryAndStays_data()
{
    QTest::addColumn<QByteArray>("content");

    QTest::newRow("empty") << ""_ba;
    QTest::newRow("garbage") << "\x00\xff[{"_ba;
    QTest::newRow("truncated") << "{\"entries\":[{\"text\":\"a\"},{\"te"_ba;
    QTest::newRow("array at the top") << "[{\"text\":\"a\"}]"_ba;
    QTest::newRow("no entries") << "{}"_ba;
    QTest::newRow("entries in another case") << "{\"Entries\":[{\"text\":\"a\"}]}"_ba;
    QTest::newRow("entries are an object") << "{\"entries\":{\"text\":\"a\"}}"_ba;
    QTest::newRow("entries are null") << "{\"entries\":null}"_ba;
    QTest::newRow("entries are a string") << "{\"entries\":\"a\"}"_ba;
    QTest::newRow("nested too deep") << "{\"entries\":"_ba + QByteArray(2000000, '[');
    QTest::newRow("megabytes of garbage") << QByteArray(5000000, 'x');
}

void HistoryFileTest::unreadableFileGivesAnEmptyHistoryAndStays()
{
    QFETCH(const QByteArray, content);
    writeFile(path(), content);
    const HistoryRepository history(path());
    QCOMPARE(history.count(), 0);
    QCOMPARE(readFile(path()), content);
}

void HistoryFileTest::directoryInThePlaceOfTheFileGivesAnEmptyHistory()
{
    QVERIFY(QDir().mkpath(path()));
    HistoryRepository history(path());
    const QSignalSpy changed(&history, &HistoryRepository::historyChanged);
    history.add(u"hello"_s);
    QCOMPARE(history.count(), 1);
    QCOMPARE(changed.count(), 1);
    QVERIFY(QFileInfo(path()).isDir());
}

void HistoryFileTest::corruptFileIsReplacedByTheNextChange()
{
    writeFile(path(), "garbage"_ba);
    HistoryRepository history(path());
    history.add(u"hello"_s);
    QCOMPARE(textsOnDisk(), QStringList{u"hello"_s});
}

void HistoryFileTest::entryOfAWrongShapeIsSkippedOrRepaired_data()
{
    QTest::addColumn<QByteArray>("entry");
    QTest::addColumn<QString>("text"); // null: skipped
    QTest::addColumn<qint64>("id");
    QTest::addColumn<qint64>("createdAt");

    const auto skipped = [](const char* tag, const QByteArray& entry) {
        QTest::newRow(tag) << entry << QString() << qint64(0) << qint64(0);
    };
    skipped("null", "null"_ba);
    skipped("number", "7"_ba);
    skipped("string", "\"text\""_ba);
    skipped("list", "[{\"text\":\"a\"}]"_ba);
    skipped("empty object", "{}"_ba);
    skipped("no text", "{\"id\":1,\"createdAt\":2}"_ba);
    skipped("empty text", "{\"id\":1,\"text\":\"\",\"createdAt\":2}"_ba);
    skipped("blank text", "{\"id\":1,\"text\":\" \\n\\t\\u00a0\",\"createdAt\":2}"_ba);
    skipped("text is a number", "{\"id\":1,\"text\":7,\"createdAt\":2}"_ba);
    skipped("text is null", "{\"id\":1,\"text\":null,\"createdAt\":2}"_ba);

    const auto kept = [](const char* tag, const QByteArray& entry, qint64 id, qint64 createdAt) {
        QTest::newRow(tag) << entry << u"a"_s << id << createdAt;
    };
    kept("whole", "{\"id\":1,\"text\":\"a\",\"createdAt\":2}"_ba, 1, 2);
    kept("text to trim", "{\"id\":1,\"text\":\" a\\n\",\"createdAt\":2}"_ba, 1, 2);
    kept("more keys", "{\"id\":1,\"text\":\"a\",\"createdAt\":2,\"foo\":{}}"_ba, 1, 2);
    kept("only the text", "{\"text\":\"a\"}"_ba, 0, 0);
    kept("numbers are strings", "{\"id\":\"1\",\"text\":\"a\",\"createdAt\":\"2\"}"_ba, 0, 0);
    kept("numbers are null", "{\"id\":null,\"text\":\"a\",\"createdAt\":null}"_ba, 0, 0);
    kept("fractions", "{\"id\":1.9,\"text\":\"a\",\"createdAt\":-2.9}"_ba, 1, -2);
    kept("negative", "{\"id\":-5,\"text\":\"a\",\"createdAt\":-6}"_ba, -5, -6);
    kept("milliseconds of today", "{\"id\":1700000000123,\"text\":\"a\",\"createdAt\":17e11}"_ba,
        1700000000123, 1700000000000);
}

void HistoryFileTest::entryOfAWrongShapeIsSkippedOrRepaired()
{
    QFETCH(const QByteArray, entry);
    QFETCH(const QString, text);
    writeHistory(entry);
    const HistoryRepository history(path());
    if (text.isNull()) {
        QCOMPARE(history.count(), 0);
        return;
    }
    QCOMPARE(history.count(), 1);
    QCOMPARE(history.list().first().text, text);
    QTEST(history.list().first().id, "id");
    QTEST(history.list().first().createdAt, "createdAt");
}

void HistoryFileTest::numberBeyondIntegersCountsAsZero_data()
{
    QTest::addColumn<QByteArray>("number");
    QTest::addColumn<qint64>("read");

    QTest::newRow("huge") << "1e300"_ba << qint64(0);
    QTest::newRow("huge and negative") << "-1e300"_ba << qint64(0);
    QTest::newRow("2 to the 63rd") << "9223372036854775808"_ba << qint64(0);
    QTest::newRow("2 to the 62nd") << "4611686018427387904"_ba << qint64(4611686018427387904);
    QTest::newRow("tiny") << "1e-300"_ba << qint64(0);
}

void HistoryFileTest::numberBeyondIntegersCountsAsZero()
{
    QFETCH(const QByteArray, number);
    writeHistory("{\"id\":" + number + ",\"text\":\"a\",\"createdAt\":" + number + '}');
    HistoryRepository history(path());
    QCOMPARE(history.count(), 1);
    QTEST(history.list().first().id, "read");
    QTEST(history.list().first().createdAt, "read");

    // QML shows and removes it like any other.
    const double id = history.entriesAsVariant().first().toMap().value(u"id"_s).toDouble();
    history.removeEntry(id);
    QCOMPARE(history.count(), 0);
}

void HistoryFileTest::goodEntriesSurviveBadNeighbours()
{
    writeHistory("7,{\"text\":\"a\",\"createdAt\":3},null,{\"text\":\" \"},"
                 "{\"text\":\"b\",\"createdAt\":1e300},[],{\"text\":\"c\",\"createdAt\":2}"_ba);
    const HistoryRepository history(path());
    QCOMPARE(textsOf(history), (QStringList{u"a"_s, u"c"_s, u"b"_s}));
}

void HistoryFileTest::entriesAreSortedNewestFirstAndWrittenSo()
{
    // By their time, not by their id.
    writeHistory("{\"id\":9,\"text\":\"old\",\"createdAt\":1},"
                 "{\"id\":1,\"text\":\"new\",\"createdAt\":3},"
                 "{\"id\":5,\"text\":\"middle\",\"createdAt\":2}"_ba);
    HistoryRepository history(path());
    QCOMPARE(textsOf(history), (QStringList{u"new"_s, u"middle"_s, u"old"_s}));
    history.add(u"now"_s);
    QCOMPARE(textsOnDisk(), (QStringList{u"now"_s, u"new"_s, u"middle"_s, u"old"_s}));
}

void HistoryFileTest::entriesOfTheSameTimeAllStay()
{
    writeHistory("{\"text\":\"a\"},{\"text\":\"b\"},{\"text\":\"a\"}"_ba);
    QStringList texts = textsOf(HistoryRepository(path()));
    texts.sort();
    QCOMPARE(texts, (QStringList{u"a"_s, u"a"_s, u"b"_s}));
}

void HistoryFileTest::blankEntryDisappearsAtTheNextChange()
{
    writeHistory("{\"id\":1,\"text\":\" \",\"createdAt\":1},"
                 "{\"id\":2,\"text\":\" a \",\"createdAt\":2}"_ba);
    HistoryRepository history(path());
    QVERIFY(textsOnDisk().contains(u" "_s));
    history.add(u"b"_s);
    QCOMPARE(textsOnDisk(), (QStringList{u"b"_s, u"a"_s}));
}

void HistoryFileTest::loadDoesntWrite()
{
    writeHistory("{\"text\":\"a\",\"createdAt\":1},{\"text\":\"b\",\"createdAt\":2}"_ba);
    const QByteArray before = readFile(path());
    const HistoryRepository history(path());
    QCOMPARE(readFile(path()), before);
}

void HistoryFileTest::longHistoryIsKeptWholeUntilTheNextAdd()
{
    writeHistory(numberedEntries(150));
    HistoryRepository history(path());
    QCOMPARE(history.count(), 150);
    history.add(u"new"_s);
    QCOMPARE(history.count(), 100);
    const QStringList texts = textsOf(history);
    QCOMPARE(texts.first(), u"new"_s);
    QCOMPARE(texts.at(1), u"150"_s);
    QCOMPARE(texts.last(), u"52"_s);
    QCOMPARE(textsOnDisk(), texts);
}

void HistoryFileTest::longHistoryIsWrittenWholeAfterARemoval()
{
    writeHistory(numberedEntries(150));
    HistoryRepository history(path());
    history.removeEntry(7);
    QCOMPARE(history.count(), 149);
    QCOMPARE(textsOnDisk().size(), 149);
}

void HistoryFileTest::megabytesOfTextAreRead()
{
    const QByteArray text(5000000, 'x');
    writeHistory("{\"id\":1,\"text\":\"" + text + "\",\"createdAt\":1}," + numberedEntries(20000));
    const HistoryRepository history(path());
    QCOMPARE(history.count(), 20001);
    QVERIFY(textsOf(history).contains(QString::fromLatin1(text)));
}

void HistoryFileTest::fileIsWrittenSortedAndIndented()
{
    writeHistory("{\"text\":\"remove me\",\"id\":7},"
                 "{\"createdAt\":1700000000123,\"text\":\"hellö \\\"%1\\\"\",\"id\":-5}"_ba);
    HistoryRepository(path()).removeEntry(7);
    QCOMPARE(readFile(path()), R"({
    "entries": [
        {
            "createdAt": 1700000000123,
            "id": -5,
            "text": "hellö \"%1\""
        }
    ]
}
)"_ba);
}

void HistoryFileTest::emptyHistoryIsWrittenAsAnEmptyList()
{
    HistoryRepository history(path());
    history.add(u"a"_s);
    history.clearAll();
    QCOMPARE(readFile(path()), "{\n    \"entries\": [\n    ]\n}\n"_ba);
}

void HistoryFileTest::newFileIsPrivate()
{
    HistoryRepository history(path());
    history.add(u"a"_s);
    QCOMPARE(modeOf(path()), 0600U);
}

void HistoryFileTest::editBehindItsBackIsOverwritten()
{
    HistoryRepository history(path());
    history.add(u"a"_s);
    writeHistory("{\"text\":\"edited\"}"_ba);
    QCOMPARE(textsOf(history), QStringList{u"a"_s});
    history.add(u"b"_s);
    QCOMPARE(textsOnDisk(), (QStringList{u"b"_s, u"a"_s}));
}

void HistoryFileTest::failedWriteIsSilentAndKeepsTheOldFile()
{
    HistoryRepository history(path());
    history.add(u"a"_s);
    const QByteArray before = readFile(path());
    const QSignalSpy changed(&history, &HistoryRepository::historyChanged);
    {
        const FileSizeLimit limit(50);
        history.add(u"b"_s);
        history.add(QString(100000, u'x'));
    }
    QCOMPARE(history.count(), 3);
    QCOMPARE(changed.count(), 2);
    QCOMPARE(readFile(path()), before);
    QCOMPARE(
        QDir(homePath()).entryList(QDir::Files | QDir::Hidden), QStringList{u"history.json"_s});
    // The next write that succeeds brings everything.
    history.add(u"c"_s);
    QCOMPARE(textsOnDisk().size(), 4);
}

void HistoryFileTest::missingDirectoryMakesWritesSilent()
{
    HistoryRepository history(homePath(u"missing/history.json"_s));
    const QSignalSpy changed(&history, &HistoryRepository::historyChanged);
    history.add(u"a"_s);
    history.clearAll();
    QCOMPARE(changed.count(), 2);
    QVERIFY(!QFile::exists(homePath(u"missing"_s)));
}

QTEST_GUILESS_MAIN(HistoryFileTest)
#include "HistoryFileTest.moc"
