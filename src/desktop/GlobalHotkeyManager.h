#pragma once

#include <QObject>
#include <QString>
#include <QTimer>

#include <memory>

class QLocalServer;
class QLocalSocket;
class QSocketNotifier;

// Turns what happens outside the program's windows into requests for the pipeline. Created by main.
//
// The hotkey: on X11 Super+Space is grabbed, on a connection of its own. Held for 1.5 seconds it
// starts a recording, and its release stops it. On Wayland nothing can be grabbed, and the user
// binds `tarq-linux --toggle` in the compositor. A registration that fails leaves a line in the log
// and a program without hotkey.
//
// The toggle channel: a local socket through which a second start of the program talks to the
// running one. A message is "TOKEN:COMMAND" on a connection of its own, with no reply. The socket
// admits everybody, so the token, which stands in a private file, is what proves the sender.
//
// Each job has a source file: GlobalHotkeyManager.cpp the hotkey, GlobalHotkeyManagerPortal.cpp the
// attempt on Wayland, and ...Server.cpp and ...Client.cpp the two ends of the channel.
class GlobalHotkeyManager final : public QObject
{
    Q_OBJECT

public:
    explicit GlobalHotkeyManager(QObject* parent = nullptr);
    ~GlobalHotkeyManager() override;

    /// Grabs the hotkey on X11; elsewhere tries the desktop portal, and tells in the log how to
    /// bind one. Called once. On Wayland blocks until the portal has answered.
    void registerSpacebarHold();

    /// Starts the channel, with a new token. Takes the name over from whatever held it before. A
    /// failure is a warning in the log, and leaves the program without the channel.
    void setupIpcServer(const QString& name);

    // The client half, for a process that ends after it; blocks for at most 1.5 s. True means that
    // a running instance took the message, not that it obeyed.
    static bool sendToggleCommand(const QString& name);
    static bool sendShowHistoryCommand(const QString& name);

    [[nodiscard]] static QString tokenFilePath();
    /// Makes a token and leaves it in the token file. Returned also if it can't be written.
    [[nodiscard]] static QString generateToken();
    /// Empty if there is none.
    [[nodiscard]] static QString readToken();

public slots:
    /// The hotkey went down, or came up, whoever watches for it. What is told twice counts once.
    void onSpacebarPressed();
    void onSpacebarReleased();

signals:
    void recordingStartRequested();
    void recordingStopRequested();
    void toggleRequested();
    void showHistoryRequested();

private slots:
    void handleXcbEvents();
    void onActivationTimerFired();

private:
    struct XcbState;

    static constexpr QLatin1StringView kToggleCommand{"toggle"};
    static constexpr QLatin1StringView kShowHistoryCommand{"show-history"};

    void registerX11Grab();
    bool registerWaylandPortalShortcut();
    void handleNewConnection();
    void handleMessage(QLocalSocket* socket);

    std::unique_ptr<XcbState> m_xcbState; ///< null unless the grab succeeded
    QSocketNotifier* m_notifier = nullptr;
    QTimer m_activationTimer{this};
    bool m_spacebarHeld = false;
    bool m_activated = false; ///< the hold was long enough, and a start was requested
    QLocalServer* m_ipcServer = nullptr;
    QString m_ipcName;
    QString m_ipcToken;
};
