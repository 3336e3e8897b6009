#pragma once

#include "account/SupabaseAuthClient.h"

#include <QObject>
#include <QTimer>

class InputFocusMonitor;
class OverlayStateModel;
class SettingsStore;
class TranscriptionPipeline;
class Windows;

// Keeps the three places that hold a session in step: the stored tokens, the key of the pipeline,
// which allows a dictation, and the overlay's signed-in flag, which shows the bubble. It refreshes
// the session before it expires, and brings the user back to the login window when it has ended.
// Created by main after the services that it refers to, and destroyed before them.
class SessionLifecycle final : public QObject
{
    Q_OBJECT

public:
    SessionLifecycle(SettingsStore& settings, SupabaseAuthClient& auth, OverlayStateModel& overlay,
        InputFocusMonitor& focusMonitor, TranscriptionPipeline& pipeline, Windows& windows,
        QObject* parent = nullptr);

    /// Decides by the stored tokens what the user meets first.
    void begin();

    /// Applies the stored session. What the running application needs besides is started the first
    /// time only.
    void enterApp();

    /// How many milliseconds to wait with the refresh of a session: until five minutes before it
    /// expires, and at least a minute. Both times are milliseconds since the epoch.
    [[nodiscard]] static int refreshDelayMs(qint64 expiresAtMs, qint64 nowMs);

private:
    void scheduleRefresh(qint64 expiresAtMs);
    void refreshNow();
    void onAuthSuccess(const SupabaseAuthClient::Session& session);
    void onAuthFailed(const QString& error);
    void onAuthNetworkError(const QString& error);
    void handleSessionExpired();
    void handleLogout();
    void forgetSession();

    SettingsStore& m_settings;
    SupabaseAuthClient& m_auth;
    OverlayStateModel& m_overlay;
    InputFocusMonitor& m_focusMonitor;
    TranscriptionPipeline& m_pipeline;
    Windows& m_windows;
    QTimer m_refreshTimer{this};
    bool m_mainLoaded = false;
};
