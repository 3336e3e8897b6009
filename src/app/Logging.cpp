#include "app/Logging.h"

#include "Deployment.h"
#include "network/Http.h"
#include "network/NetworkManager.h"

#include <QCoreApplication>
#include <QNetworkRequest>
#include <QString>
#include <QUrl>
#include <QtGlobal>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kMaxReportedUnits = 1024; // of UTF-16

QString sourceFile(const QMessageLogContext& context)
{
    return context.file != nullptr ? QString::fromLatin1(context.file) : u"?"_s;
}

// Text by substitution, as the receiver expects it: only double quotes are escaped, and a cut may
// fall behind a backslash.
QByteArray crashReport(const QMessageLogContext& context, const QString& message)
{
    QString escaped = message;
    escaped.replace('"'_L1, "\\\""_L1);
    escaped.truncate(kMaxReportedUnits);
    return uR"({"app":"tarq-linux","version":"%1","platform":"linux","message":"%2","stack":"%3:%4"})"_s
        .arg(QCoreApplication::applicationVersion())
        .arg(escaped)
        .arg(sourceFile(context))
        .arg(context.line)
        .toUtf8();
}

// Nobody waits for the request or reads its answer: without a running event loop it never leaves.
void sendCrashReport(const QByteArray& report)
{
    auto* manager = new NetworkManager;
    QNetworkRequest request(QUrl(Deployment::kWorkerBaseUrl + "/v1/crash-report"_L1));
    request.setHeader(QNetworkRequest::ContentTypeHeader, u"application/json"_s);
    Http::discardWhenFinished(manager->post(request, report));
}

void qtMessageHandler(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    const char* const file = context.file != nullptr ? context.file : "?";
    std::fprintf(stderr, "[%d] %s (%s:%d)\n", static_cast<int>(type),
        message.toLocal8Bit().constData(), file, context.line);
    if (type == QtCriticalMsg || type == QtFatalMsg) {
        sendCrashReport(crashReport(context, message));
    }
}

} // namespace

void installMessageHandler()
{
    qInstallMessageHandler(qtMessageHandler);
}
