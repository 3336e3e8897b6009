#include "audio/SoundServer.h"
#include "support/AudioSources.h"
#include "support/TarqTest.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>

using namespace Qt::StringLiterals;

class SoundServerTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void sourceIsThereFromItsBirthToItsEnd();
    void failedToolTellsNothing();
    void missingToolTellsNothing();
    void brokenToolTellsNothing();
    void toolThatDoesntEndMeansNoSources();

private:
    // A directory in which this script is the only tool.
    [[nodiscard]] QByteArray pathWithTool(const QByteArray& script) const
    {
        const QString path = homePath(u"bin/pactl"_s);
        writeFile(path, script);
        QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        return QFile::encodeName(homePath(u"bin"_s));
    }
};

void SoundServerTest::sourceIsThereFromItsBirthToItsEnd()
{
    const SoundServer server;
    QVERIFY(server.sources().value().contains("mic"));
    QVERIFY(!server.sources().value().contains("second"));
    QVERIFY(AudioSources::add(u"second"_s));
    QVERIFY(server.sources().value().contains("mic"));
    QVERIFY(server.sources().value().contains("second"));
    QVERIFY(AudioSources::removeAll());
    QVERIFY(!server.sources().value().contains("mic"));
    QVERIFY(!server.sources().value().contains("second"));
}

void SoundServerTest::failedToolTellsNothing()
{
    const ScopedVariable path(
        "PATH", pathWithTool("#!/bin/sh\necho 'Connection refused'\nexit 1\n"));
    QVERIFY(!SoundServer().sources().has_value());
}

void SoundServerTest::missingToolTellsNothing()
{
    const ScopedVariable path("PATH", QFile::encodeName(homePath()));
    QVERIFY(!SoundServer().sources().has_value());
}

void SoundServerTest::brokenToolTellsNothing()
{
    const ScopedVariable path("PATH", pathWithTool("#!/nowhere/sh\n"));
    QVERIFY(!SoundServer().sources().has_value());
}

void SoundServerTest::toolThatDoesntEndMeansNoSources()
{
    const ScopedVariable path("PATH", pathWithTool("#!/bin/sh\nexec /bin/sleep 60\n"));
    QElapsedTimer waited;
    waited.start();
    const auto sources = SoundServer().sources();
    QVERIFY(sources.has_value());
    QCOMPARE(*sources, QList<QByteArray>());
    QVERIFY(waited.elapsed() >= 5000);
    QVERIFY(waited.elapsed() < 30'000);
}

QTEST_GUILESS_MAIN(SoundServerTest)
#include "SoundServerTest.moc"
