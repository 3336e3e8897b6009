#include "app/Connections.h"

#include "app/AccountRequests.h"
#include "app/Windows.h"
#include "desktop/GlobalHotkeyManager.h"
#include "dictation/OverlayStateModel.h"
#include "dictation/TranscriptionPipeline.h"
#include "storage/SettingsStore.h"

#include <QCoreApplication>

using namespace Qt::StringLiterals;

void connectSettings(
    SettingsStore& settings, OverlayStateModel& overlay, TranscriptionPipeline& pipeline)
{
    pipeline.setPreferredAudioDeviceId(settings.microphoneDeviceId());
    QObject::connect(&settings, &SettingsStore::microphoneDeviceIdChanged, qApp,
        [&]() { pipeline.setPreferredAudioDeviceId(settings.microphoneDeviceId()); });
    pipeline.setTranscriptionLanguage(settings.transcriptionLanguage());
    QObject::connect(&settings, &SettingsStore::transcriptionLanguageChanged, qApp,
        [&]() { pipeline.setTranscriptionLanguage(settings.transcriptionLanguage()); });
    QObject::connect(&settings, &SettingsStore::recordingHotkeyChanged, qApp,
        [&]() { overlay.setLastError(u"Hotkey saved. Restart Tarq for it to take effect."_s); });
}

void connectHotkeys(GlobalHotkeyManager& hotkeys, TranscriptionPipeline& pipeline)
{
    QObject::connect(&hotkeys, &GlobalHotkeyManager::recordingStartRequested, &pipeline,
        &TranscriptionPipeline::startRecordingExplicit);
    QObject::connect(&hotkeys, &GlobalHotkeyManager::recordingStopRequested, &pipeline,
        &TranscriptionPipeline::stopRecordingExplicit);
    QObject::connect(
        &hotkeys, &GlobalHotkeyManager::toggleRequested, &pipeline, &TranscriptionPipeline::toggle);
}

void connectWindows(
    const OverlayStateModel& overlay, const GlobalHotkeyManager& hotkeys, Windows& windows)
{
    QObject::connect(
        &overlay, &OverlayStateModel::historyRequested, &windows, &Windows::showHistory);
    QObject::connect(
        &hotkeys, &GlobalHotkeyManager::showHistoryRequested, &windows, &Windows::showHistory);
    QObject::connect(
        &overlay, &OverlayStateModel::settingsRequested, &windows, &Windows::showSettings);
    QObject::connect(&overlay, &OverlayStateModel::aboutRequested, &windows, &Windows::showAbout);
    QObject::connect(
        &overlay, &OverlayStateModel::profileRequested, &windows, &Windows::showProfile);
}

void connectAccountRequests(const SettingsStore& settings, OverlayStateModel& overlay)
{
    QObject::connect(&overlay, &OverlayStateModel::exportDataRequested, qApp,
        [&]() { exportAccountData(settings, overlay); });
    QObject::connect(&overlay, &OverlayStateModel::deleteAccountRequested, qApp,
        [&]() { deleteAccount(settings, overlay); });
}
