#pragma once

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusObjectPath>
#include <QObject>
#include <QString>
#include <QVariantMap>

namespace Assist {

struct PortalAnswer;

/// A shortcut as the portal writes it, (sa{sv}).
struct PortalShortcut {
    QString id;
    QVariantMap properties;
};
QDBusArgument& operator<<(QDBusArgument& argument, const PortalShortcut& shortcut);
const QDBusArgument& operator>>(const QDBusArgument& argument, PortalShortcut& shortcut);

// Super+Space on Wayland, watched for by the desktop, through the portal's interface
// GlobalShortcuts: tells when the key goes down and when it comes up. The desktop may ask the user
// for the key in a dialog, and keeps the answer. GNOME needs the program's desktop file to be
// installed, and has Super+Space itself: there it is Ctrl+Super+Space. Needs a portal that a
// program can tell its name (1.20): those before open KDE's settings at each start, and bind
// nothing.
class PortalHotkey final : public QObject
{
    Q_OBJECT

public:
    /// `bus` must not have been used for calls of the portal: a program can't name itself later.
    explicit PortalHotkey(const QDBusConnection& bus, QObject* parent = nullptr);

    /// Asks for the key, and ends in bound() or failed(). Once in a run.
    void bind();

signals:
    void bound();
    void failed();

    void pressed();
    void released();

private slots:
    void handleActivated(const QDBusObjectPath& session, const QString& shortcut,
        qulonglong timestamp, const QVariantMap& options);
    void handleDeactivated(const QDBusObjectPath& session, const QString& shortcut,
        qulonglong timestamp, const QVariantMap& options);
    void handleClosed();

private:
    void findOutAboutGnome();
    void createSession();
    void bindShortcut();
    void askForBinding();
    void handleBinding(const PortalAnswer& answer);
    void fail(const QString& reason);
    void release();

    QDBusConnection m_bus;
    QDBusObjectPath m_session;
    bool m_gnome = false;
    bool m_down = false;
};

} // namespace Assist

Q_DECLARE_METATYPE(Assist::PortalShortcut)
