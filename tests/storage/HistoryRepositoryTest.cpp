#include "storage/HistoryRepository.h"
#include "support/TarqTest.h"

#include <QClipboard>
#include <QDateTime>
#include <QGuiApplication>
#include <QMetaMethod>
#include <QMetaProperty>

#include <limits>

using namespace Qt::StringLiterals;

class HistoryRepositoryTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void newEntryComesFirstAndIsSignalledOnce();
    void textIsTrimmed();
    void idAndTimeAreTheMomentOfAdding();
    void blankTextChangesNothing_data();
    void blankTextChangesNothing();
    void sameTextTwiceMakesTwoEntries();
    void hundredAndFirstEntryDropsTheOldest();
    void fileIsWrittenBeforeTheSignal();
    void removalTakesEveryEntryOfTheId();
    void removalTruncatesTheId();
    void unknownIdRemovesNothing_data();
    void unknownIdRemovesNothing();
    void clearingEmptiesTheHistoryOnce();
    void clearingAnEmptyHistoryIsSilent();
    void mapsHoldDoublesForQml();
    void searchFindsAnywhereInAnyCase_data();
    void searchFindsAnywhereInAnyCase();
    void searchGivesTheMapsInListOrder();
    void searchSeesEveryChange();
    void copyGoesToTheClipboardAsItIs();
    void qmlSeesTwoPropertiesAndFiveOperations();

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

void HistoryRepositoryTest::newEntryComesFirstAndIsSignalledOnce()
{
    HistoryRepository history(path());
    const QSignalSpy changed(&history, &HistoryRepository::historyChanged);
    history.add(u"first"_s);
    QCOMPARE(changed.count(), 1);
    history.add(u"second"_s);
    QCOMPARE(changed.count(), 2);
    QCOMPARE(history.count(), 2);
    QCOMPARE(textsOf(history.entriesAsVariant()), (QStringList{u"second"_s, u"first"_s}));
}

void HistoryRepositoryTest::textIsTrimmed()
{
    HistoryRepository history(path());
    history.add(u" \n hello  world\t\n"_s);
    QCOMPARE(history.list().first().text, u"hello  world"_s);
}

void HistoryRepositoryTest::idAndTimeAreTheMomentOfAdding()
{
    HistoryRepository history(path());
    const qint64 before = QDateTime::currentMSecsSinceEpoch();
    history.add(u"a"_s);
    const qint64 after = QDateTime::currentMSecsSinceEpoch();
    const HistoryEntry entry = history.list().first();
    QVERIFY(before <= entry.id && entry.id <= after);
    QCOMPARE(entry.createdAt, entry.id);
}

void HistoryRepositoryTest::blankTextChangesNothing_data()
{
    QTest::addColumn<QString>("text");

    QTest::newRow("null") << QString();
    QTest::newRow("blanks") << u"   "_s;
    QTest::newRow("line feeds and tabs") << u"\n\t\r\n"_s;
    QTest::newRow("no-break space") << u"\u00a0"_s;
}

void HistoryRepositoryTest::blankTextChangesNothing()
{
    QFETCH(const QString, text);
    HistoryRepository history(path());
    const QSignalSpy changed(&history, &HistoryRepository::historyChanged);
    history.add(text);
    QCOMPARE(history.count(), 0);
    QCOMPARE(changed.count(), 0);
    QVERIFY(!QFile::exists(path()));
}

void HistoryRepositoryTest::sameTextTwiceMakesTwoEntries()
{
    HistoryRepository history(path());
    history.add(u"a"_s);
    history.add(u"a"_s);
    QCOMPARE(history.count(), 2);
}

void HistoryRepositoryTest::hundredAndFirstEntryDropsTheOldest()
{
    HistoryRepository history(path());
    for (int i = 1; i <= 100; ++i) {
        history.add(QString::number(i));
    }
    QCOMPARE(history.count(), 100);
    const QSignalSpy changed(&history, &HistoryRepository::historyChanged);
    history.add(u"101"_s);
    QCOMPARE(changed.count(), 1);
    QCOMPARE(history.count(), 100);
    QCOMPARE(history.list().first().text, u"101"_s);
    QCOMPARE(history.list().last().text, u"2"_s);
    QCOMPARE(HistoryRepository(path()).count(), 100);
}

