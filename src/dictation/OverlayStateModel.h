#pragma once

#include <QObject>
#include <QString>
#include <QTimer>
#include <QVariantList>

#include <array>

// What the bubble shows: the state of the dictation, the wave bars, the warning, and whether the
// bubble is on the screen at all. It turns gestures into request signals and decides nothing else.
// The bubble is visible to a signed-in user during a dictation, while a text window has the focus,
// and for five seconds after that. Created by main; services write it, QML reads it. Not final,
// since QML derives from whatever type it could construct, also where it is told not to.
class OverlayStateModel : public QObject
{
    Q_OBJECT
    Q_PROPERTY(State state READ state NOTIFY visualStateChanged)
    Q_PROPERTY(QString visualState READ visualState NOTIFY visualStateChanged)
    Q_PROPERTY(QVariantList waveScales READ waveScales NOTIFY waveScalesChanged)
    Q_PROPERTY(bool visible READ isVisible NOTIFY visibleChanged)
    Q_PROPERTY(bool hasInputFocus READ hasInputFocus NOTIFY hasInputFocusChanged)
    Q_PROPERTY(QString lastError READ lastError NOTIFY lastErrorChanged)
    Q_PROPERTY(bool recordingWarning READ recordingWarning NOTIFY recordingWarningChanged)
    Q_PROPERTY(QString userEmail READ userEmail NOTIFY userEmailChanged)

public:
    enum class State { Idle = 0, Recording = 1, Processing = 2 };
    Q_ENUM(State)

    explicit OverlayStateModel(QObject* parent = nullptr);

    [[nodiscard]] State state() const { return m_state; }
    /// "idle", "recording" or "processing".
    [[nodiscard]] QString visualState() const;
    /// Always five numbers from 0.1 to 1, left to right.
    [[nodiscard]] QVariantList waveScales() const { return m_waveScales; }
    [[nodiscard]] bool isVisible() const { return m_visible; }
    [[nodiscard]] bool hasInputFocus() const { return m_hasInputFocus; }
    /// The last failure or notice. Nothing shows it yet; it is kept for whoever asks.
    [[nodiscard]] QString lastError() const { return m_lastError; }
    [[nodiscard]] bool recordingWarning() const { return m_recordingWarning; }
    [[nodiscard]] QString userEmail() const { return m_userEmail; }

    Q_INVOKABLE void advanceDemoState();
    /// Takes the names of visualState(), in any case and with blanks around; ignores any other.
    Q_INVOKABLE void setVisualState(const QString& stateName);
    Q_INVOKABLE void clearError();
    /// Shows a bubble that hid itself, and starts the count to the next time anew.
    Q_INVOKABLE void pingActivity();
    Q_INVOKABLE void requestProfile();
    Q_INVOKABLE void requestHistory();
    Q_INVOKABLE void requestSettings();
    Q_INVOKABLE void requestAbout();
    Q_INVOKABLE void requestExportData();
    Q_INVOKABLE void requestDeleteAccount();
    Q_INVOKABLE void requestLogout();

    /// Any transition is taken; the pipeline knows which ones make sense.
    void setState(State state);
    void setWaveScales(const std::array<float, 5>& scales);
    void resetWaveScales();
    void setHasInputFocus(bool hasFocus);
    void setLastError(const QString& message);
    void setRecordingWarning(bool warning);
    void setUserEmail(const QString& email);
    void setLoggedIn(bool loggedIn);

signals:
    void visualStateChanged();
    void waveScalesChanged();
    void visibleChanged();
    void hasInputFocusChanged();
    void lastErrorChanged();
    void recordingWarningChanged();
    void userEmailChanged();
    void profileRequested();
    void historyRequested();
    void settingsRequested();
    void aboutRequested();
    void exportDataRequested();
    void deleteAccountRequested();
    void logoutRequested();

private:
    void refreshVisibility();
    void onIdleTimeout();
    [[nodiscard]] bool isIdleWithoutFocus() const;
    void setVisible(bool visible);

    State m_state = State::Idle;
    QVariantList m_waveScales;
    bool m_visible = false;
    bool m_loggedIn = false;
    bool m_hasInputFocus = false;
    bool m_autoHidden = false;
    QTimer m_idleTimer{this};
    QString m_lastError;
    bool m_recordingWarning = false;
    QString m_userEmail;
};
