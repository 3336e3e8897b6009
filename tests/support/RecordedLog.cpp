#include "support/RecordedLog.h"

#include <QHash>

using namespace Qt::StringLiterals;

namespace {

// A message handler is a plain function.
QStringList recordedLines;
QtMessageHandler nextHandler = nullptr;

void record(QtMsgType type, const QMessageLogContext& context, const QString& text)
{
    static const QHash<QtMsgType, QString> kLevels{{QtDebugMsg, u"debug"_s}, {QtInfoMsg, u"info"_s},
        {QtWarningMsg, u"warning"_s}, {QtCriticalMsg, u"critical"_s}, {QtFatalMsg, u"fatal"_s}};
    recordedLines << kLevels.value(type) + ": "_L1 + text;
    nextHandler(type, context, text);
}

} // namespace

RecordedLog::RecordedLog()
{
    recordedLines.clear();
    nextHandler = qInstallMessageHandler(record);
}

RecordedLog::~RecordedLog()
{
    qInstallMessageHandler(nextHandler);
}

QStringList RecordedLog::lines() const
{
    return recordedLines;
}
