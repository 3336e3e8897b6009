#include "app/RunningInstance.h"

#include "HeldKeys.h"
#include "account/SupabaseAuthClient.h"
#include "app/Client.h"
#include "app/CommandLine.h"
#include "app/Connections.h"
#include "app/QuitSignals.h"
#include "app/SessionLifecycle.h"
#include "app/SmokeModes.h"
#include "app/StartUp.h"
#include "app/Tray.h"
#include "app/Windows.h"
#include "assist/AssistFeatures.h"
#include "assist/KeptAbove.h"
#include "assist/MenuBackdrop.h"
#include "assist/MissingServerNotice.h"
#include "assist/PortalHotkey.h"
#include "assist/SecondStart.h"
#include "assist/WaylandPaste.h"
#include "assist/Xwayland.h"
#include "desktop/GlobalHotkeyManager.h"
#include "desktop/InputFocusMonitor.h"
#include "desktop/SessionDetector.h"
#include "desktop/TextInjectionService.h"
#include "dictation/OverlayStateModel.h"
#include "dictation/TranscriptionPipeline.h"
#include "storage/HistoryRepository.h"
#include "storage/SettingsStore.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDebug>
#include <QIcon>
#include <QQmlApplicationEngine>
#include <QQmlExtensionPlugin>
#include <QQuickStyle>
#include <QQuickWindow>
#include <QScopeGuard>
#include <QTimer>

Q_IMPORT_QML_PLUGIN(TarqLinuxPlugin)

using namespace Qt::StringLiterals;

namespace {

// Only through XWayland can the bubble choose its place and leave the keyboard alone. A platform
// that the user has chosen stays.
bool goesThroughXwayland()
{
    return SessionDetector::isWayland() && qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")
        && Assist::parseFeatures(foreseenVariable("TARQ_ASSIST")).testFlag(Assist::Feature::Wayland)
        && Assist::xServerAnswers();
}

void assistOnWayland(const SettingsStore& settings, const InputFocusMonitor& focusMonitor,
    OverlayStateModel& overlay, TranscriptionPipeline& pipeline, Windows& windows)
{
    // Nobody is told which Wayland window has the focus, so each counts as one that takes text: the
    // bubble stays on the screen.
    focusMonitor.disconnect(&overlay);
    overlay.setHasInputFocus(true);
    if (QGuiApplication::platformName() == "xcb"_L1) {
        windows.leaveUnmanaged();
        QObject::connect(&windows, &Windows::bubbleLoaded, &windows, [](QWindow* bubble) {
            new Assist::KeptAbove(bubble);
            new Assist::MenuBackdrop(bubble->property("contextMenuWindow").value<QWindow*>());
        });
    }
    TextInjectionService& injection = pipeline.textInjection();
    auto* paste = new Assist::WaylandPaste(
        settings.paths().configRoot + "/remote-keyboard.json"_L1, &injection);
    QObject::connect(
        paste, &Assist::WaylandPaste::advice, &overlay, &OverlayStateModel::setLastError);
    injection.setDelivery(paste);
    paste->begin();
}

// The desktop may watch for the hotkey where nothing can be grabbed.
void assistHold(GlobalHotkeyManager& hotkeys)
{
    auto* hotkey = new Assist::PortalHotkey(
        QDBusConnection::connectToBus(QDBusConnection::SessionBus, u"tarq-hotkey"_s), &hotkeys);
    QObject::connect(
        hotkey, &Assist::PortalHotkey::pressed, &hotkeys, &GlobalHotkeyManager::onSpacebarPressed);
    QObject::connect(hotkey, &Assist::PortalHotkey::released, &hotkeys,
        &GlobalHotkeyManager::onSpacebarReleased);
    hotkey->bind();
}

// The running application: owns every long-lived service, wires them, and runs the event loop. The
// order in which they stand is the order in which they may use each other; they die in reverse.
int runApplication(SettingsStore& settings)
{
    const Assist::Features assist = Assist::wantedFeatures();
    const QString supabaseUrl = qEnvironmentVariable("SUPABASE_URL");
    const QString supabaseAnonKey = qEnvironmentVariable("SUPABASE_ANON_KEY");
    if (supabaseUrl.isEmpty() || supabaseAnonKey.isEmpty()) {
        qCritical().noquote()
            << "SUPABASE_URL and SUPABASE_ANON_KEY must be set in environment or .env";
        if (assist.testFlag(Assist::Feature::Start)) {
            Assist::showMissingServerNotice(Assist::installedDocuments());
        }
        return 1;
    }

    SupabaseAuthClient auth(supabaseUrl, supabaseAnonKey);
    OverlayStateModel overlay;
    HistoryRepository history(settings.paths().historyFile);
    InputFocusMonitor focusMonitor;
    QObject::connect(&focusMonitor, &InputFocusMonitor::inputFocusChanged, &overlay,
        &OverlayStateModel::setHasInputFocus);

    TranscriptionPipeline pipeline(&overlay, &history, &focusMonitor);
    connectSettings(settings, overlay, pipeline);

    GlobalHotkeyManager hotkeys;
    hotkeys.setupIpcServer(kIpcName);
    if (assist.testFlag(Assist::Feature::Repeat)) {
        qputenv("TARQ_X11_DETECTABLE_REPEAT", "1");
    }
    hotkeys.registerSpacebarHold();
    connectHotkeys(hotkeys, pipeline);

    const HeldKeys heldKeys;
    Windows windows(settings, auth, overlay, history, pipeline);
    SessionLifecycle session(settings, auth, overlay, focusMonitor, pipeline, windows);
    connectWindows(overlay, hotkeys, windows);
    if (assist.testFlag(Assist::Feature::Wayland) && SessionDetector::isWayland()) {
        assistOnWayland(settings, focusMonitor, overlay, pipeline, windows);
    }
    if (assist.testFlag(Assist::Feature::Hold) && SessionDetector::isWayland()) {
        assistHold(hotkeys);
    }
    if (assist.testFlag(Assist::Feature::Start)) {
        Assist::presentLoginAtSecondStart(
            hotkeys, settings, [&windows]() { return windows.isHistoryLoaded(); },
            [&windows]() { windows.presentLogin(); });
    }
    connectAccountRequests(settings, overlay);
    buildTray(settings, overlay, windows);
    windows.showSplash();
    session.begin();

    return exitStatus(QApplication::exec());
}

} // namespace

