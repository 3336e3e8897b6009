#include "dictation/OverlayStateModel.h"

using namespace Qt::StringLiterals;

namespace {

constexpr int kIdleTimeoutMs = 5000;
constexpr float kRestScale = 0.1F;

QString stateToString(OverlayStateModel::State state)
{
    switch (state) {
    case OverlayStateModel::State::Recording:
        return u"recording"_s;
    case OverlayStateModel::State::Processing:
        return u"processing"_s;
    case OverlayStateModel::State::Idle:
        break;
    }
    return u"idle"_s;
}

} // namespace

OverlayStateModel::OverlayStateModel(QObject* parent)
    : QObject(parent)
    , m_waveScales{0.1, 0.1, 0.1, 0.1, 0.1}
{
    m_idleTimer.setObjectName(u"idleTimer"_s);
    m_idleTimer.setSingleShot(true);
    m_idleTimer.setInterval(kIdleTimeoutMs);
    connect(&m_idleTimer, &QTimer::timeout, this, &OverlayStateModel::onIdleTimeout);
}

QString OverlayStateModel::visualState() const
{
    return stateToString(m_state);
}

void OverlayStateModel::advanceDemoState()
{
    switch (m_state) {
    case State::Idle:
        setState(State::Recording);
        break;
    case State::Recording:
        setState(State::Processing);
        break;
    case State::Processing:
        setState(State::Idle);
        break;
    }
}

void OverlayStateModel::setVisualState(const QString& stateName)
{
    const QString wanted = stateName.trimmed().toLower();
    for (const State state : {State::Idle, State::Recording, State::Processing}) {
        if (wanted == stateToString(state)) {
            setState(state);
        }
    }
}

void OverlayStateModel::clearError()
{
    setLastError({});
}

void OverlayStateModel::pingActivity()
{
    m_autoHidden = false;
    m_idleTimer.stop();
    refreshVisibility();
    if (m_loggedIn && isIdleWithoutFocus()) {
        m_idleTimer.start();
    }
}

void OverlayStateModel::requestProfile()
{
    emit profileRequested();
}

void OverlayStateModel::requestHistory()
{
    emit historyRequested();
}

void OverlayStateModel::requestSettings()
{
    emit settingsRequested();
}

void OverlayStateModel::requestAbout()
{
    emit aboutRequested();
}

void OverlayStateModel::requestExportData()
{
    emit exportDataRequested();
}

void OverlayStateModel::requestDeleteAccount()
{
    emit deleteAccountRequested();
}

void OverlayStateModel::requestLogout()
{
    emit logoutRequested();
}

void OverlayStateModel::setState(State state)
{
    if (m_state == state) {
        return;
    }
    m_state = state;
    emit visualStateChanged();
    refreshVisibility();
}

void OverlayStateModel::setWaveScales(const std::array<float, 5>& scales)
{
    QVariantList list;
    list.reserve(static_cast<qsizetype>(scales.size()));
    for (const float scale : scales) {
        list.append(scale);
    }
    if (m_waveScales == list) {
        return;
    }
    m_waveScales = list;
    emit waveScalesChanged();
}

void OverlayStateModel::resetWaveScales()
{
    setWaveScales({kRestScale, kRestScale, kRestScale, kRestScale, kRestScale});
}

void OverlayStateModel::setHasInputFocus(bool hasFocus)
{
    if (m_hasInputFocus == hasFocus) {
        return;
    }
    m_hasInputFocus = hasFocus;
    emit hasInputFocusChanged();
    refreshVisibility();
}

void OverlayStateModel::setLastError(const QString& message)
{
    if (m_lastError == message) {
        return;
    }
    m_lastError = message;
    emit lastErrorChanged();
}

void OverlayStateModel::setRecordingWarning(bool warning)
{
    if (m_recordingWarning == warning) {
        return;
    }
    m_recordingWarning = warning;
    emit recordingWarningChanged();
}

void OverlayStateModel::setUserEmail(const QString& email)
{
    if (m_userEmail == email) {
        return;
    }
    m_userEmail = email;
    emit userEmailChanged();
}

void OverlayStateModel::setLoggedIn(bool loggedIn)
{
    if (m_loggedIn == loggedIn) {
        return;
    }
    m_loggedIn = loggedIn;
    refreshVisibility();
}

void OverlayStateModel::refreshVisibility()
{
    if (!m_loggedIn) {
        m_idleTimer.stop();
        m_autoHidden = false;
        setVisible(false);
        return;
    }
    if (!isIdleWithoutFocus()) {
        m_idleTimer.stop();
        m_autoHidden = false;
    } else if (!m_autoHidden && !m_idleTimer.isActive()) {
        // A count that is under way goes on: refreshes must not put the hiding off.
        m_idleTimer.start();
    }
    setVisible(!m_autoHidden);
}

void OverlayStateModel::onIdleTimeout()
{
    if (m_loggedIn && isIdleWithoutFocus()) {
        m_autoHidden = true;
        refreshVisibility();
    }
}

bool OverlayStateModel::isIdleWithoutFocus() const
{
    return m_state == State::Idle && !m_hasInputFocus;
}

void OverlayStateModel::setVisible(bool visible)
{
    if (m_visible == visible) {
        return;
    }
    m_visible = visible;
    emit visibleChanged();
}
