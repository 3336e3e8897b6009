#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantMap>

// Takes the place of the desktop's portal for keys on the test's own session bus. Its answers come
// as the real one's do: by a signal of the request, from another connection than the caller's.
class StandInPortal final : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.RemoteDesktop")

public:
    StandInPortal();
    ~StandInPortal() override;

    /// What Start answers: 0 grants, 1 is the user's refusal. The results go with it.
    void answerStart(uint response, const QVariantMap& results = {});
    /// From now on a key is answered by answerKey() alone, the last one that came.
    void holdKeys() { m_holdsKeys = true; }
    void answerKey();
    /// Ends the session, as the user can.
    void closeSession();

    [[nodiscard]] QStringList calls() const { return m_calls; }
    [[nodiscard]] QVariantMap deviceOptions() const { return m_deviceOptions; }
    /// Each key as its keysym, negative for its release.
    [[nodiscard]] QList<int> keys() const { return m_keys; }

public slots:
    QDBusObjectPath CreateSession(const QVariantMap& options, const QDBusMessage& call);
    QDBusObjectPath SelectDevices(
        const QDBusObjectPath& session, const QVariantMap& options, const QDBusMessage& call);
    QDBusObjectPath Start(const QDBusObjectPath& session, const QString& parentWindow,
        const QVariantMap& options, const QDBusMessage& call);
    void NotifyKeyboardKeysym(const QDBusObjectPath& session, const QVariantMap& options,
        int keysym, uint state, const QDBusMessage& call);

private:
    QDBusObjectPath answer(const QVariantMap& options, const QDBusMessage& call, uint response,
        const QVariantMap& results);

    QDBusConnection m_bus;
    uint m_startResponse = 0;
    QVariantMap m_startResults;
    QStringList m_calls;
    QVariantMap m_deviceOptions;
    QList<int> m_keys;
    bool m_holdsKeys = false;
    QDBusMessage m_lastKey;
};
