#pragma once

class OverlayStateModel;
class SettingsStore;
class Windows;

/// Puts an icon into the system tray, if there is one and the user wants it: a way to the windows
/// and to the end of the program while the bubble is hidden. Decided once in a process.
void buildTray(const SettingsStore& settings, OverlayStateModel& overlay, Windows& windows);
