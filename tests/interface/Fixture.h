#pragma once

#include "account/SupabaseAuthClient.h"
#include "dictation/OverlayStateModel.h"
#include "dictation/TranscriptionPipeline.h"
#include "storage/HistoryRepository.h"
#include "storage/SettingsStore.h"
#include "support/AudioSources.h"
#include "support/HttpServer.h"

#include <QObject>
#include <QQuickWindow>
#include <QStringList>
#include <QUrl>
#include <QVariantList>

#include <memory>

// The services that the documents require, on the private home of the test program, and the
// operations on them that QML doesn't have.
class Fixture final : public QObject
{
    Q_OBJECT
    Q_PROPERTY(OverlayStateModel* overlay READ overlay CONSTANT)
    Q_PROPERTY(TranscriptionPipeline* pipeline READ pipeline CONSTANT)
    Q_PROPERTY(SettingsStore* settings READ settings CONSTANT)
    Q_PROPERTY(SupabaseAuthClient* auth READ auth CONSTANT)
    Q_PROPERTY(QStringList openedUrls MEMBER m_openedUrls)
    Q_PROPERTY(int quits MEMBER m_quits)

public:
    Fixture();
    ~Fixture() override;
    Q_DISABLE_COPY_MOVE(Fixture)

    OverlayStateModel* overlay() { return &m_overlay; }
    TranscriptionPipeline* pipeline() { return &m_pipeline; }
    SettingsStore* settings() { return &m_settings; }
    SupabaseAuthClient* auth() { return &m_auth; }

    // A signed-in user, idle, with no warning and no error.
    Q_INVOKABLE void reset();
    Q_INVOKABLE void setWarning(bool warning) { m_overlay.setRecordingWarning(warning); }
    Q_INVOKABLE void setSignedIn(bool signedIn) { m_overlay.setLoggedIn(signedIn); }
    Q_INVOKABLE void setUserEmail(const QString& email) { m_overlay.setUserEmail(email); }

    // Without a key, a toggle that reaches the pipeline leaves its mark in the error field.
    Q_INVOKABLE bool takeToggle();
    // Until a fresh count of the auto-hide can be told from the one that is under way.
    Q_INVOKABLE void waitForIdleCount();
    Q_INVOKABLE int idleCountMs();

    // A repository with these entries, newest first, a minute apart from each other; the newest is
    // from `newest`, in milliseconds since the epoch. The last one's life ends with the next call.
    Q_INVOKABLE HistoryRepository* makeHistory(const QStringList& texts, double newest);
    Q_INVOKABLE void addTranscript(const QString& text) { m_history->add(text); }
    // Whether exports can be written.
    Q_INVOKABLE void setDownloadsWritable(bool writable);
    Q_INVOKABLE QString readFile(const QString& path);

    // The microphones of the session; Qt hears of a change a little later.
    Q_INVOKABLE bool addMicrophone(const QString& id) { return AudioSources::add(id); }
    Q_INVOKABLE bool removeMicrophones() { return AudioSources::removeAll(); }

    Q_INVOKABLE QString clipboard();
    Q_INVOKABLE void clearClipboard();

    // Each request that the auth server or the worker got since the last call, as a map of
    // `method`, `target`, `headers` and `body`.
    Q_INVOKABLE QVariantList takeAuthRequests() { return takeRequests(m_authServer, &m_authSeen); }
    Q_INVOKABLE QVariantList takeWorkerRequests() { return takeRequests(*m_worker, &m_workerSeen); }
    // The answer to the next request. A status of 0 closes the connection, -1 says nothing.
    Q_INVOKABLE void answerAuth(int status, const QString& body);
    Q_INVOKABLE void answerWorker(int status, const QString& body);
    Q_INVOKABLE void holdAuth() { m_authServer.setAnswersHeld(true); }
    Q_INVOKABLE void releaseAuth() { m_authServer.setAnswersHeld(false); }
    // The worker that the program was built for.
    Q_INVOKABLE void startWorker();
    Q_INVOKABLE void stopWorker() { m_worker.reset(); }

    // The controls that assistive technology would find without a name or a role.
    Q_INVOKABLE QStringList namelessControls(QWindow* window);
    // A key for a window that hasn't the focus, as it comes while that window has the keyboard
    // grabbed.
    Q_INVOKABLE void pressKey(QWindow* window, int key);
    // For the states that take a minute to come by on a desktop.
    Q_INVOKABLE bool takePicture(QQuickWindow* window, const QString& name);

    // The next Qt.quit() of a document is counted and doesn't end the program.
    Q_INVOKABLE void expectQuit() { m_quitExpected = true; }
    void handleQuit();

private slots:
    void keepUrl(const QUrl& url) { m_openedUrls.append(url.toString(QUrl::FullyEncoded)); }

private:
    static QVariantList takeRequests(const HttpServer& server, qsizetype* seen);

    OverlayStateModel m_overlay;
    TranscriptionPipeline m_pipeline{&m_overlay, nullptr, nullptr};
    SettingsStore m_settings;
    std::unique_ptr<HistoryRepository> m_history;
    HttpServer m_authServer;
    qsizetype m_authSeen = 0;
    SupabaseAuthClient m_auth{m_authServer.url(), QStringLiteral("anon")};
    std::unique_ptr<HttpServer> m_worker;
    qsizetype m_workerSeen = 0;
    QStringList m_openedUrls;
    int m_quits = 0;
    bool m_quitExpected = false;
};