void HistoryRepositoryTest::fileIsWrittenBeforeTheSignal()
{
    HistoryRepository history(path());
    QList<int> countsOnDisk;
    connect(&history, &HistoryRepository::historyChanged, this,
        [&]() { countsOnDisk.append(HistoryRepository(path()).count()); });
    history.add(u"a"_s);
    history.add(u"b"_s);
    history.removeEntry(static_cast<double>(history.list().last().id));
    history.clearAll();
    // Both entries may have been made in the same millisecond, and then they go together.
    QCOMPARE(countsOnDisk.first(2), (QList<int>{1, 2}));
    QCOMPARE(countsOnDisk.last(), 0);
}

void HistoryRepositoryTest::removalTakesEveryEntryOfTheId()
{
    writeFile(path(),
        R"({"entries":[{"id":1,"text":"a","createdAt":5},{"id":2,"text":"b","createdAt":4},
        {"id":1,"text":"c","createdAt":3},{"id":3,"text":"d","createdAt":2}]})"_ba);
    HistoryRepository history(path());
    const QSignalSpy changed(&history, &HistoryRepository::historyChanged);
    history.removeEntry(1);
    QCOMPARE(changed.count(), 1);
    QCOMPARE(textsOf(history.entriesAsVariant()), (QStringList{u"b"_s, u"d"_s}));
    QCOMPARE(textsOf(HistoryRepository(path()).entriesAsVariant()), (QStringList{u"b"_s, u"d"_s}));
}

void HistoryRepositoryTest::removalTruncatesTheId()
{
    writeFile(path(),
        R"({"entries":[{"id":1700000000123,"text":"a"},{"id":1700000000124,"text":"b"}]})"_ba);
    HistoryRepository history(path());
    history.removeEntry(1700000000123.9);
    QCOMPARE(textsOf(history.entriesAsVariant()), QStringList{u"b"_s});
}

void HistoryRepositoryTest::unknownIdRemovesNothing_data()
{
    QTest::addColumn<double>("id");

    QTest::newRow("unknown") << 6.0;
    QTest::newRow("just below") << 4.99;
    QTest::newRow("negative") << -5.0;
    QTest::newRow("huge") << 1e300;
    QTest::newRow("huge and negative") << -1e300;
    QTest::newRow("infinite") << std::numeric_limits<double>::infinity();
    QTest::newRow("not a number") << std::numeric_limits<double>::quiet_NaN();
}

void HistoryRepositoryTest::unknownIdRemovesNothing()
{
    QFETCH(const double, id);
    const QByteArray before = R"({"entries":[{"id":5,"text":"a","createdAt":5}]})"_ba;
    writeFile(path(), before);
    HistoryRepository history(path());
    const QSignalSpy changed(&history, &HistoryRepository::historyChanged);
    history.removeEntry(id);
    QCOMPARE(history.count(), 1);
    QCOMPARE(changed.count(), 0);
    QCOMPARE(readFile(path()), before);
}

void HistoryRepositoryTest::clearingEmptiesTheHistoryOnce()
{
    HistoryRepository history(path());
    history.add(u"a"_s);
    history.add(u"b"_s);
    const QSignalSpy changed(&history, &HistoryRepository::historyChanged);
    history.clearAll();
    QCOMPARE(changed.count(), 1);
    QCOMPARE(history.count(), 0);
    QCOMPARE(HistoryRepository(path()).count(), 0);
}

void HistoryRepositoryTest::clearingAnEmptyHistoryIsSilent()
{
    HistoryRepository history(path());
    const QSignalSpy changed(&history, &HistoryRepository::historyChanged);
    history.clearAll();
    QCOMPARE(changed.count(), 0);
    QVERIFY(!QFile::exists(path()));
}

void HistoryRepositoryTest::mapsHoldDoublesForQml()
{
    writeFile(
        path(), R"({"entries":[{"id":1700000000123,"text":"a","createdAt":1700000000456}]})"_ba);
    const HistoryRepository history(path());
    const QVariantMap entry = history.entriesAsVariant().first().toMap();
    QCOMPARE(entry.keys(), (QStringList{u"createdAt"_s, u"id"_s, u"text"_s}));
    QCOMPARE(entry.value(u"id"_s).typeId(), QMetaType::Double);
    QCOMPARE(entry.value(u"id"_s).toDouble(), 1700000000123.0);
    QCOMPARE(entry.value(u"createdAt"_s).typeId(), QMetaType::Double);
    QCOMPARE(entry.value(u"createdAt"_s).toDouble(), 1700000000456.0);
    QCOMPARE(entry.value(u"text"_s), QVariant(u"a"_s));
}

