#include "desktop/GlobalHotkeyManager.h"
#include "support/TarqTest.h"

#include <QDir>
#include <QRegularExpression>

#include <memory>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace {

const QString kName = u"tarq-linux-ipc"_s;

} // namespace

// The secret that stands in a private file while the channel is open.
class ToggleTokenTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void tokenIsARandomUuid();
    void tokenFileIsPrivateAndWithoutALineFeed();
    void tokenIsNewAtEachStart();
    void tokenIsReadAsTrimmedText_data();
    void tokenIsReadAsTrimmedText();
    void missingTokenReadsAsEmpty();

private:
    std::unique_ptr<ScopedVariable> m_tmpDir;
};

void ToggleTokenTest::init()
{
    TarqTest::init();
    m_tmpDir = std::make_unique<ScopedVariable>("TMPDIR", homePath().toLocal8Bit());
    QVERIFY(QDir().mkpath(configPath()));
}

void ToggleTokenTest::cleanup()
{
    m_tmpDir.reset();
    TarqTest::cleanup();
}

void ToggleTokenTest::tokenIsARandomUuid()
{
    static const QRegularExpression form(
        u"^[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}$"_s);
    const QString generated = GlobalHotkeyManager::generateToken();
    QVERIFY2(form.match(generated).hasMatch(), qPrintable(generated));
    QVERIFY(GlobalHotkeyManager::generateToken() != generated);
}

void ToggleTokenTest::tokenFileIsPrivateAndWithoutALineFeed()
{
    const mode_t previous = ::umask(0);
    const QString generated = GlobalHotkeyManager::generateToken();
    ::umask(previous);
    QCOMPARE(GlobalHotkeyManager::tokenFilePath(), configPath(u"ipc-token"_s));
    QCOMPARE(readFile(configPath(u"ipc-token"_s)), generated.toUtf8());
    QCOMPARE(modeOf(configPath(u"ipc-token"_s)), 0600U);
}

void ToggleTokenTest::tokenIsNewAtEachStart()
{
    writeFile(configPath(u"ipc-token"_s), QByteArray(1000, 'x'));
    GlobalHotkeyManager first;
    first.setupIpcServer(kName);
    const QString firstToken = GlobalHotkeyManager::readToken();
    QCOMPARE(firstToken.size(), 36);
    GlobalHotkeyManager second;
    second.setupIpcServer(kName);
    QCOMPARE(GlobalHotkeyManager::readToken().size(), 36);
    QVERIFY(GlobalHotkeyManager::readToken() != firstToken);
}

void ToggleTokenTest::tokenIsReadAsTrimmedText_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("token");

    QTest::newRow("white space around") << " \n token \r\n"_ba << u"token"_s;
    QTest::newRow("byte order mark") << "\xef\xbb\xbftoken\n"_ba << u"token"_s;
    QTest::newRow("byte order mark, then white space") << "\xef\xbb\xbf token"_ba << u"token"_s;
    // It marks the order of the bytes only where it is the first of them.
    QTest::newRow("white space, then the mark") << " \xef\xbb\xbftoken"_ba << u"\ufefftoken"_s;
    QTest::newRow("only the mark") << "\xef\xbb\xbf"_ba << QString();
}

void ToggleTokenTest::tokenIsReadAsTrimmedText()
{
    QFETCH(const QByteArray, content);
    QFETCH(const QString, token);
    writeFile(configPath(u"ipc-token"_s), content);
    QCOMPARE(GlobalHotkeyManager::readToken(), token);
}

void ToggleTokenTest::missingTokenReadsAsEmpty()
{
    QCOMPARE(GlobalHotkeyManager::readToken(), QString());
}

QTEST_GUILESS_MAIN(ToggleTokenTest)
#include "ToggleTokenTest.moc"
