#pragma once

#include <functional>

class GlobalHotkeyManager;
class SettingsStore;

namespace Assist {

/// Has a second start of the program bring the login window to the screen where nobody is signed
/// in, or not yet: otherwise it would show the history, which isn't there before the first sign-in.
/// Needs the toggle channel. `isLoaded` tells whether there is a history, and `presentLogin` opens
/// the login window or brings it to the front.
void presentLoginAtSecondStart(const GlobalHotkeyManager& hotkeys, const SettingsStore& settings,
    std::function<bool()> isLoaded, std::function<void()> presentLogin);

} // namespace Assist
