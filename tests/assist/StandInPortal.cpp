#include "assist/StandInPortal.h"

#include <QDBusMetaType>

using namespace Qt::StringLiterals;

namespace {

const QString kService = u"org.freedesktop.portal.Desktop"_s;
const QString kPath = u"/org/freedesktop/portal/desktop"_s;
const QString kConnection = u"stand-in portal"_s;

} // namespace

StandInPortal::StandInPortal()
    : m_bus(QDBusConnection::connectToBus(QDBusConnection::SessionBus, kConnection))
{
    m_bus.registerObject(
        kPath, this, QDBusConnection::ExportAllSlots | QDBusConnection::ExportAdaptors);
    m_bus.registerService(kService);
}

StandInPortal::~StandInPortal()
{
    m_bus.unregisterService(kService);
    QDBusConnection::disconnectFromBus(kConnection);
}

void StandInKeyboardPortal::answerStart(uint response, const QVariantMap& results)
{
    m_startResponse = response;
    m_startResults = results;
}

void StandInPortal::closeSession()
{
    m_bus.send(QDBusMessage::createSignal(
        kPath + "/session/one"_L1, u"org.freedesktop.portal.Session"_s, u"Closed"_s));
}

void StandInKeyboardPortal::answerKey()
{
    m_bus.send(m_lastKey.createReply());
}

QDBusObjectPath StandInPortal::CreateSession(const QVariantMap& options, const QDBusMessage& call)
{
    return answer(options, call, 0, {{u"session_handle"_s, QString(kPath + "/session/one"_L1)}});
}

QDBusObjectPath StandInKeyboardPortal::SelectDevices(
    const QDBusObjectPath& /*session*/, const QVariantMap& options, const QDBusMessage& call)
{
    m_deviceOptions = options;
    m_deviceOptions.remove(u"handle_token"_s);
    return answer(options, call, 0, {});
}

QDBusObjectPath StandInKeyboardPortal::Start(const QDBusObjectPath& /*session*/,
    const QString& /*parentWindow*/, const QVariantMap& options, const QDBusMessage& call)
{
    return answer(options, call, m_startResponse, m_startResults);
}

void StandInKeyboardPortal::NotifyKeyboardKeysym(const QDBusObjectPath& session,
    const QVariantMap& /*options*/, int keysym, uint state, const QDBusMessage& call)
{
    call.setDelayedReply(m_holdsKeys);
    m_lastKey = call;
    if (session.path() == kPath + "/session/one"_L1) {
        m_keys += state == 1 ? keysym : -keysym;
    }
}

QDBusObjectPath StandInPortal::answer(
    const QVariantMap& options, const QDBusMessage& call, uint response, const QVariantMap& results)
{
    m_calls += call.member();
    const QString sender = call.service().sliced(1).replace(u'.', u'_');
    const QString token = options.value(u"handle_token"_s).toString();
    const QString path = kPath + "/request/"_L1 + sender + u'/' + token;
    QDBusMessage signal
        = QDBusMessage::createSignal(path, u"org.freedesktop.portal.Request"_s, u"Response"_s);
    signal.setArguments({response, results});
    // Before the call has returned, as a portal may that has nothing to ask.
    m_bus.send(signal);
    return QDBusObjectPath(path);
}

StandInShortcutPortal::StandInShortcutPortal()
{
    qDBusRegisterMetaType<Assist::PortalShortcut>();
    qDBusRegisterMetaType<QList<Assist::PortalShortcut>>();
    new StandInRegistry(this);
}

void StandInShortcutPortal::tell(
    const QString& signal, const QString& session, const QString& shortcut)
{
    QDBusMessage message
        = QDBusMessage::createSignal(kPath, u"org.freedesktop.portal.GlobalShortcuts"_s, signal);
    message.setArguments({QVariant::fromValue(QDBusObjectPath(kPath + "/session/"_L1 + session)),
        shortcut, qulonglong(0), QVariantMap()});
    m_bus.send(message);
}

QDBusObjectPath StandInShortcutPortal::BindShortcuts(const QDBusObjectPath& /*session*/,
    const QList<Assist::PortalShortcut>& shortcuts, const QString& /*parentWindow*/,
    const QVariantMap& options, const QDBusMessage& call)
{
    m_shortcuts = shortcuts;
    // As GNOME answers, whatever has come of it.
    return answer(options, call, 2, {});
}

QDBusObjectPath StandInShortcutPortal::ListShortcuts(
    const QDBusObjectPath& /*session*/, const QVariantMap& options, const QDBusMessage& call)
{
    return answer(options, call, 0,
        {{u"shortcuts"_s,
            QVariant::fromValue(m_binds ? m_shortcuts : QList<Assist::PortalShortcut>())}});
}

StandInRegistry::StandInRegistry(StandInShortcutPortal* portal)
    : QDBusAbstractAdaptor(portal)
    , m_portal(portal)
{
}

void StandInRegistry::Register(const QString& program, const QVariantMap& /*options*/)
{
    if (m_portal->calls().isEmpty()) {
        m_portal->m_program = program;
    }
}
