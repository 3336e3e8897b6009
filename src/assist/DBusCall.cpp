#include "assist/DBusCall.h"

#include <QDBusConnection>
#include <QDBusPendingCallWatcher>

#include <utility>

namespace Assist {

void callDBus(const QDBusConnection& bus, const QDBusMessage& call, QObject* parent,
    std::function<void(const QDBusMessage& reply)> handler)
{
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(call), parent);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, parent,
        [watcher, handler = std::move(handler)]() {
            watcher->deleteLater();
            handler(watcher->reply());
        });
}

} // namespace Assist
