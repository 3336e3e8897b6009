#include "assist/WaylandPaste.h"

#include "assist/DBusCall.h"
#include "assist/PortalRequest.h"
#include "assist/RemoteKeyboard.h"
#include "assist/WaylandTools.h"

#include <QClipboard>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QDebug>
#include <QGuiApplication>
#include <QTimer>

#include <utility>

using namespace Qt::StringLiterals;

namespace Assist {

namespace {

// A compositor tells the Wayland windows of an X11 program's clipboard a moment later.
constexpr int kClipboardDelayMs = 100;

const QString kOnClipboard = u" The text is on the clipboard."_s;
const QString kInHistory = u" The text is in the history."_s;

QDBusMessage portalVersionCall()
{
    QDBusMessage message = QDBusMessage::createMethodCall(QLatin1StringView(kPortalService),
        QLatin1StringView(kPortalPath), u"org.freedesktop.DBus.Properties"_s, u"Get"_s);
    message.setArguments({u"org.freedesktop.portal.RemoteDesktop"_s, u"version"_s});
    return message;
}

} // namespace

WaylandPaste::WaylandPaste(QString tokenFile, QObject* parent)
    : QObject(parent)
    , m_tokenFile(std::move(tokenFile))
{
}

void WaylandPaste::begin()
{
    m_facts = measureWaylandFacts();
    callDBus(QDBusConnection::sessionBus(), portalVersionCall(), this,
        [this](const QDBusMessage& reply) {
            const auto version = reply.arguments().value(0).value<QDBusVariant>();
            choose(version.variant().toUInt());
        });
}

void WaylandPaste::deliver(const QString& text, Handler done)
{
    switch (m_means.clipboard) {
    case WaylandMeans::Clipboard::WlCopy:
        deliverByWlCopy(text, done);
        break;
    case WaylandMeans::Clipboard::Qt:
        deliverByQt(text, done);
        break;
    case WaylandMeans::Clipboard::None:
        done(u"Tarq can't reach the clipboard here."_s + kInHistory);
        break;
    }
}

void WaylandPaste::choose(uint portalVersion)
{
    m_facts.remoteDesktopPortal = portalVersion > 0;
    m_means = chooseWaylandMeans(m_facts);
    qInfo().noquote() << m_means.description();
    for (const QString& sentence : m_means.advice) {
        qInfo().noquote() << sentence;
        emit advice(sentence);
    }
    if (m_means.keys == WaylandMeans::Keys::Wtype) {
        m_keys = new WtypeKeyboard(this);
    } else if (m_means.keys == WaylandMeans::Keys::Portal) {
        openPortal(portalVersion);
    }
}

void WaylandPaste::openPortal(uint portalVersion)
{
    auto* keyboard = new RemoteKeyboard(QDBusConnection::sessionBus(), m_tokenFile, this);
    connect(keyboard, &RemoteKeyboard::refused, this, [this](const QString& reason) {
        qWarning().noquote() << "Wayland: the desktop portal presses no keys:" << reason;
        emit advice(u"Tarq may not press keys: paste by hand, or start it again and allow it."_s);
    });
    connect(keyboard, &RemoteKeyboard::closed, this, [this]() {
        qWarning().noquote() << "Wayland: the desktop portal's session was closed";
        emit advice(u"Tarq may press no more keys until it is started again: paste by hand."_s);
    });
    m_keys = keyboard;
    keyboard->open(portalVersion);
}

void WaylandPaste::deliverByWlCopy(const QString& text, const Handler& done)
{
    copyOnWayland(WaylandSelection::Clipboard, text, this, [this, text, done](bool copied) {
        if (!copied) {
            done(u"The clipboard didn't take the text."_s + kInHistory);
            return;
        }
        copyOnWayland(WaylandSelection::Primary, text, this, [this, done](bool primary) {
            pressKeys(primary ? PasteCombination::ShiftInsert : PasteCombination::CtrlV, done);
        });
    });
}

void WaylandPaste::deliverByQt(const QString& text, const Handler& done)
{
    QClipboard* clipboard = QGuiApplication::clipboard();
    clipboard->setText(text, QClipboard::Clipboard);
    if (m_means.primary) {
        clipboard->setText(text, QClipboard::Selection);
    }
    QTimer::singleShot(kClipboardDelayMs, this, [this, clipboard, done]() {
        if (!clipboard->ownsClipboard()) {
            done(u"Another program took the clipboard."_s + kInHistory);
            return;
        }
        const bool primary = m_means.primary && clipboard->ownsSelection();
        pressKeys(primary ? PasteCombination::ShiftInsert : PasteCombination::CtrlV, done);
    });
}

void WaylandPaste::pressKeys(PasteCombination combination, const Handler& done)
{
    if (m_keys == nullptr) {
        done(u"Tarq can't press keys here."_s + kOnClipboard);
        return;
    }
    m_keys->press(combination, [done](const QString& error) {
        done(error.isEmpty() ? QString() : error + u'.' + kOnClipboard);
    });
}

} // namespace Assist
