#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QString>
#include <QVariantMap>

#include <functional>

namespace Assist {

/// Where the desktop portal lives on the session bus (XDG Desktop Portal).
inline constexpr auto kPortalService = "org.freedesktop.portal.Desktop";
inline constexpr auto kPortalPath = "/org/freedesktop/portal/desktop";

struct PortalAnswer {
    enum class Result { Granted, RefusedByUser, Failed };
    Result result = Result::Failed;
    QVariantMap results;
    QString error; ///< for the log; empty unless the call itself failed
};

// One call of the portal that is answered later, by a signal of a request object: most of them show
// a dialog. Nothing waits. Belongs to its parent, and deletes itself after its answer.
class PortalRequest final : public QObject
{
    Q_OBJECT

public:
    using Handler = std::function<void(const PortalAnswer&)>;

    /// Calls `method` with `arguments`, and behind them `options` with the token of the request.
    /// `handler` is called once, unless `parent` dies first.
    static void call(const QDBusConnection& bus, const QString& interface, const QString& method,
        const QVariantList& arguments, QVariantMap options, QObject* parent, Handler handler);

    /// A name for a session or a request, as an element of a D-Bus object path.
    [[nodiscard]] static QString newToken();

private slots:
    void handleResponse(uint response, const QVariantMap& results);

private:
    PortalRequest(const QDBusConnection& bus, QObject* parent, Handler handler);
    void listen(const QString& requestPath);
    void finish(const PortalAnswer& answer);

    QDBusConnection m_bus;
    Handler m_handler;
};

} // namespace Assist
