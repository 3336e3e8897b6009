// The program itself. A press of a key on Wayland is a start of `tarq-linux --toggle`, which has to
// be over in an instant, and most of a start went into loading the libraries of the interface.
// So the running instance lies in a module of its own, which is loaded only where it is needed.

#include "app/Client.h"
#include "app/CommandLine.h"
#include "app/InstanceModule.h"
#include "app/Logging.h"
#include "app/QuitSignals.h"
#include "app/StartUp.h"
#include "storage/SettingsStore.h"

#include <QApplication>

namespace {

// The fast way of what ends at once. The module can do the same, for the start of which only the
// application object knows that it does.
int runClient(int argc, char* argv[])
{
    doWithoutDisplay();
    const QApplication application(argc, argv);
    setIdentity();
    loadEnvironmentFiles();
    SettingsStore settings;
    prepareSettings(settings);
    return runClientMode(CommandLine(QCoreApplication::arguments()).mode());
}

} // namespace

int main(int argc, char* argv[])
{
    // Before anything that takes its time: a signal must not end a start, and a warning has a form.
    installQuitSignals();
    installMessageHandler();
    return isClientMode(CommandLine::foreseenMode(argc, argv)) ? runClient(argc, argv)
                                                               : runInstanceModule(argc, argv);
}
