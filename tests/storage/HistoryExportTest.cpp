#include "storage/HistoryRepository.h"
#include "support/TarqTest.h"

#include <QDateTime>
#include <QDir>
#include <QRegularExpression>

#include <ctime>

using namespace Qt::StringLiterals;

class HistoryExportTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void wordSelectsTheForm_data();
    void wordSelectsTheForm();
    void nameHoldsTheLocalTime();
    void textFormByteForByte();
    void jsonFormByteForByte();
    void timeOfTheExportIsUtc();
    void downloadDirectoryIsTheUsers();
    void emptyHistoryMakesNeitherFileNorDirectory();
    void exportInTheSameSecondReplacesTheFirst();
    void fileInThePlaceOfTheDirectoryFails();
    void fullDiskFailsAndLeavesNoFile_data();
    void fullDiskFailsAndLeavesNoFile();
    void exportChangesNothing();

private:
    [[nodiscard]] QString path() const { return homePath(u"history.json"_s); }
    [[nodiscard]] QString downloads() const { return homePath(u"Downloads"_s); }

    // One entry in winter and one in summer: local time differs by an hour.
    void writeSample() const
    {
        writeFile(path(),
            R"({"entries":[{"id":2,"text":"grüße %1 %2 100%","createdAt":1720000000500},
            {"id":1,"text":"two\nlines","createdAt":1700000000123}]})"_ba);
    }

    std::unique_ptr<ScopedVariable> m_timeZone;
    std::unique_ptr<ScopedVariable> m_configHome;
};

void HistoryExportTest::init()
{
    TarqTest::init();
    m_timeZone = std::make_unique<ScopedVariable>("TZ", "CET-1CEST,M3.5.0,M10.5.0/3"_ba);
    m_configHome = std::make_unique<ScopedVariable>("XDG_CONFIG_HOME");
    ::tzset();
}

void HistoryExportTest::cleanup()
{
    m_configHome.reset();
    m_timeZone.reset();
    ::tzset();
    TarqTest::cleanup();
}

void HistoryExportTest::wordSelectsTheForm_data()
{
    QTest::addColumn<QString>("format");
    QTest::addColumn<bool>("json");

    QTest::newRow("json") << u"json"_s << true;
    QTest::newRow("json in capitals") << u"JSON"_s << true;
    QTest::newRow("json in mixed case") << u"jSoN"_s << true;
    QTest::newRow("txt") << u"txt"_s << false;
    QTest::newRow("another word") << u"pdf"_s << false;
    QTest::newRow("json with a blank") << u"json "_s << false;
    QTest::newRow("nothing") << QString() << false;
    QTest::newRow("a path") << u"../../json"_s << false;
}

void HistoryExportTest::wordSelectsTheForm()
{
    QFETCH(const QString, format);
    QFETCH(const bool, json);
    writeSample();
    const QString file = HistoryRepository(path()).exportToFile(format);
    QVERIFY(file.endsWith(json ? u".json"_s : u".txt"_s));
    QVERIFY(readFile(file).startsWith(json ? '{' : '['));
    QCOMPARE(QFileInfo(file).path(), downloads());
    QCOMPARE(QDir(downloads()).entryList(QDir::Files | QDir::Hidden),
        QStringList{QFileInfo(file).fileName()});
}

void HistoryExportTest::nameHoldsTheLocalTime()
{
    writeSample();
    const QString format = u"yyyyMMdd-HHmmss"_s;
    const QString before = QDateTime::currentDateTime().toString(format);
    const QString file = HistoryRepository(path()).exportToFile(u"txt"_s);
    const QString after = QDateTime::currentDateTime().toString(format);

    static const QRegularExpression form(u"^tarq-history-(\\d{8}-\\d{6})\\.txt$"_s);
    const QRegularExpressionMatch match = form.match(QFileInfo(file).fileName());
    QVERIFY(match.hasMatch());
    QVERIFY(before <= match.captured(1) && match.captured(1) <= after);
}

void HistoryExportTest::textFormByteForByte()
{
    writeSample();
    const QString file = HistoryRepository(path()).exportToFile(u"txt"_s);
    QCOMPARE(readFile(file),
        "[2024-07-03T11:46:40] grüße %1 %2 100%\n\n"
        "[2023-11-14T23:13:20] two\nlines\n\n"_ba);
}

