#include "storage/JsonFile.h"
#include "storage/FailingChmod.h"
#include "support/TarqTest.h"

#include <QDir>
#include <QJsonObject>

using namespace Qt::StringLiterals;

class JsonFileTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void writesTheBytesAsTheyAre();
    void newFileIsPrivate();
    void fileOpenToOthersBecomesPrivate();
    void replacesALongerFileWhole();
    void directoryInThePlaceOfTheFileCantBeOpened();
    void missingDirectoryCantBeOpened();
    void fullDiskFailsTheWriteOfALargeFile();
    void fullDiskFailsTheEndOfASmallFile();
    void refusedPermissionsAreAFailureAfterTheWrite();
    void failureWithoutAPlaceForTheMessageIsOnlyFalse();
    void onlyAnObjectIsValid_data();
    void onlyAnObjectIsValid();
    void missingFileIsInvalid();
    void directoryIsInvalid();
    void missingFileReadsAsNothing();
    void fileWithoutAnObjectReadsAsAnEmptyObject();

private:
    [[nodiscard]] QStringList filesInHome() const
    {
        return QDir(homePath()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }
};

void JsonFileTest::writesTheBytesAsTheyAre()
{
    const QByteArray content = "no JSON at all\0\xff\r\n"_ba;
    QString error = u"untouched"_s;
    QVERIFY(writeJsonFile(homePath(u"a.json"_s), content, &error));
    QCOMPARE(readFile(homePath(u"a.json"_s)), content);
    QCOMPARE(error, u"untouched"_s);
    QCOMPARE(filesInHome(), QStringList{u"a.json"_s});
}

void JsonFileTest::newFileIsPrivate()
{
    QVERIFY(writeJsonFile(homePath(u"a.json"_s), "{}"_ba, nullptr));
    QCOMPARE(modeOf(homePath(u"a.json"_s)), 0600U);
}

void JsonFileTest::fileOpenToOthersBecomesPrivate()
{
    const QString path = homePath(u"a.json"_s);
    writeFile(path, "{}"_ba);
    QVERIFY(QFile::setPermissions(path, QFile::Permissions(0x6666)));
    QVERIFY(writeJsonFile(path, "{}"_ba, nullptr));
    QCOMPARE(modeOf(path), 0600U);
}

void JsonFileTest::replacesALongerFileWhole()
{
    const QString path = homePath(u"a.json"_s);
    writeFile(path, QByteArray(100000, 'x'));
    QVERIFY(writeJsonFile(path, "{}"_ba, nullptr));
    QCOMPARE(readFile(path), "{}"_ba);
}

void JsonFileTest::directoryInThePlaceOfTheFileCantBeOpened()
{
    const QString path = homePath(u"a.json"_s);
    QVERIFY(QDir().mkpath(path));
    QString error;
    QVERIFY(!writeJsonFile(path, "{}"_ba, &error));
    QCOMPARE(error, "Failed to open file: "_L1 + path);
    QCOMPARE(filesInHome(), QStringList{u"a.json"_s});
}

void JsonFileTest::missingDirectoryCantBeOpened()
{
    const QString path = homePath(u"missing/a.json"_s);
    QString error;
    QVERIFY(!writeJsonFile(path, "{}"_ba, &error));
    QCOMPARE(error, "Failed to open file: "_L1 + path);
}

void JsonFileTest::fullDiskFailsTheWriteOfALargeFile()
{
    const QString path = homePath(u"a.json"_s);
    writeFile(path, "old"_ba);
    const QByteArray content(1000000, 'x');
    QString error;
    bool written = true;
    {
        const FileSizeLimit limit(5000);
        written = writeJsonFile(path, content, &error);
    }
    QVERIFY(!written);
    QCOMPARE(error, "Failed to write file: "_L1 + path);
    QCOMPARE(readFile(path), "old"_ba);
    QCOMPARE(filesInHome(), QStringList{u"a.json"_s});
}

