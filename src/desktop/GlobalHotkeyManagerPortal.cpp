// The desktop portal, which is asked where nothing can be grabbed.

#include "desktop/GlobalHotkeyManager.h"

#include <QDBusConnection>
#include <QDBusInterface>
#include <QDBusMessage>
#include <QDebug>
#include <QUuid>

using namespace Qt::StringLiterals;

bool GlobalHotkeyManager::registerWaylandPortalShortcut()
{
    QDBusInterface portal(u"org.freedesktop.portal.Desktop"_s, u"/org/freedesktop/portal/desktop"_s,
        u"org.freedesktop.portal.GlobalShortcuts"_s, QDBusConnection::sessionBus());
    if (!portal.isValid()) {
        qInfo().noquote()
            << "Wayland: GlobalShortcuts portal not available — use 'tarq-linux --toggle' "
               "from your compositor's keybinding";
        return false;
    }
    const QString token = QUuid::createUuid().toString(QUuid::WithoutBraces).first(8);
    const QVariantMap options{
        {u"handle_token"_s, "tarq_"_L1 + token},
        {u"session_handle_token"_s, "tarq_session_"_L1 + token},
    };
    // The session alone binds no key; it lets a compositor that supports it show its dialog.
    const QDBusMessage reply = portal.call(QDBus::AutoDetect, u"CreateSession"_s, options);
    if (reply.type() == QDBusMessage::ErrorMessage) {
        qWarning() << "Portal CreateSession failed:" << reply.errorMessage();
        qInfo().noquote()
            << "Wayland fallback: bind 'tarq-linux --toggle' in your compositor settings";
        return false;
    }
    qInfo().noquote() << "Wayland portal session requested — if your compositor supports "
                         "GlobalShortcuts, a system dialog will let you bind a key to Tarq.";
    qInfo().noquote()
        << "Otherwise, manually bind 'tarq-linux --toggle' in your compositor settings.";
    return true;
}
