#include "assist/StandInPortal.h"

using namespace Qt::StringLiterals;

namespace {

const QString kService = u"org.freedesktop.portal.Desktop"_s;
const QString kPath = u"/org/freedesktop/portal/desktop"_s;
const QString kConnection = u"stand-in portal"_s;

} // namespace

StandInPortal::StandInPortal()
    : m_bus(QDBusConnection::connectToBus(QDBusConnection::SessionBus, kConnection))
{
    m_bus.registerObject(kPath, this, QDBusConnection::ExportAllSlots);
    m_bus.registerService(kService);
}

StandInPortal::~StandInPortal()
{
    m_bus.unregisterService(kService);
    QDBusConnection::disconnectFromBus(kConnection);
}

void StandInPortal::answerStart(uint response, const QVariantMap& results)
{
    m_startResponse = response;
    m_startResults = results;
}

void StandInPortal::closeSession()
{
    m_bus.send(QDBusMessage::createSignal(
        kPath + "/session/one"_L1, u"org.freedesktop.portal.Session"_s, u"Closed"_s));
}

void StandInPortal::answerKey()
{
    m_bus.send(m_lastKey.createReply());
}

QDBusObjectPath StandInPortal::CreateSession(const QVariantMap& options, const QDBusMessage& call)
{
    return answer(options, call, 0, {{u"session_handle"_s, QString(kPath + "/session/one"_L1)}});
}

QDBusObjectPath StandInPortal::SelectDevices(
    const QDBusObjectPath& /*session*/, const QVariantMap& options, const QDBusMessage& call)
{
    m_deviceOptions = options;
    m_deviceOptions.remove(u"handle_token"_s);
    return answer(options, call, 0, {});
}

QDBusObjectPath StandInPortal::Start(const QDBusObjectPath& /*session*/,
    const QString& /*parentWindow*/, const QVariantMap& options, const QDBusMessage& call)
{
    return answer(options, call, m_startResponse, m_startResults);
}

void StandInPortal::NotifyKeyboardKeysym(const QDBusObjectPath& session,
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
