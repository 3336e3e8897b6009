#include "dictation/AudioCaptureService.h"
#include "support/AudioSources.h"
#include "support/TarqTest.h"

#include <QFile>

using namespace Qt::StringLiterals;

// Qt lists two microphones; what the server has of them, a tool says that each test makes up.
class CaptureDeviceTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void initTestCase();

    void microphoneIsRecordedFrom_data();
    void microphoneIsRecordedFrom();
    void serverWithoutAnyOfThemHasNoInput_data();
    void serverWithoutAnyOfThemHasNoInput();

private:
    // The tool is looked for when the service is made.
    [[nodiscard]] std::unique_ptr<AudioCaptureService> captureWithSources(
        const QByteArrayList& names) const
    {
        QByteArray script("#!/bin/sh\n");
        for (const QByteArray& name : names) {
            script += R"(printf '0\t%s\tdriver\tformat\tIDLE\n' )" + name + '\n';
        }
        const QString path = homePath(u"bin/pactl"_s);
        writeFile(path, script);
        QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        const ScopedVariable searchPath("PATH", QFile::encodeName(homePath(u"bin"_s)));
        return std::make_unique<AudioCaptureService>();
    }
};

void CaptureDeviceTest::initTestCase()
{
    QVERIFY(AudioSources::add(u"second"_s));
}

void CaptureDeviceTest::microphoneIsRecordedFrom_data()
{
    QTest::addColumn<QByteArrayList>("present");
    QTest::addColumn<QString>("chosen");
    QTest::addColumn<QString>("recorded");
    QTest::newRow("the chosen one")
        << QByteArrayList{"mic", "second"} << u"second"_s << u"second"_s;
    QTest::newRow("the default for a chosen one that is gone")
        << QByteArrayList{"mic", "mic.monitor"} << u"second"_s << u"mic"_s;
    QTest::newRow("another for a default that is gone")
        << QByteArrayList{"second"} << QString() << u"second"_s;
}

void CaptureDeviceTest::microphoneIsRecordedFrom()
{
    QFETCH(const QByteArrayList, present);
    QFETCH(const QString, chosen);
    const auto capture = captureWithSources(present);
    QSignalSpy errors(capture.get(), &AudioCaptureService::errorOccurred);
    capture->setPreferredDeviceId(chosen);
    QString error;
    QVERIFY2(capture->start(&error), qPrintable(error));
    QTEST(AudioSources::recorded(), "recorded");
    QVERIFY(!capture->stop(&error).isEmpty());
    QCOMPARE(errors.count(), 0);
    QTRY_COMPARE(AudioSources::recorded(), QString());
}

void CaptureDeviceTest::serverWithoutAnyOfThemHasNoInput_data()
{
    QTest::addColumn<QByteArrayList>("present");
    QTest::newRow("another") << QByteArrayList{"third"};
    QTest::newRow("none at all") << QByteArrayList();
}

void CaptureDeviceTest::serverWithoutAnyOfThemHasNoInput()
{
    QFETCH(const QByteArrayList, present);
    const auto capture = captureWithSources(present);
    capture->setPreferredDeviceId(u"second"_s);
    QSignalSpy errors(capture.get(), &AudioCaptureService::errorOccurred);
    QString error;
    QVERIFY(!capture->start(&error));
    QCOMPARE(error, u"No audio input device is available."_s);
    QCOMPARE(errors.count(), 1);
    QVERIFY(!capture->isRecording());
}

QTEST_GUILESS_MAIN(CaptureDeviceTest)
#include "CaptureDeviceTest.moc"
