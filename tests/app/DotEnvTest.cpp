#include "app/DotEnv.h"
#include "support/TarqTest.h"

#include <QRandomGenerator>

using namespace Qt::StringLiterals;

class DotEnvTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void lines_data();
    void lines();
    void realEnvironmentWins();
    void emptyRealVariableIsFilled();
    void firstFileWins();
    void firstNonEmptyOccurrenceWins();
    void emptyValueCanBeFilledByALaterFile();
    void missingFileIsTheOrdinaryCase();
    void garbageChangesNothing();
    void lastLineNeedsNoLineFeed();
    void hugeFileIsRead();
    void valueOfAKeyIsToldBeforeItIsLoaded();

private:
    void load(const QByteArray& content, const QString& name = u".env"_s)
    {
        writeFile(homePath(name), content);
        loadDotEnv(homePath(name));
    }
};

void DotEnvTest::init()
{
    TarqTest::init();
    qunsetenv("TARQ_TEST_KEY");
    qunsetenv("TARQ_TEST_OTHER");
}

void DotEnvTest::cleanup()
{
    qunsetenv("TARQ_TEST_KEY");
    qunsetenv("TARQ_TEST_OTHER");
    TarqTest::cleanup();
}

void DotEnvTest::lines_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<bool>("set");
    QTest::addColumn<QByteArray>("value");
    QTest::newRow("plain") << "TARQ_TEST_KEY=v\n"_ba << true << "v"_ba;
    QTest::newRow("quotes belong to the value")
        << "TARQ_TEST_KEY=\"a b\"\n"_ba << true << "\"a b\""_ba;
    QTest::newRow("white space, another = and # in the value")
        << "  TARQ_TEST_KEY = v=1 # x  \n"_ba << true << "v=1 # x"_ba;
    QTest::newRow("padding of base64") << "TARQ_TEST_KEY=YWI=\n"_ba << true << "YWI="_ba;
    QTest::newRow("carriage return") << "TARQ_TEST_KEY=v\r\n"_ba << true << "v"_ba;
    QTest::newRow("beyond ASCII") << "TARQ_TEST_KEY=grün\n"_ba << true << "grün"_ba;
    QTest::newRow("variables aren't expanded")
        << "TARQ_TEST_KEY=$HOME\\n\n"_ba << true << "$HOME\\n"_ba;
    QTest::newRow("empty value") << "TARQ_TEST_KEY=\n"_ba << true << ""_ba;
    QTest::newRow("comment") << "#TARQ_TEST_KEY=v\n"_ba << false << ""_ba;
    QTest::newRow("indented comment") << "  # TARQ_TEST_KEY=v\n"_ba << false << ""_ba;
    QTest::newRow("no equals sign") << "TARQ_TEST_KEY\nNOEQUALS\n"_ba << false << ""_ba;
    QTest::newRow("no key") << "=x\n = x\n"_ba << false << ""_ba;
    QTest::newRow("export is part of the key") << "export TARQ_TEST_KEY=v\n"_ba << false << ""_ba;
    QTest::newRow("zero in the key") << "TARQ_TEST_KEY\0X=v\n"_ba << false << ""_ba;
    QTest::newRow("zero in the value") << "TARQ_TEST_KEY=v\0w\n"_ba << false << ""_ba;
    QTest::newRow("behind malformed lines")
        << "=x\nNOEQUALS\n\n\t\nTARQ_TEST_KEY=v\n"_ba << true << "v"_ba;
}

void DotEnvTest::lines()
{
    QFETCH(QByteArray, content);
    QFETCH(bool, set);
    QFETCH(QByteArray, value);
    load(content);
    QCOMPARE(qEnvironmentVariableIsSet("TARQ_TEST_KEY"), set);
    QCOMPARE(qgetenv("TARQ_TEST_KEY"), value);
}

void DotEnvTest::realEnvironmentWins()
{
    qputenv("TARQ_TEST_KEY", "real");
    load("TARQ_TEST_KEY=file\n"_ba);
    QCOMPARE(qgetenv("TARQ_TEST_KEY"), "real"_ba);
}

