#include "assist/PortalRequest.h"

#include "assist/DBusCall.h"

#include <QDBusMessage>
#include <QUuid>

#include <utility>

using namespace Qt::StringLiterals;

namespace Assist {

namespace {

const QString kRequestInterface = u"org.freedesktop.portal.Request"_s;

// The path that the portal gives the request of a caller (documented with its interface Request).
QString requestPath(const QDBusConnection& bus, const QString& token)
{
    const QString sender = bus.baseService().mid(1).replace(u'.', u'_');
    return QLatin1StringView(kPortalPath) + "/request/"_L1 + sender + u'/' + token;
}

} // namespace

void PortalRequest::call(const QDBusConnection& bus, const QString& interface,
    const QString& method, const QVariantList& arguments, QVariantMap options, QObject* parent,
    Handler handler)
{
    auto* request = new PortalRequest(bus, parent, std::move(handler));
    const QString token = newToken();
    // Before the call, since the answer may come at once.
    request->listen(requestPath(bus, token));
    options.insert(u"handle_token"_s, token);

    QDBusMessage message = QDBusMessage::createMethodCall(
        QLatin1StringView(kPortalService), QLatin1StringView(kPortalPath), interface, method);
    message.setArguments(arguments + QVariantList{options});
    callDBus(bus, message, request, [request](const QDBusMessage& reply) {
        if (reply.type() == QDBusMessage::ErrorMessage) {
            request->finish({PortalAnswer::Result::Failed, {}, reply.errorMessage()});
        }
    });
}

QString PortalRequest::newToken()
{
    return "tarq_"_L1 + QUuid::createUuid().toString(QUuid::Id128);
}

PortalRequest::PortalRequest(const QDBusConnection& bus, QObject* parent, Handler handler)
    : QObject(parent)
    , m_bus(bus)
    , m_handler(std::move(handler))
{
}

void PortalRequest::listen(const QString& requestPath)
{
    // From any sender: to name the portal would mean a blocking question for its unique name, and
    // nobody else knows the path.
    m_bus.connect(QString(), requestPath, kRequestInterface, u"Response"_s, this,
        SLOT(handleResponse(uint, QVariantMap)));
}

void PortalRequest::handleResponse(uint response, const QVariantMap& results)
{
    switch (response) {
    case 0:
        finish({PortalAnswer::Result::Granted, results, {}});
        break;
    case 1:
        finish({PortalAnswer::Result::RefusedByUser, results, {}});
        break;
    default:
        finish({PortalAnswer::Result::Failed, results, {}});
        break;
    }
}

void PortalRequest::finish(const PortalAnswer& answer)
{
    if (m_handler == nullptr) {
        return;
    }
    const Handler handler = std::exchange(m_handler, nullptr);
    deleteLater();
    handler(answer);
}

} // namespace Assist
