#include "dictation/AudioCaptureService.h"
#include "support/TarqTest.h"

#include <QCoreApplication>
#include <QProcess>

#include <cstdio>
#include <string_view>

#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

constexpr int kStatus = 7;
constexpr std::string_view kDisconnected = "disconnected\n";

// A process that has recorded: what it prints last is still in a buffer when main returns.
int record(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    {
        AudioCaptureService capture;
        if (!capture.start(nullptr) || capture.stop(nullptr).isEmpty()) {
            return 1;
        }
    }
    std::fputs("recorded", stdout);
    return kStatus;
}

} // namespace

// A program's own symbol comes before the library's. Qt breaks its connections off in destructors.
extern "C" void pa_context_disconnect(void* /*context*/)
{
    [[maybe_unused]] const ssize_t written
        = ::write(STDERR_FILENO, kDisconnected.data(), kDisconnected.size());
}

class ProcessExitTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void recordingProcessEndsWithItsConnectionsUntouched();
};

void ProcessExitTest::recordingProcessEndsWithItsConnectionsUntouched()
{
    QProcess process;
    // Since Qt 6.5 its back end introduces itself.
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"QT_LOGGING_RULES"_s, u"qt.multimedia.ffmpeg*.info=false"_s);
    process.setProcessEnvironment(environment);
    process.start(QCoreApplication::applicationFilePath(), {u"record"_s});
    QVERIFY(process.waitForFinished());
    QCOMPARE(process.readAllStandardError(), QByteArray());
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), kStatus);
    QCOMPARE(process.readAllStandardOutput(), "recorded"_ba);
}

int main(int argc, char* argv[])
{
    if (argc == 2 && std::string_view(argv[1]) == "record") {
        return record(argc, argv);
    }
    const QCoreApplication application(argc, argv);
    ProcessExitTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "ProcessExitTest.moc"
