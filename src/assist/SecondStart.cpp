#include "assist/SecondStart.h"

#include "desktop/GlobalHotkeyManager.h"
#include "storage/SettingsStore.h"

#include <QCoreApplication>

#include <utility>

namespace Assist {

void presentLoginAtSecondStart(const GlobalHotkeyManager& hotkeys, const SettingsStore& settings,
    std::function<bool()> isLoaded, std::function<void()> presentLogin)
{
    QObject::connect(&hotkeys, &GlobalHotkeyManager::showHistoryRequested, qApp,
        [&settings, isLoaded = std::move(isLoaded), presentLogin = std::move(presentLogin)]() {
            if (!isLoaded() || settings.loadAuthTokens().accessToken.isEmpty()) {
                presentLogin();
            }
        });
}

} // namespace Assist
