#pragma once

#include <QObject>
#include <QString>
#include <QVariantList>

// Owns the private directory below ~/.config: the user's settings, the tokens of the session, and
// the sweep of recordings that earlier runs left behind. What is on disk is read once at start;
// after that memory holds the settings, and each change is written at once. The tokens have no copy
// in memory: each call goes to the file. Created by main; QML binds to its properties. Not final,
// since QML derives from whatever type it could construct, also where it is told not to.
class SettingsStore : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString microphoneDeviceId READ microphoneDeviceId WRITE setMicrophoneDeviceId NOTIFY
            microphoneDeviceIdChanged)
    Q_PROPERTY(QString recordingHotkey READ recordingHotkey WRITE setRecordingHotkey NOTIFY
            recordingHotkeyChanged)
    Q_PROPERTY(bool pushToTalkMode READ pushToTalkMode WRITE setPushToTalkMode NOTIFY
            pushToTalkModeChanged)
    Q_PROPERTY(bool autoStart READ autoStart WRITE setAutoStart NOTIFY autoStartChanged)
    Q_PROPERTY(bool showInTray READ showInTray WRITE setShowInTray NOTIFY showInTrayChanged)
    Q_PROPERTY(bool firstRunComplete READ firstRunComplete WRITE setFirstRunComplete NOTIFY
            firstRunCompleteChanged)
    Q_PROPERTY(bool telemetryOptIn READ telemetryOptIn WRITE setTelemetryOptIn NOTIFY
            telemetryOptInChanged)
    Q_PROPERTY(QString transcriptionLanguage READ transcriptionLanguage WRITE
            setTranscriptionLanguage NOTIFY transcriptionLanguageChanged)
    Q_PROPERTY(bool autoPunctuation READ autoPunctuation WRITE setAutoPunctuation NOTIFY
            autoPunctuationChanged)
    Q_PROPERTY(QString appVersion READ appVersion CONSTANT)

public:
    struct Paths {
        QString configRoot;
        QString settingsFile;
        QString keysFile;
        QString historyFile;
        QString spoolDirectory;
    };

    /// The stored session. Without one every field is empty or 0.
    struct AuthTokens {
        QString accessToken;
        QString refreshToken;
        qint64 expiresAt = 0; ///< milliseconds since the epoch
        QString userId;
        QString userEmail;
    };

    /// Computes the paths; touches no file.
    explicit SettingsStore(QObject* parent = nullptr);

    [[nodiscard]] const Paths& paths() const { return m_paths; }
    [[nodiscard]] QString microphoneDeviceId() const { return m_microphoneDeviceId; }
    [[nodiscard]] QString recordingHotkey() const { return m_recordingHotkey; }
    [[nodiscard]] bool pushToTalkMode() const { return m_pushToTalkMode; }
    [[nodiscard]] bool autoStart() const { return m_autoStart; }
    [[nodiscard]] bool showInTray() const { return m_showInTray; }
    [[nodiscard]] bool firstRunComplete() const { return m_firstRunComplete; }
    [[nodiscard]] bool telemetryOptIn() const { return m_telemetryOptIn; }
    [[nodiscard]] QString transcriptionLanguage() const { return m_transcriptionLanguage; }
    [[nodiscard]] bool autoPunctuation() const { return m_autoPunctuation; }
    [[nodiscard]] QString appVersion() const;

    // A setter that changes something writes settings.json before it signals. A write that fails is
    // silent: the change then lasts as long as the process.
    void setMicrophoneDeviceId(const QString& deviceId);
    void setRecordingHotkey(const QString& hotkey);
    void setPushToTalkMode(bool enabled);
    /// Also writes or removes the autostart entry, without regard to whether that works.
    void setAutoStart(bool enabled);
    void setShowInTray(bool enabled);
    void setFirstRunComplete(bool complete);
    void setTelemetryOptIn(bool enabled);
    void setTranscriptionLanguage(const QString& language);
    void setAutoPunctuation(bool enabled);

    /// The microphones as maps of `id`, `name` and `isDefault`, listed anew at each call.
    Q_INVOKABLE [[nodiscard]] QVariantList audioInputDevices() const;
    /// Writes or removes the entry that starts the program at login; false if that fails.
    Q_INVOKABLE bool applyAutoStart(bool enabled);
    /// Puts the default settings on disk and reads them back. Session and history stay, and so does
    /// the autostart entry.
    Q_INVOKABLE void resetToDefaults();
    Q_INVOKABLE [[nodiscard]] QString configDirectory() const { return m_paths.configRoot; }
    Q_INVOKABLE void flush();

    /// Creates what is missing of the private directory, replaces files that hold no JSON object,
    /// makes all of it private, and loads the settings. Stops at the first failure with a sentence
    /// in `error` (may be null); the settings then keep their defaults.
    bool ensureScaffold(QString* error);

    [[nodiscard]] AuthTokens loadAuthTokens() const;
    /// Keeps every other key of the file. A save that fails is silent.
    void saveAuthTokens(const AuthTokens& tokens) const;
    void clearAuthTokens() const;
    /// Whether there is an access token with more than five minutes of life by its own claim.
    [[nodiscard]] bool hasValidAuth() const;

    /// Deletes recordings that are older than a day; what can't be deleted is left for next time.
    void cleanStaleCacheFiles() const;

signals:
    void microphoneDeviceIdChanged();
    void recordingHotkeyChanged();
    void pushToTalkModeChanged();
    void autoStartChanged();
    void showInTrayChanged();
    void firstRunCompleteChanged();
    void telemetryOptInChanged();
    void transcriptionLanguageChanged();
    void autoPunctuationChanged();

private:
    bool ensureDirectory(const QString& path, QString* error) const;
    bool ensureJsonFile(
        const QString& path, const QByteArray& defaultContent, QString* error) const;
    void loadFromDisk();
    void persistToDisk() const;
    template <typename T> bool store(T& member, const T& value);

    const Paths m_paths;
    QString m_microphoneDeviceId;
    QString m_recordingHotkey;
    bool m_pushToTalkMode = true;
    bool m_autoStart = false;
    bool m_showInTray = true;
    bool m_firstRunComplete = false;
    bool m_telemetryOptIn = false;
    QString m_transcriptionLanguage;
    bool m_autoPunctuation = true;
};
