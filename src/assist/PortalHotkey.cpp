#include "assist/PortalHotkey.h"

#include "assist/DBusCall.h"
#include "assist/PortalRequest.h"

#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDebug>

#include <utility>

using namespace Qt::StringLiterals;

namespace Assist {

namespace {

const QString kInterface = u"org.freedesktop.portal.GlobalShortcuts"_s;
const QString kShortcutId = u"hold-to-record"_s;
const QString kDesktopFileId = u"tarq-linux"_s;

} // namespace

QDBusArgument& operator<<(QDBusArgument& argument, const PortalShortcut& shortcut)
{
    argument.beginStructure();
    argument << shortcut.id << shortcut.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, PortalShortcut& shortcut)
{
    argument.beginStructure();
    argument >> shortcut.id >> shortcut.properties;
    argument.endStructure();
    return argument;
}

PortalHotkey::PortalHotkey(const QDBusConnection& bus, QObject* parent)
    : QObject(parent)
    , m_bus(bus)
{
    qDBusRegisterMetaType<PortalShortcut>();
    qDBusRegisterMetaType<QList<PortalShortcut>>();
}

void PortalHotkey::bind()
{
    // Before any other call: GNOME binds no key for a program that it can't name. KDE does.
    QDBusMessage call = QDBusMessage::createMethodCall(QLatin1StringView(kPortalService),
        QLatin1StringView(kPortalPath), u"org.freedesktop.host.portal.Registry"_s, u"Register"_s);
    call.setArguments({kDesktopFileId, QVariantMap()});
    callDBus(m_bus, call, this, [this](const QDBusMessage& reply) {
        const bool isUnknown = reply.errorName() == "org.freedesktop.DBus.Error.UnknownMethod"_L1
            || reply.errorName() == "org.freedesktop.DBus.Error.UnknownInterface"_L1
            || reply.errorName() == "org.freedesktop.DBus.Error.ServiceUnknown"_L1;
        if (isUnknown) {
            fail(u"it has no desktop portal of version 1.20"_s);
            return;
        }
        findOutAboutGnome();
    });
}

void PortalHotkey::findOutAboutGnome()
{
    QDBusMessage call = QDBusMessage::createMethodCall(u"org.freedesktop.DBus"_s,
        u"/org/freedesktop/DBus"_s, u"org.freedesktop.DBus"_s, u"NameHasOwner"_s);
    call.setArguments({u"org.gnome.Shell"_s});
    callDBus(m_bus, call, this, [this](const QDBusMessage& reply) {
        m_gnome = reply.arguments().value(0).toBool();
        createSession();
    });
}

void PortalHotkey::createSession()
{
    PortalRequest::call(m_bus, kInterface, u"CreateSession"_s, {},
        {{u"session_handle_token"_s, PortalRequest::newToken()}}, this,
        [this](const PortalAnswer& answer) {
            if (answer.result != PortalAnswer::Result::Granted) {
                fail(answer.error.isEmpty() ? u"CreateSession failed"_s : answer.error);
                return;
            }
            m_session = QDBusObjectPath(answer.results.value(u"session_handle"_s).toString());
            m_bus.connect(QString(), m_session.path(), u"org.freedesktop.portal.Session"_s,
                u"Closed"_s, this, SLOT(handleClosed()));
            const QString portal = QLatin1StringView(kPortalPath);
            m_bus.connect(QString(), portal, kInterface, u"Activated"_s, this,
                SLOT(handleActivated(QDBusObjectPath, QString, qulonglong, QVariantMap)));
            m_bus.connect(QString(), portal, kInterface, u"Deactivated"_s, this,
                SLOT(handleDeactivated(QDBusObjectPath, QString, qulonglong, QVariantMap)));
            bindShortcut();
        });
}

void PortalHotkey::bindShortcut()
{
    const PortalShortcut shortcut{kShortcutId,
        {{u"description"_s, u"Hold to record"_s},
            {u"preferred_trigger"_s, m_gnome ? u"CTRL+LOGO+space"_s : u"LOGO+space"_s}}};
    const QString noParentWindow;
    PortalRequest::call(m_bus, kInterface, u"BindShortcuts"_s,
        {QVariant::fromValue(m_session), QVariant::fromValue(QList{shortcut}), noParentWindow}, {},
        this, [this](const PortalAnswer& /*answer*/) { askForBinding(); });
}

// GNOME answers that it has failed although the key is bound: what counts is the list.
void PortalHotkey::askForBinding()
{
    PortalRequest::call(m_bus, kInterface, u"ListShortcuts"_s, {QVariant::fromValue(m_session)}, {},
        this, [this](const PortalAnswer& answer) { handleBinding(answer); });
}

void PortalHotkey::handleBinding(const PortalAnswer& answer)
{
    const auto shortcuts = qdbus_cast<QList<PortalShortcut>>(answer.results.value(u"shortcuts"_s));
    for (const PortalShortcut& shortcut : shortcuts) {
        if (shortcut.id == kShortcutId) {
            qInfo().noquote() << "Wayland: hold the hotkey to record, which the desktop calls"
                              << shortcut.properties.value(u"trigger_description"_s).toString();
            emit bound();
            return;
        }
    }
    fail(u"no key is bound"_s);
}

void PortalHotkey::fail(const QString& reason)
{
    qInfo().noquote() << "Wayland: the desktop watches for no hotkey:" << reason;
    emit failed();
}

void PortalHotkey::handleActivated(const QDBusObjectPath& session, const QString& shortcut,
    qulonglong /*timestamp*/, const QVariantMap& /*options*/)
{
    // It is told again with every repeat of the key.
    if (session == m_session && shortcut == kShortcutId && !std::exchange(m_down, true)) {
        emit pressed();
    }
}

void PortalHotkey::handleDeactivated(const QDBusObjectPath& session, const QString& shortcut,
    qulonglong /*timestamp*/, const QVariantMap& /*options*/)
{
    if (session == m_session && shortcut == kShortcutId) {
        release();
    }
}

// Nobody would tell of the release any more.
void PortalHotkey::handleClosed()
{
    release();
}

void PortalHotkey::release()
{
    if (std::exchange(m_down, false)) {
        emit released();
    }
}

} // namespace Assist
