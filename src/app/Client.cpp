#include "app/Client.h"

#include "desktop/GlobalHotkeyManager.h"

#include <QDebug>

bool isClientMode(CommandLine::Mode mode)
{
    return mode == CommandLine::Mode::Help || mode == CommandLine::Mode::Toggle;
}

int runClientMode(CommandLine::Mode mode)
{
    if (mode == CommandLine::Mode::Help) {
        logHelp();
        return 0;
    }
    if (GlobalHotkeyManager::sendToggleCommand(kIpcName)) {
        return 0;
    }
    qWarning().noquote() << "No running Tarq instance found.";
    return 1;
}
