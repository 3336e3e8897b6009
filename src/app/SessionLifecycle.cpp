#include "app/SessionLifecycle.h"

#include "app/AccountRequests.h"
#include "app/Windows.h"
#include "desktop/InputFocusMonitor.h"
#include "dictation/OverlayStateModel.h"
#include "dictation/TranscriptionPipeline.h"
#include "storage/SettingsStore.h"

#include <QDateTime>
#include <QDebug>

#include <algorithm>
#include <limits>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 kRefreshLeadMs = 300000;
constexpr qint64 kShortestRefreshDelayMs = 60000;
constexpr qint64 kLongestRefreshDelayMs = std::numeric_limits<int>::max();
constexpr int kNetworkRetryMs = 30000;
// A server may say anything; in milliseconds, and added to a time, this still fits into 64 bits.
constexpr qint64 kLongestLifeS = std::numeric_limits<qint64>::max() / 4000;

} // namespace

SessionLifecycle::SessionLifecycle(SettingsStore& settings, SupabaseAuthClient& auth,
    OverlayStateModel& overlay, InputFocusMonitor& focusMonitor, TranscriptionPipeline& pipeline,
    Windows& windows, QObject* parent)
    : QObject(parent)
    , m_settings(settings)
    , m_auth(auth)
    , m_overlay(overlay)
    , m_focusMonitor(focusMonitor)
    , m_pipeline(pipeline)
    , m_windows(windows)
{
    m_refreshTimer.setObjectName(u"refreshTimer"_s);
    m_refreshTimer.setSingleShot(true);
    connect(&m_refreshTimer, &QTimer::timeout, this, &SessionLifecycle::refreshNow);
    connect(&m_auth, &SupabaseAuthClient::authSuccess, this, &SessionLifecycle::onAuthSuccess);
    connect(&m_auth, &SupabaseAuthClient::authFailed, this, &SessionLifecycle::onAuthFailed);
    connect(&m_auth, &SupabaseAuthClient::authNetworkError, this,
        &SessionLifecycle::onAuthNetworkError);
    connect(&m_pipeline, &TranscriptionPipeline::authRequired, this,
        &SessionLifecycle::handleSessionExpired);
    connect(&m_overlay, &OverlayStateModel::logoutRequested, this, &SessionLifecycle::handleLogout);
}

void SessionLifecycle::begin()
{
    const SettingsStore::AuthTokens tokens = m_settings.loadAuthTokens();
    if (m_settings.hasValidAuth()) {
        enterApp();
    } else if (tokens.refreshToken.isEmpty()) {
        m_windows.showLogin();
    } else {
        // The answer decides.
        m_auth.refreshSession(tokens.refreshToken);
    }
}

void SessionLifecycle::enterApp()
{
    const SettingsStore::AuthTokens tokens = m_settings.loadAuthTokens();
    m_pipeline.setApiKey(tokens.accessToken);
    m_overlay.setUserEmail(tokens.userEmail);
    m_overlay.setLoggedIn(true);
    if (m_mainLoaded) {
        return;
    }
    m_mainLoaded = true;
    m_windows.loadBubble();
    // Before the first sign-in nobody needs to know the active window, and polling costs processes.
    m_focusMonitor.start();
    m_windows.loadHistory();
    if (tokens.expiresAt >= 1) {
        scheduleRefresh(tokens.expiresAt);
    }
}

int SessionLifecycle::refreshDelayMs(qint64 expiresAtMs, qint64 nowMs)
{
    // Compared first: a file may say anything, and what lies far in the past would overflow.
    const qint64 delay = expiresAtMs > nowMs ? expiresAtMs - kRefreshLeadMs - nowMs : 0;
    return static_cast<int>(std::clamp(delay, kShortestRefreshDelayMs, kLongestRefreshDelayMs));
}

void SessionLifecycle::scheduleRefresh(qint64 expiresAtMs)
{
    m_refreshTimer.start(refreshDelayMs(expiresAtMs, QDateTime::currentMSecsSinceEpoch()));
}

void SessionLifecycle::refreshNow()
{
    const QString refreshToken = m_settings.loadAuthTokens().refreshToken;
    if (!refreshToken.isEmpty()) {
        m_auth.refreshSession(refreshToken);
    }
}

void SessionLifecycle::onAuthSuccess(const SupabaseAuthClient::Session& session)
{
    SettingsStore::AuthTokens tokens;
    tokens.accessToken = session.accessToken;
    tokens.refreshToken = session.refreshToken;
    tokens.expiresAt = QDateTime::currentMSecsSinceEpoch()
        + std::clamp(session.expiresIn, -kLongestLifeS, kLongestLifeS) * 1000;
    tokens.userId = session.userId;
    tokens.userEmail = session.email;
    m_settings.saveAuthTokens(tokens);
    m_pipeline.setApiKey(session.accessToken);
    m_windows.closeLogin();
    enterApp();
    scheduleRefresh(tokens.expiresAt);
}

// A refused refresh doesn't end a running session: it ends when the worker refuses its token.
void SessionLifecycle::onAuthFailed(const QString& error)
{
    qWarning().noquote() << "Auth failed:" << error;
    if (!m_mainLoaded) {
        m_windows.showLogin();
    }
}

void SessionLifecycle::onAuthNetworkError(const QString& error)
{
    qWarning().noquote() << "Auth network error (transient):" << error
                         << "— will retry, keeping session";
    const QString refreshToken = m_settings.loadAuthTokens().refreshToken;
    if (m_mainLoaded && !refreshToken.isEmpty()) {
        auto* retryTimer = new QTimer(this);
        retryTimer->setObjectName(u"retryTimer"_s);
        retryTimer->setSingleShot(true);
        connect(retryTimer, &QTimer::timeout, this, &SessionLifecycle::refreshNow);
        connect(retryTimer, &QTimer::timeout, retryTimer, &QTimer::deleteLater);
        retryTimer->start(kNetworkRetryMs);
    } else if (!m_mainLoaded) {
        m_windows.showLogin();
    }
}

void SessionLifecycle::handleSessionExpired()
{
    forgetSession();
    m_overlay.setLastError(u"Session expired — sign in again."_s);
    m_overlay.setLoggedIn(false);
    m_windows.hideHistory();
    m_windows.showLogin();
}

void SessionLifecycle::handleLogout()
{
    const QString accessToken = m_settings.loadAuthTokens().accessToken;
    if (!accessToken.isEmpty()) {
        endServerSession(accessToken);
    }
    forgetSession();
    m_overlay.setLoggedIn(false);
    m_windows.hideHistory();
    m_windows.closeProfile();
    m_windows.showLogin();
}

void SessionLifecycle::forgetSession()
{
    m_settings.clearAuthTokens();
    m_pipeline.setApiKey({});
    m_overlay.setUserEmail({});
    m_refreshTimer.stop();
}