void HistoryExportTest::jsonFormByteForByte()
{
    writeSample();
    QByteArray content = readFile(HistoryRepository(path()).exportToFile(u"json"_s));
    const qsizetype time = content.indexOf("\"exported_at\": \"") + 16;
    content.replace(time, 20, "NOW");
    QCOMPARE(content, R"({
    "count": 2,
    "entries": [
        {
            "createdAt": 1720000000500,
            "createdAtIso": "2024-07-03T11:46:40",
            "id": 2,
            "text": "grüße %1 %2 100%"
        },
        {
            "createdAt": 1700000000123,
            "createdAtIso": "2023-11-14T23:13:20",
            "id": 1,
            "text": "two\nlines"
        }
    ],
    "exported_at": "NOW"
}
)"_ba);
}

void HistoryExportTest::timeOfTheExportIsUtc()
{
    writeSample();
    const QString before = QDateTime::currentDateTimeUtc().toString(Qt::ISODate);
    const QByteArray content = readFile(HistoryRepository(path()).exportToFile(u"json"_s));
    const QString after = QDateTime::currentDateTimeUtc().toString(Qt::ISODate);

    static const QRegularExpression form(
        u"\"exported_at\": \"(\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\dZ)\""_s);
    const QRegularExpressionMatch match = form.match(QString::fromUtf8(content));
    QVERIFY(match.hasMatch());
    QVERIFY(before <= match.captured(1) && match.captured(1) <= after);
}

void HistoryExportTest::downloadDirectoryIsTheUsers()
{
    writeFile(
        homePath(u".config/user-dirs.dirs"_s), "XDG_DOWNLOAD_DIR=\"$HOME/Herunter/geladen\"\n"_ba);
    writeSample();
    const QString file = HistoryRepository(path()).exportToFile(u"txt"_s);
    QCOMPARE(QFileInfo(file).path(), homePath(u"Herunter/geladen"_s));
    QVERIFY(QFile::exists(file));
}

void HistoryExportTest::emptyHistoryMakesNeitherFileNorDirectory()
{
    QCOMPARE(HistoryRepository(path()).exportToFile(u"json"_s), QString());
    QVERIFY(!QFile::exists(downloads()));
}

void HistoryExportTest::exportInTheSameSecondReplacesTheFirst()
{
    HistoryRepository history(path());
    history.add(QString(1000, u'x'));
    const auto exportedTwice = [&]() {
        const QString first = history.exportToFile(u"txt"_s);
        history.clearAll();
        history.add(u"short"_s);
        return history.exportToFile(u"txt"_s) == first;
    };
    // Unless the second ended just in between.
    QVERIFY(exportedTwice() || exportedTwice());
    const QStringList files = QDir(downloads()).entryList(QDir::Files | QDir::Hidden, QDir::Name);
    QVERIFY(readFile(QDir(downloads()).filePath(files.last())).endsWith("] short\n\n"));
}

void HistoryExportTest::fileInThePlaceOfTheDirectoryFails()
{
    writeFile(downloads(), "a file"_ba);
    writeSample();
    QCOMPARE(HistoryRepository(path()).exportToFile(u"txt"_s), QString());
    QCOMPARE(readFile(downloads()), "a file"_ba);
}

void HistoryExportTest::fullDiskFailsAndLeavesNoFile_data()
{
    QTest::addColumn<int>("length");

    QTest::newRow("short") << 100;
    QTest::newRow("longer than a buffer") << 100000;
}

void HistoryExportTest::fullDiskFailsAndLeavesNoFile()
{
    QFETCH(const int, length);
    HistoryRepository history(path());
    history.add(QString(length, u'x'));
    QString file = u"untouched"_s;
    {
        const FileSizeLimit limit(50);
        file = history.exportToFile(u"txt"_s);
    }
    QCOMPARE(file, QString());
    QVERIFY(QDir(downloads()).isEmpty(QDir::Files | QDir::Hidden));
}

void HistoryExportTest::exportChangesNothing()
{
    writeSample();
    const QByteArray before = readFile(path());
    HistoryRepository history(path());
    const QSignalSpy changed(&history, &HistoryRepository::historyChanged);
    QVERIFY(!history.exportToFile(u"txt"_s).isEmpty());
    QCOMPARE(changed.count(), 0);
    QCOMPARE(history.count(), 2);
    QCOMPARE(readFile(path()), before);
}

QTEST_GUILESS_MAIN(HistoryExportTest)
#include "HistoryExportTest.moc"
