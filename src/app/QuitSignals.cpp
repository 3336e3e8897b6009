#include "app/QuitSignals.h"

#include <QCoreApplication>

#include <csignal>

namespace {

void signalHandler(int /*signal*/)
{
    QCoreApplication::quit();
}

} // namespace

void installQuitSignals()
{
    std::signal(SIGINT, signalHandler);
    std::signal(SIGTERM, signalHandler);
}

int exitStatus(int loopStatus)
{
    constexpr int kNeverBegan = -1;
    return loopStatus == kNeverBegan ? 0 : loopStatus;
}
