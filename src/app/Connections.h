#pragma once

class GlobalHotkeyManager;
class OverlayStateModel;
class SettingsStore;
class TranscriptionPipeline;
class Windows;

// What the services tell each other, one function for each pair that main introduces. The services
// know nothing of one another; all of them have to outlive the event loop.

/// Hands the stored microphone and language to the pipeline, now and at every change. A changed
/// hotkey only leaves a notice: it isn't rebound while the program runs.
void connectSettings(
    SettingsStore& settings, OverlayStateModel& overlay, TranscriptionPipeline& pipeline);

void connectHotkeys(GlobalHotkeyManager& hotkeys, TranscriptionPipeline& pipeline);

/// What asks for a window: the bubble, and a second start of the program.
void connectWindows(
    const OverlayStateModel& overlay, const GlobalHotkeyManager& hotkeys, Windows& windows);

void connectAccountRequests(const SettingsStore& settings, OverlayStateModel& overlay);
