#include "dictation/PipelineTest.h"

#include <QClipboard>
#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QRegularExpression>

using namespace Qt::StringLiterals;

void PipelineTest::init()
{
    TarqTest::init();
    makeTool("exit 0");
    m_path = std::make_unique<ScopedVariable>(
        "PATH", QFile::encodeName(homePath(u"bin"_s)) + ":/usr/bin:/bin");
    m_server = std::make_unique<HttpServer>();
    m_workerUrl = std::make_unique<ScopedVariable>("WORKER_URL", m_server->url().toUtf8());
    m_overlay = std::make_unique<OverlayStateModel>();
    m_history = std::make_unique<HistoryRepository>(homePath(u"history.json"_s));
    m_pipeline = std::make_unique<TranscriptionPipeline>(m_overlay.get(), m_history.get(), nullptr);
    m_pipeline->setApiKey(u"the-key"_s);
    m_states.clear();
    connect(m_overlay.get(), &OverlayStateModel::visualStateChanged, this,
        [this]() { m_states << m_overlay->visualState(); });
    QGuiApplication::clipboard()->setText(u"what was there before"_s);
}

void PipelineTest::cleanup()
{
    m_pipeline.reset();
    m_history.reset();
    m_overlay.reset();
    m_workerUrl.reset();
    m_server.reset();
    m_path.reset();
    TarqTest::cleanup();
}

void PipelineTest::makeTool(const QByteArray& script)
{
    const QString path = homePath(u"bin/xdotool"_s);
    writeFile(path,
        "#!/bin/sh\necho \"$@\" >> " + QFile::encodeName(homePath(u"keys"_s)) + '\n' + script
            + '\n');
    QVERIFY(QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
}

QTimer* PipelineTest::timer(const char* name) const
{
    return m_pipeline->findChild<QTimer*>(QString::fromLatin1(name));
}

QStringList PipelineTest::recordings() const
{
    return QDir(cachePath()).entryList(QDir::Files);
}

void PipelineTest::expectWarning(const QString& pattern)
{
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(pattern));
}

void PipelineTest::dictate()
{
    m_pipeline->startRecordingExplicit();
    QCOMPARE(m_overlay->state(), State::Recording);
    m_pipeline->stopRecordingExplicit();
    QCOMPARE(m_overlay->state(), State::Processing);
}

void PipelineTest::waitUntilIdle()
{
    QTRY_COMPARE_WITH_TIMEOUT(m_overlay->state(), State::Idle, 10000);
}
