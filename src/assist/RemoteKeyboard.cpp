#include "assist/RemoteKeyboard.h"

#include "assist/DBusCall.h"
#include "assist/PortalRequest.h"
#include "storage/JsonFile.h"

#include <QDBusMessage>
#include <QDebug>
#include <QJsonDocument>

#include <utility>

using namespace Qt::StringLiterals;

namespace Assist {

namespace {

const QString kInterface = u"org.freedesktop.portal.RemoteDesktop"_s;
constexpr auto kRestoreToken = "restore_token"_L1;

constexpr uint kKeyboard = 1; // of the portal's device types
constexpr uint kUntilRevoked = 2; // of its ways to keep a permission
constexpr uint kFirstVersionWithTokens = 2;

// Keysyms of the X Window System (keysymdef.h).
constexpr int kShift = 0xffe1;
constexpr int kControl = 0xffe3;
constexpr int kInsert = 0xff63;
constexpr int kV = 0x76;

// The modifier, and the key that it is held for.
std::pair<int, int> keysyms(PasteCombination combination)
{
    return combination == PasteCombination::CtrlV ? std::pair(kControl, kV)
                                                  : std::pair(kShift, kInsert);
}

} // namespace

RemoteKeyboard::RemoteKeyboard(const QDBusConnection& bus, QString tokenFile, QObject* parent)
    : QObject(parent)
    , m_bus(bus)
    , m_tokenFile(std::move(tokenFile))
{
}

void RemoteKeyboard::open(uint portalVersion)
{
    PortalRequest::call(m_bus, kInterface, u"CreateSession"_s, {},
        {{u"session_handle_token"_s, PortalRequest::newToken()}}, this,
        [this, portalVersion](const PortalAnswer& answer) {
            if (answer.result != PortalAnswer::Result::Granted) {
                giveUp(u"CreateSession"_s, answer);
                return;
            }
            m_session = QDBusObjectPath(answer.results.value(u"session_handle"_s).toString());
            m_bus.connect(QString(), m_session.path(), u"org.freedesktop.portal.Session"_s,
                u"Closed"_s, this, SLOT(handleClosed()));
            selectDevices(portalVersion);
        });
}

void RemoteKeyboard::press(PasteCombination combination, PressedHandler done)
{
    if (!m_open) {
        done(u"The desktop doesn't let Tarq press keys"_s);
        return;
    }
    const auto [modifier, key] = keysyms(combination);
    send({{modifier, true}, {key, true}, {key, false}, {modifier, false}}, std::move(done));
}

void RemoteKeyboard::handleClosed()
{
    // A dialog that is dismissed is told by its answer.
    if (std::exchange(m_open, false)) {
        emit closed();
    }
}

void RemoteKeyboard::selectDevices(uint portalVersion)
{
    QVariantMap options{{u"types"_s, kKeyboard}};
    if (portalVersion >= kFirstVersionWithTokens) {
        options.insert(u"persist_mode"_s, kUntilRevoked);
        const QString token = storedToken();
        if (!token.isEmpty()) {
            options.insert(kRestoreToken, token);
        }
    }
    PortalRequest::call(m_bus, kInterface, u"SelectDevices"_s, {QVariant::fromValue(m_session)},
        options, this, [this](const PortalAnswer& answer) {
            if (answer.result != PortalAnswer::Result::Granted) {
                giveUp(u"SelectDevices"_s, answer);
                return;
            }
            start();
        });
}

void RemoteKeyboard::start()
{
    const QString noParentWindow;
    PortalRequest::call(m_bus, kInterface, u"Start"_s,
        {QVariant::fromValue(m_session), noParentWindow}, {}, this,
        [this](const PortalAnswer& answer) {
            if (answer.result != PortalAnswer::Result::Granted) {
                giveUp(u"Start"_s, answer);
                return;
            }
            // It may be another one each time.
            storeToken(answer.results.value(kRestoreToken).toString());
            m_open = true;
            emit opened();
        });
}

void RemoteKeyboard::send(QList<KeyEvent> events, PressedHandler done)
{
    const KeyEvent event = events.takeFirst();
    QDBusMessage message = QDBusMessage::createMethodCall(QLatin1StringView(kPortalService),
        QLatin1StringView(kPortalPath), kInterface, u"NotifyKeyboardKeysym"_s);
    message.setArguments(
        {QVariant::fromValue(m_session), QVariantMap(), event.keysym, event.down ? 1U : 0U});
    callDBus(m_bus, message, this,
        [this, events = std::move(events), done = std::move(done)](const QDBusMessage& reply) {
            if (reply.type() == QDBusMessage::ErrorMessage) {
                done(reply.errorMessage());
            } else if (events.isEmpty()) {
                done({});
            } else {
                send(events, done);
            }
        });
}

void RemoteKeyboard::storeToken(const QString& token) const
{
    if (token.isEmpty()) {
        return;
    }
    QString error;
    if (!writeJsonFile(m_tokenFile, QJsonDocument({{kRestoreToken, token}}).toJson(), &error)) {
        qWarning().noquote() << error;
    }
}

QString RemoteKeyboard::storedToken() const
{
    return readJsonObject(m_tokenFile).value_or(QJsonObject()).value(kRestoreToken).toString();
}

void RemoteKeyboard::giveUp(const QString& step, const PortalAnswer& answer)
{
    if (answer.result == PortalAnswer::Result::RefusedByUser) {
        emit refused(u"the permission was refused"_s);
    } else {
        emit refused(answer.error.isEmpty() ? step + " failed"_L1 : answer.error);
    }
}

} // namespace Assist
