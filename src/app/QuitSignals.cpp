#include "app/QuitSignals.h"

#include <QCoreApplication>

#include <cerrno>
#include <csignal>

#include <unistd.h>

namespace {

// The kernel gives a signal to whichever thread may have it, and not to the main one where that has
// another to handle yet. From any other thread quit() waits for the main one, which may just be
// waiting for that thread, as it does for the one that draws: so it's made to take its signals
// itself.
void signalHandler(int number)
{
    if (gettid() != getpid()) {
        const int error = errno;
        tgkill(getpid(), getpid(), number);
        errno = error;
        return;
    }
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