void DotEnvTest::emptyRealVariableIsFilled()
{
    qputenv("TARQ_TEST_KEY", "");
    load("TARQ_TEST_KEY=file\n"_ba);
    QCOMPARE(qgetenv("TARQ_TEST_KEY"), "file"_ba);
}

void DotEnvTest::firstFileWins()
{
    load("TARQ_TEST_KEY=first\n"_ba, u"first.env"_s);
    load("TARQ_TEST_KEY=second\nTARQ_TEST_OTHER=o\n"_ba, u"second.env"_s);
    QCOMPARE(qgetenv("TARQ_TEST_KEY"), "first"_ba);
    QCOMPARE(qgetenv("TARQ_TEST_OTHER"), "o"_ba);
}

void DotEnvTest::firstNonEmptyOccurrenceWins()
{
    load("TARQ_TEST_KEY=\nTARQ_TEST_KEY=one\nTARQ_TEST_KEY=two\n"_ba);
    QCOMPARE(qgetenv("TARQ_TEST_KEY"), "one"_ba);
}

void DotEnvTest::emptyValueCanBeFilledByALaterFile()
{
    load("TARQ_TEST_KEY=\n"_ba, u"first.env"_s);
    QVERIFY(qEnvironmentVariableIsSet("TARQ_TEST_KEY"));
    load("TARQ_TEST_KEY=second\n"_ba, u"second.env"_s);
    QCOMPARE(qgetenv("TARQ_TEST_KEY"), "second"_ba);
}

void DotEnvTest::missingFileIsTheOrdinaryCase()
{
    loadDotEnv(homePath(u"none.env"_s));
    // A directory can be opened by nobody either.
    loadDotEnv(homePath());
    QVERIFY(!qEnvironmentVariableIsSet("TARQ_TEST_KEY"));
}

void DotEnvTest::garbageChangesNothing()
{
    QRandomGenerator random(7);
    QByteArray bytes(65536, '\0');
    for (char& byte : bytes) {
        byte = static_cast<char>(random.bounded(256));
    }
    // A random key must not hit a variable that the process lives by.
    bytes.replace('=', '.');
    load(bytes + "\nTARQ_TEST_KEY=v\n");
    QCOMPARE(qgetenv("TARQ_TEST_KEY"), "v"_ba);
}

void DotEnvTest::lastLineNeedsNoLineFeed()
{
    load("TARQ_TEST_OTHER=o\nTARQ_TEST_KEY=v"_ba);
    QCOMPARE(qgetenv("TARQ_TEST_KEY"), "v"_ba);
}

void DotEnvTest::hugeFileIsRead()
{
    load(QByteArray(8 * 1024 * 1024, 'x') + "\n# comment\nTARQ_TEST_KEY=v\n");
    QCOMPARE(qgetenv("TARQ_TEST_KEY"), "v"_ba);
}

void DotEnvTest::valueOfAKeyIsToldBeforeItIsLoaded()
{
    const QString path = homePath(u".env"_s);
    writeFile(path,
        "#TARQ_TEST_KEY=comment\nTARQ_TEST_KEY=\nTARQ_TEST_OTHER=other\n"
        "TARQ_TEST_KEY = first\nTARQ_TEST_KEY=second\n");
    QCOMPARE(valueInDotEnv(path, "TARQ_TEST_KEY"), "first"_ba);
    QCOMPARE(valueInDotEnv(path, "TARQ_TEST_NONE"), QByteArray());
    QCOMPARE(valueInDotEnv(homePath(u"absent"_s), "TARQ_TEST_KEY"), QByteArray());
    QVERIFY(!qEnvironmentVariableIsSet("TARQ_TEST_KEY"));
    QVERIFY(!qEnvironmentVariableIsSet("TARQ_TEST_OTHER"));
}

QTEST_GUILESS_MAIN(DotEnvTest)
#include "DotEnvTest.moc"