int runInstance(int argc, char* argv[])
{
    // Our windows have transparent backgrounds, which must be known before the first one exists.
    QQuickWindow::setDefaultAlphaBuffer(true);
    const bool shows = CommandLine::foreseenMode(argc, argv) == CommandLine::Mode::Run;
    const bool throughXwayland = shows && goesThroughXwayland();
    if (!shows) {
        doWithoutDisplay();
    } else if (throughXwayland) {
        qputenv("QT_QPA_PLATFORM", "xcb");
    }
    QApplication application(argc, argv);
    if (throughXwayland) {
        // Chosen for this process alone, and not for a browser that it opens.
        qunsetenv("QT_QPA_PLATFORM");
    }
    // Windows that are open at the end go with the application, after all that they show. They go
    // first of what it owns, since a window can't do without an application that is whole.
    const auto windows = qScopeGuard([&application]() {
        qDeleteAll(application.findChildren<QQmlApplicationEngine*>(Qt::FindDirectChildrenOnly));
        // A Canvas has left what it painted on to an event loop that has ended.
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    });
    keepMediaBackendSilent();
    setIdentity();
    QGuiApplication::setWindowIcon(QIcon(u":/assets/tarq-linux.svg"_s));
    QQuickStyle::setStyle(u"Basic"_s);
    loadEnvironmentFiles();

    SettingsStore settings;
    prepareSettings(settings);
    QTimer::singleShot(0, &application, [&settings]() { settings.cleanStaleCacheFiles(); });

    const CommandLine commandLine(QCoreApplication::arguments());
    switch (commandLine.mode()) {
    case CommandLine::Mode::Help:
    case CommandLine::Mode::Toggle:
        return runClientMode(commandLine.mode());
    case CommandLine::Mode::SessionSmoke:
        return runSessionSmoke();
    case CommandLine::Mode::AmplitudeSmoke:
        return runAmplitudeSmoke(commandLine);
    case CommandLine::Mode::RecordingWaveSmoke:
        return runRecordingWaveSmoke(commandLine);
    case CommandLine::Mode::AudioSmoke:
        return runAudioSmoke(commandLine);
    case CommandLine::Mode::Run:
        break;
    }
    if (GlobalHotkeyManager::sendShowHistoryCommand(kIpcName)) {
        // A first instance answered; it shows its history, and this one has nothing left to do.
        return 0;
    }
    return runApplication(settings);
}
