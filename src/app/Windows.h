#pragma once

#include <QObject>
#include <QPointer>
#include <QQmlApplicationEngine>
#include <QString>
#include <QVariantMap>

#include <array>

class HistoryRepository;
class OverlayStateModel;
class SettingsStore;
class SupabaseAuthClient;
class TranscriptionPipeline;

// Every window of the program: which document it shows, what the document gets, and what ends it.
// The table in the source is the whole policy. Each window has an engine of its own, since every
// document requires other properties. Created by main after the services that the documents show,
// and destroyed before them.
class Windows final : public QObject
{
    Q_OBJECT

public:
    Windows(SettingsStore& settings, SupabaseAuthClient& auth, OverlayStateModel& overlay,
        HistoryRepository& history, TranscriptionPipeline& pipeline, QObject* parent = nullptr);
    ~Windows() override;

    /// Once in a process. The bubble shows when the model says so; the history stays hidden.
    void loadBubble();
    void loadHistory();

    void showSplash();
    /// A login window that is open already isn't even raised.
    void showLogin();
    void closeLogin();
    /// Does nothing until the history has been loaded.
    void showHistory();
    void hideHistory();
    void showSettings();
    void showAbout();
    /// Shows the account that is stored now; a window that is open keeps the one it shows.
    void showProfile();
    void closeProfile();

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
