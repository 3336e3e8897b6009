#include "app/StatusNotifierTray.h"

#include <QCoreApplication>
#include <QTest>

using namespace Qt::StringLiterals;

StatusNotifierTray::StatusNotifierTray()
{
    m_watcher.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    QObject::connect(&m_watcher, &QProcess::readyReadStandardOutput, &m_watcher,
        [this]() { m_printed += m_watcher.readAllStandardOutput(); });
}

StatusNotifierTray::~StatusNotifierTray()
{
    m_watcher.kill();
    m_watcher.waitForFinished();
}

bool StatusNotifierTray::start()
{
    m_watcher.start(u"/usr/bin/python3"_s, {QStringLiteral(TARQ_STATUS_NOTIFIER_WATCHER)});
    return QTest::qWaitFor([this]() { return m_printed.startsWith("ready\n"); }, 30000);
}

qsizetype StatusNotifierTray::icons() const
{
    return m_printed.count(" of " + QByteArray::number(QCoreApplication::applicationPid()) + '\n');
}
