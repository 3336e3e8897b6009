#pragma once

#include "assist/PortalHotkey.h"

#include <QDBusAbstractAdaptor>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantMap>

// Takes the place of the desktop's portal on the test's own session bus. Its answers come as the
// real one's do: by a signal of the request, from another connection than the caller's.
class StandInPortal : public QObject
{
    Q_OBJECT

public:
    ~StandInPortal() override;

    /// Ends the session, as the user can.
    void closeSession();

    [[nodiscard]] QStringList calls() const { return m_calls; }

public slots:
    QDBusObjectPath CreateSession(const QVariantMap& options, const QDBusMessage& call);

protected:
    StandInPortal();

    QDBusObjectPath answer(const QVariantMap& options, const QDBusMessage& call, uint response,
        const QVariantMap& results);

    QDBusConnection m_bus;
    QStringList m_calls;
};

// The portal for keys.
class StandInKeyboardPortal final : public StandInPortal
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.RemoteDesktop")

public:
    /// What Start answers: 0 grants, 1 is the user's refusal. The results go with it.
    void answerStart(uint response, const QVariantMap& results = {});
    /// From now on a key is answered by answerKey() alone, the last one that came.
    void holdKeys() { m_holdsKeys = true; }
    void answerKey();

    [[nodiscard]] QVariantMap deviceOptions() const { return m_deviceOptions; }
    /// Each key as its keysym, negative for its release.
    [[nodiscard]] QList<int> keys() const { return m_keys; }

public slots:
    QDBusObjectPath SelectDevices(
        const QDBusObjectPath& session, const QVariantMap& options, const QDBusMessage& call);
    QDBusObjectPath Start(const QDBusObjectPath& session, const QString& parentWindow,
        const QVariantMap& options, const QDBusMessage& call);
    void NotifyKeyboardKeysym(const QDBusObjectPath& session, const QVariantMap& options,
        int keysym, uint state, const QDBusMessage& call);

private:
    uint m_startResponse = 0;
    QVariantMap m_startResults;
    QVariantMap m_deviceOptions;
    QList<int> m_keys;
    bool m_holdsKeys = false;
    QDBusMessage m_lastKey;
};

// The portal for hotkeys.
class StandInShortcutPortal final : public StandInPortal
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.GlobalShortcuts")

public:
    StandInShortcutPortal();

    /// Binds nothing, as when the user has said no.
    void refuse() { m_binds = false; }
    /// Tells that a shortcut of a session went down, or up.
    void tell(const QString& signal, const QString& session, const QString& shortcut);

    [[nodiscard]] const QList<Assist::PortalShortcut>& shortcuts() const { return m_shortcuts; }
    /// What the program called itself before its first call; empty if it didn't.
    [[nodiscard]] QString program() const { return m_program; }

public slots:
    QDBusObjectPath BindShortcuts(const QDBusObjectPath& session,
        const QList<Assist::PortalShortcut>& shortcuts, const QString& parentWindow,
        const QVariantMap& options, const QDBusMessage& call);
    QDBusObjectPath ListShortcuts(
        const QDBusObjectPath& session, const QVariantMap& options, const QDBusMessage& call);

private:
    friend class StandInRegistry;

    bool m_binds = true;
    QList<Assist::PortalShortcut> m_shortcuts;
    QString m_program;
};

// Where a program that no sandbox names says what it is.
class StandInRegistry final : public QDBusAbstractAdaptor
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.host.portal.Registry")

public:
    explicit StandInRegistry(StandInShortcutPortal* portal);

public slots:
    void Register(const QString& program, const QVariantMap& options);

private:
    StandInShortcutPortal* m_portal;
};
