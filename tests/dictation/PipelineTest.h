#pragma once

#include "dictation/OverlayStateModel.h"
#include "dictation/TranscriptionPipeline.h"
#include "storage/HistoryRepository.h"
#include "support/HttpServer.h"
#include "support/TarqTest.h"

#include <QStringList>
#include <QTimer>

#include <memory>

// Base of the pipeline's tests: the whole of it on a real microphone and a real HTTP server; only
// the tool that presses the paste keys is a script, since there is no window to press them in.
class PipelineTest : public TarqTest
{
    Q_OBJECT

protected:
    using State = OverlayStateModel::State;

    /// Of the script, what comes after its arguments have been written down in "keys".
    void makeTool(const QByteArray& script);
    QTimer* timer(const char* name) const;
    QStringList recordings() const;
    static void expectWarning(const QString& pattern);
    /// From idle to the upload.
    void dictate();
    void waitUntilIdle();

    std::unique_ptr<HttpServer> m_server;
    std::unique_ptr<ScopedVariable> m_workerUrl;
    std::unique_ptr<ScopedVariable> m_path;
    std::unique_ptr<OverlayStateModel> m_overlay;
    std::unique_ptr<HistoryRepository> m_history;
    std::unique_ptr<TranscriptionPipeline> m_pipeline;
    QStringList m_states; ///< since the start of the test

protected slots:
    void init();
    void cleanup();
};
