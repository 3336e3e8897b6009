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
