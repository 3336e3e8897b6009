#pragma once

#include <QObject>
#include <QPointer>
#include <QQmlApplicationEngine>
#include <QString>
#include <QVariantMap>

#include <array>

class HistoryRepository;
class OverlayStateModel;
class QWindow;
class SettingsStore;
class SupabaseAuthClient;
class TranscriptionPipeline;

// Every window of the program: which document it shows, what the document gets, and what ends it.
// The table in the source is the whole policy. Each window has an engine of its own, since every
// document requires other properties. Created after the services that the documents show, and
// destroyed before them, with the bubble and the history; the windows that are open then stay with
// the application object, and lose what they show.
class Windows final : public QObject
{
    Q_OBJECT

public:
    Windows(SettingsStore& settings, SupabaseAuthClient& auth, OverlayStateModel& overlay,
        HistoryRepository& history, TranscriptionPipeline& pipeline, QObject* parent = nullptr);
    ~Windows() override;

    /// Takes the bubble and the splash from the window manager: they neither take the focus nor
    /// does anybody place them. Before the first of them is loaded.
    void leaveUnmanaged();

    /// Once in a process. The bubble then shows whenever the model says so.
    void loadBubble();
    /// Once in a process. The history stays hidden until it is asked for.
    void loadHistory();

    /// The splash goes by itself, when its document says that it is done.
    void showSplash();
    /// A login window that is open already isn't even raised.
    void showLogin();
    /// Opens the login window, or brings the one that there is to the screen and to the front.
    void presentLogin();
    /// The only end of a login window; does nothing if there is none.
    void closeLogin();
    [[nodiscard]] bool isHistoryLoaded() const;
    /// Raises the history, if it is loaded.
    void showHistory();
    /// It stays loaded.
    void hideHistory();
    /// Opens the settings, or raises those that are open; hiding them is their end.
    void showSettings();
    /// The same for the about window.
    void showAbout();
    /// The same for the profile. It shows the account that is stored when it opens.
    void showProfile();
    /// Does nothing if no profile is open.
    void closeProfile();

signals:
    void bubbleLoaded(QWindow* bubble);

private:
    enum Name { Bubble, History, Login, Settings, About, Profile, Splash, Count };
    enum class Ending { Never, ByProgram, WhenHidden, WhenDone };
    struct Policy {
        QString document;
        QVariantMap properties;
        Ending ending = Ending::Never;
    };
    using Table = std::array<Policy, Count>;

    static Table policies(SettingsStore& settings, SupabaseAuthClient& auth,
        OverlayStateModel& overlay, HistoryRepository& history, TranscriptionPipeline& pipeline);
    void prepare(Name name, QQmlApplicationEngine* engine);
    void load(Name name);
    void openOrRaise(Name name);
    void open(Name name);
    void close(Name name);
    void release(Name name);

    const SettingsStore& m_settings;
    OverlayStateModel& m_overlay;
    Table m_policies;
    QQmlApplicationEngine m_mainEngine;
    QQmlApplicationEngine m_historyEngine;
    // A window exists as long as its engine stands here: the two above always, the others while
    // they are open.
    std::array<QPointer<QQmlApplicationEngine>, Count> m_engines;
};
