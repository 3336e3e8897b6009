#include "FuzzSupport.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>

using namespace Qt::StringLiterals;

namespace {

// The project's own log lines are beside the point here. Qt's, which begin with the name of a class
// or a file, tell of a mistake.
void failOnComplaint(QtMsgType type, const QMessageLogContext& /*context*/, const QString& text)
{
    const bool isQts = text.startsWith(u'Q') || text.startsWith("qrc:"_L1);
    if (type == QtFatalMsg || (type == QtWarningMsg && isQts)) {
        std::fprintf(stderr, "Complaint: %s\n", qPrintable(text));
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv)
{
    static const QTemporaryDir home;
    Fuzz::require(home.isValid(), "there is a place for temporary files");
    for (const char* const name : {"HOME", "TMPDIR", "XDG_RUNTIME_DIR"}) {
        qputenv(name, QFile::encodeName(home.path()));
    }
    qputenv("QT_QPA_PLATFORM", "offscreen");
    // Never deleted: libFuzzer leaves by exit(), when much of what it would need has gone already.
    static const auto* const application = new QGuiApplication(*argc, *argv);
    Q_UNUSED(application)
    qInstallMessageHandler(failOnComplaint);
    return 0;
}

void Fuzz::require(bool kept, const char* promise)
{
    if (!kept) {
        std::fprintf(stderr, "Broken promise: %s\n", promise);
        std::abort();
    }
}

QString Fuzz::homePath(const QString& relativePath)
{
    return QDir::home().filePath(relativePath);
}

QByteArray Fuzz::readFile(const QString& path)
{
    QFile file(path);
    require(file.open(QIODevice::ReadOnly), "the file is there");
    return file.readAll();
}

void Fuzz::writeFile(const QString& path, const QByteArray& content)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    require(file.open(QIODevice::WriteOnly) && file.write(content) == content.size(),
        "files can be written");
}

QByteArray Fuzz::bytes(const uint8_t* data, size_t size)
{
    return {reinterpret_cast<const char*>(data), static_cast<qsizetype>(size)};
}

bool Fuzz::mayHaveByteOrderMark(const QByteArray& json)
{
    return json.contains("\xef\xbb\xbf") || json.toLower().contains("\\ufeff");
}

void Fuzz::settle()
{
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

void Fuzz::waitForEvents()
{
    QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}