void HistoryRepositoryTest::searchFindsAnywhereInAnyCase_data()
{
    QTest::addColumn<QString>("needle");
    QTest::addColumn<QStringList>("found");

    const QString brown = u"The Quick BROWN fox"_s;
    const QString umlaut = u"grüße aus köln"_s;
    const QString pattern = u"a.*b %1"_s;
    QTest::newRow("mixed case") << u"qUiCk"_s << QStringList{brown};
    QTest::newRow("blanks around") << u"  brown \n"_s << QStringList{brown};
    QTest::newRow("blank within") << u"quick brown"_s << QStringList{brown};
    QTest::newRow("part of a word") << u"row"_s << QStringList{brown};
    QTest::newRow("umlauts") << u"GRÜ"_s << QStringList{umlaut};
    QTest::newRow("in two entries") << u"a"_s << QStringList{pattern, umlaut};
    QTest::newRow("no pattern") << u".*"_s << QStringList{pattern};
    QTest::newRow("percent sign") << u"%1"_s << QStringList{pattern};
    QTest::newRow("words apart") << u"the fox"_s << QStringList();
    QTest::newRow("nowhere") << u"zebra"_s << QStringList();
    QTest::newRow("blanks only") << u" \t\n"_s << QStringList{pattern, umlaut, brown};
    QTest::newRow("empty") << u""_s << QStringList{pattern, umlaut, brown};
}

void HistoryRepositoryTest::searchFindsAnywhereInAnyCase()
{
    QFETCH(const QString, needle);
    HistoryRepository history(path());
    history.add(u"The Quick BROWN fox"_s);
    history.add(u"grüße aus köln"_s);
    history.add(u"a.*b %1"_s);
    QTEST(textsOf(history.searchEntries(needle)), "found");
    QCOMPARE(history.count(), 3);
}

void HistoryRepositoryTest::searchSeesEveryChange()
{
    HistoryRepository history(path());
    history.add(u"One"_s);
    QCOMPARE(textsOf(history.searchEntries(u"o"_s)), QStringList{u"One"_s});
    history.add(u"Two"_s);
    QCOMPARE(textsOf(history.searchEntries(u"o"_s)), (QStringList{u"Two"_s, u"One"_s}));
    history.clearAll();
    QCOMPARE(textsOf(history.searchEntries(u"o"_s)), QStringList());
    history.add(u"Three"_s);
    QCOMPARE(textsOf(history.searchEntries(u"o"_s)), QStringList());
    QCOMPARE(textsOf(history.searchEntries(u"E"_s)), QStringList{u"Three"_s});
    history.removeEntry(static_cast<double>(history.list().constFirst().id));
    QCOMPARE(textsOf(history.searchEntries(u"e"_s)), QStringList());
}

void HistoryRepositoryTest::searchGivesTheMapsInListOrder()
{
    HistoryRepository history(path());
    history.add(u"one"_s);
    history.add(u"two"_s);
    history.add(u"three o"_s);
    QCOMPARE(history.searchEntries(u"O"_s), history.entriesAsVariant());
}

void HistoryRepositoryTest::copyGoesToTheClipboardAsItIs()
{
    HistoryRepository history(path());
    const QSignalSpy changed(&history, &HistoryRepository::historyChanged);
    history.copyToClipboard(u" not in the list \n"_s);
    QCOMPARE(QGuiApplication::clipboard()->text(QClipboard::Clipboard), u" not in the list \n"_s);
    QCOMPARE(history.count(), 0);
    QCOMPARE(changed.count(), 0);
}

void HistoryRepositoryTest::qmlSeesTwoPropertiesAndFiveOperations()
{
    const QMetaObject& meta = HistoryRepository::staticMetaObject;
    QByteArrayList properties;
    for (int i = meta.propertyOffset(); i < meta.propertyCount(); ++i) {
        properties.append(meta.property(i).name());
        QVERIFY(!meta.property(i).isWritable());
        QCOMPARE(meta.property(i).notifySignal().name(), "historyChanged"_ba);
    }
    QCOMPARE(properties, (QByteArrayList{"entries", "count"}));

    QByteArrayList operations;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        if (meta.method(i).methodType() == QMetaMethod::Method) {
            operations.append(meta.method(i).methodSignature());
        }
    }
    QCOMPARE(operations,
        (QByteArrayList{"removeEntry(double)", "clearAll()", "copyToClipboard(QString)",
            "searchEntries(QString)", "exportToFile(QString)"}));
}

QTEST_MAIN(HistoryRepositoryTest)
#include "HistoryRepositoryTest.moc"
