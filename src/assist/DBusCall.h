#pragma once

#include <QDBusMessage>

#include <functional>

class QDBusConnection;
class QObject;

namespace Assist {

/// Makes a call, and hands its reply or its error to `handler`, unless `parent` dies first. Nothing
/// waits.
void callDBus(const QDBusConnection& bus, const QDBusMessage& call, QObject* parent,
    std::function<void(const QDBusMessage& reply)> handler);

} // namespace Assist
