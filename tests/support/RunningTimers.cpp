#include "support/RunningTimers.h"

#include <QAbstractEventDispatcher>

int runningTimers(int periodMs)
{
    int count = 0;
    auto* dispatcher = QAbstractEventDispatcher::instance();
    for (QObject* object : dispatcher->children()) {
        for (const auto& timer : dispatcher->registeredTimers(object)) {
            count += timer.interval == periodMs ? 1 : 0;
        }
    }
    return count;
}
