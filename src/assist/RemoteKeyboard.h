#pragma once

#include "assist/PasteKeys.h"

#include <QDBusConnection>
#include <QDBusObjectPath>
#include <QList>
#include <QObject>
#include <QString>

namespace Assist {

struct PortalAnswer;

// Presses keys in the window that has the focus, through the desktop portal's interface
// RemoteDesktop: the one way that GNOME and KDE give. Needs the user's permission once: the portal
// asks for it in a dialog, which takes the focus, so open() belongs to the start of the program and
// not to a dictation. From version 2 on the permission is kept by a token, which lies in the
// private directory. A refusal, and a session that the user has closed, hold until the next run.
class RemoteKeyboard final : public QObject, public PasteKeys
{
    Q_OBJECT

public:
    /// `tokenFile` is where the permission is kept, readable by its owner alone.
    RemoteKeyboard(const QDBusConnection& bus, QString tokenFile, QObject* parent = nullptr);

    /// Asks for the permission, and ends in opened() or refused(). Once in a run.
    void open(uint portalVersion);
    [[nodiscard]] bool isOpen() const { return m_open; }

    void press(PasteCombination combination, PressedHandler done) override;

signals:
    void opened();
    /// With the reason, for the log.
    void refused(const QString& reason);
    /// The user, or the desktop, has ended the session.
    void closed();

private slots:
    void handleClosed();

private:
    struct KeyEvent {
        int keysym = 0;
        bool down = false;
    };

    void selectDevices(uint portalVersion);
    void start();
    /// One after the other: a portal answers calls side by side, and a release that overtakes its
    /// press leaves a key down.
    void send(QList<KeyEvent> events, PressedHandler done);
    void storeToken(const QString& token) const;
    [[nodiscard]] QString storedToken() const;
    void giveUp(const QString& step, const PortalAnswer& answer);

    QDBusConnection m_bus;
    const QString m_tokenFile;
    QDBusObjectPath m_session;
    bool m_open = false;
};

} // namespace Assist
