// The program itself. A press of a key on Wayland is a start of `tarq-linux --toggle`, which has to
// be over in an instant, and most of a start went into loading the libraries of the interface.
// So the running instance lies in a module of its own, which is loaded only where it is needed.

#include "app/CommandLine.h"
#include "app/Logging.h"
#include "app/QuitSignals.h"
#include "app/RunningInstance.h"
#include "app/StartUp.h"
#include "desktop/GlobalHotkeyManager.h"
#include "storage/SettingsStore.h"

#include <QApplication>
#include <QDebug>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <dlfcn.h>

using namespace Qt::StringLiterals;

namespace {

int toggleRunningInstance()
{
    if (GlobalHotkeyManager::sendToggleCommand(kIpcName)) {
        return 0;
    }
    qWarning().noquote() << "No running Tarq instance found.";
    return 1;
}

int runClient(CommandLine::Mode mode, int argc, char* argv[])
{
    installQuitSignals();
    installMessageHandler();
    doWithoutDisplay();
    const QApplication application(argc, argv);
    setIdentity();
    loadEnvironmentFiles();
    SettingsStore settings;
    prepareSettings(settings);

    if (mode == CommandLine::Mode::Toggle) {
        return toggleRunningInstance();
    }
    logHelp();
    return 0;
}

// The module lies beside the program where both were built, and in a directory of its own where
// they were installed.
QString modulePath()
{
    const QDir here = QFileInfo(QFile::symLinkTarget(u"/proc/self/exe"_s)).dir();
    const QString beside = here.filePath(QStringLiteral(TARQ_INSTANCE_MODULE));
    return QFile::exists(beside)
        ? beside
        : here.filePath(QStringLiteral(TARQ_MODULE_DIRECTORY "/" TARQ_INSTANCE_MODULE));
}

int runInstance(int argc, char* argv[])
{
    void* const module = dlopen(QFile::encodeName(modulePath()).constData(), RTLD_LAZY);
    void* const entry = module != nullptr ? dlsym(module, kRunInstanceSymbol) : nullptr;
    if (entry == nullptr) {
        installMessageHandler();
        qWarning().noquote() << "Tarq is not installed completely:" << dlerror();
        return 1;
    }
    return reinterpret_cast<RunInstance*>(entry)(argc, argv);
}

} // namespace

int main(int argc, char* argv[])
{
    const CommandLine::Mode mode = CommandLine(commandLineWords(argc, argv)).mode();
    if (mode == CommandLine::Mode::Help || mode == CommandLine::Mode::Toggle) {
        return runClient(mode, argc, argv);
    }
    return runInstance(argc, argv);
}