void JsonFileTest::fullDiskFailsTheEndOfASmallFile()
{
    // Small enough to wait in a buffer until the file is finished.
    const QString path = homePath(u"a.json"_s);
    writeFile(path, "old"_ba);
    QString error;
    bool written = true;
    {
        const FileSizeLimit limit(3);
        written = writeJsonFile(path, "{ }\n\n\n"_ba, &error);
    }
    QVERIFY(!written);
    QCOMPARE(error, "Failed to finalize file: "_L1 + path);
    QCOMPARE(readFile(path), "old"_ba);
    QCOMPARE(filesInHome(), QStringList{u"a.json"_s});
}

void JsonFileTest::refusedPermissionsAreAFailureAfterTheWrite()
{
    const QString path = homePath(u"a.json"_s);
    const FailingChmod refused(path);
    QString error;
    QVERIFY(!writeJsonFile(path, "{}"_ba, &error));
    QCOMPARE(error, "Failed to set file permissions: "_L1 + path);
    QCOMPARE(readFile(path), "{}"_ba);
}

void JsonFileTest::failureWithoutAPlaceForTheMessageIsOnlyFalse()
{
    QVERIFY(!writeJsonFile(homePath(u"missing/a.json"_s), "{}"_ba, nullptr));
}

void JsonFileTest::onlyAnObjectIsValid_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<bool>("valid");

    QTest::newRow("empty object") << "{}"_ba << true;
    QTest::newRow("white space around") << " \n{ } \n"_ba << true;
    QTest::newRow("nested a thousand deep")
        << "{\"a\":"_ba + QByteArray(1000, '[') + QByteArray(1000, ']') + '}' << true;
    QTest::newRow("some megabytes") << "{\"a\":\""_ba + QByteArray(4000000, 'x') + "\"}" << true;
    QTest::newRow("empty file") << QByteArray() << false;
    QTest::newRow("white space") << " \n"_ba << false;
    QTest::newRow("array") << "[]"_ba << false;
    QTest::newRow("string") << "\"{}\""_ba << false;
    QTest::newRow("null") << "null"_ba << false;
    QTest::newRow("garbage") << "\x01\x02 garbage"_ba << false;
    QTest::newRow("zeros") << QByteArray(255, '\0') << false;
    QTest::newRow("truncated") << "{\"a\": tr"_ba << false;
    QTest::newRow("object and more") << "{}{}"_ba << false;
    QTest::newRow("comma at the end") << "{\"a\":1,}"_ba << false;
    QTest::newRow("broken UTF-8") << "{\"a\":\"\xff\xfe\"}"_ba << false;
    QTest::newRow("nested too deep")
        << "{\"a\":"_ba + QByteArray(100000, '[') + QByteArray(100000, ']') + '}' << false;
    QTest::newRow("megabytes of opening braces") << QByteArray(4000000, '{') << false;
    QTest::newRow("a number beyond every range") << "{\"a\":1e999}"_ba << false;
}

void JsonFileTest::onlyAnObjectIsValid()
{
    QFETCH(const QByteArray, content);
    const QString path = homePath(u"a.json"_s);
    writeFile(path, content);
    QTEST(isJsonObjectFileValid(path), "valid");
}

void JsonFileTest::missingFileIsInvalid()
{
    QVERIFY(!isJsonObjectFileValid(homePath(u"a.json"_s)));
}

void JsonFileTest::directoryIsInvalid()
{
    QVERIFY(!isJsonObjectFileValid(homePath()));
}

void JsonFileTest::missingFileReadsAsNothing()
{
    QVERIFY(!readJsonObject(homePath(u"a.json"_s)).has_value());
    QVERIFY(!readJsonObject(homePath()).has_value());
}

void JsonFileTest::fileWithoutAnObjectReadsAsAnEmptyObject()
{
    const QString path = homePath(u"a.json"_s);
    for (const QByteArray& content : {"[1]"_ba, "garbage"_ba, ""_ba}) {
        writeFile(path, content);
        const std::optional<QJsonObject> object = readJsonObject(path);
        QVERIFY(object.has_value());
        QVERIFY(object->isEmpty());
    }
}

QTEST_GUILESS_MAIN(JsonFileTest)
#include "JsonFileTest.moc"
