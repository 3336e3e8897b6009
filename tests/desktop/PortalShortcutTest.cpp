#include "desktop/GlobalHotkeyManager.h"
#include "support/RecordedLog.h"
#include "support/TarqTest.h"

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QRegularExpression>
#include <QSemaphore>
#include <QThread>

using namespace Qt::StringLiterals;

namespace {

const QString kService = u"org.freedesktop.portal.Desktop"_s;
const QString kPath = u"/org/freedesktop/portal/desktop"_s;

const QString kTrying = u"info: Wayland session detected — trying GlobalShortcuts portal..."_s;
const QString kInstructions = u"info: \nWayland hotkey setup:\n"
                              "   1. Bind a custom keyboard shortcut in your compositor settings\n"
                              "   2. Set the command to: tarq-linux --toggle\n"
                              "   3. Suggested key: Super+Space\n"
                              "   GNOME: Settings → Keyboard → Keyboard Shortcuts → Custom\n"
                              "   KDE:   System Settings → Shortcuts → Custom Shortcuts\n"
                              "   sway/hyprland: edit your config and reload"_s;
const QStringList kAccepted{kTrying,
    u"info: Wayland portal session requested — if your compositor supports GlobalShortcuts, a "
    "system dialog will let you bind a key to Tarq."_s,
    u"info: Otherwise, manually bind 'tarq-linux --toggle' in your compositor settings."_s};

enum class Answer { Accept, Refuse, AcceptSlowly };

} // namespace

// Takes the place of the desktop's portal on the test's own session bus.
class StandInPortal final : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.GlobalShortcuts")

public:
    explicit StandInPortal(Answer answer)
        : m_answer(answer)
    {
    }

    [[nodiscard]] QList<QVariantMap> calls() const { return m_calls; }

public slots:
    QDBusObjectPath CreateSession(const QVariantMap& options)
    {
        m_calls.append(options);
        if (m_answer == Answer::Refuse) {
            sendErrorReply(QDBusError::AccessDenied, u"not for you"_s);
        }
        if (m_answer == Answer::AcceptSlowly) {
            QThread::msleep(1500);
        }
        return QDBusObjectPath(u"/org/freedesktop/portal/desktop/request/1"_s);
    }

private:
    const Answer m_answer;
    QList<QVariantMap> m_calls;
};

// The call blocks the thread that makes it, so the portal needs one of its own.
class PortalThread final : public QThread
{
    Q_OBJECT

public:
    explicit PortalThread(Answer answer)
        : m_answer(answer)
    {
        start();
        m_ready.acquire();
    }
    ~PortalThread() override
    {
        quit();
        wait();
    }
    Q_DISABLE_COPY_MOVE(PortalThread)

    QList<QVariantMap> stopAndTakeCalls()
    {
        quit();
        wait();
        return m_calls;
    }

protected:
    void run() override
    {
        StandInPortal portal(m_answer);
        {
            QDBusConnection bus
                = QDBusConnection::connectToBus(QDBusConnection::SessionBus, u"stand-in"_s);
            bus.registerObject(kPath, &portal, QDBusConnection::ExportAllSlots);
            bus.registerService(kService);
            m_ready.release();
            exec();
            bus.unregisterService(kService);
        }
        QDBusConnection::disconnectFromBus(u"stand-in"_s);
        m_calls = portal.calls();
    }

private:
    const Answer m_answer;
    QSemaphore m_ready;
    QList<QVariantMap> m_calls;
};

class PortalShortcutTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void absentPortalGivesInstructions_data();
    void absentPortalGivesInstructions();
    void refusingPortalGivesInstructions();
    void acceptingPortalGivesNoInstructions();
    void slowPortalIsWaitedFor();

private:
    /// Every line of the log, whatever its level.
    static QStringList linesOfARegistration()
    {
        const RecordedLog log;
        GlobalHotkeyManager manager;
        manager.registerSpacebarHold();
        return log.lines();
    }
};

void PortalShortcutTest::absentPortalGivesInstructions_data()
{
    QTest::addColumn<QByteArray>("sessionType");
    QTest::newRow("Wayland") << "wayland"_ba;
    QTest::newRow("unknown session") << "tty"_ba;
}

void PortalShortcutTest::absentPortalGivesInstructions()
{
    QFETCH(QByteArray, sessionType);
    const ScopedVariable session("XDG_SESSION_TYPE", sessionType);
    const ScopedVariable x11("DISPLAY");
    const ScopedVariable wayland("WAYLAND_DISPLAY");
    QCOMPARE(linesOfARegistration(),
        (QStringList{kTrying,
            u"info: Wayland: GlobalShortcuts portal not available — use 'tarq-linux --toggle' from "
            "your compositor's keybinding"_s,
            kInstructions}));
}

void PortalShortcutTest::refusingPortalGivesInstructions()
{
    const ScopedVariable session("XDG_SESSION_TYPE", "wayland");
    PortalThread portal(Answer::Refuse);
    QTest::ignoreMessage(QtWarningMsg, "Portal CreateSession failed: \"not for you\"");
    QCOMPARE(linesOfARegistration(),
        (QStringList{kTrying, u"warning: Portal CreateSession failed: \"not for you\""_s,
            u"info: Wayland fallback: bind 'tarq-linux --toggle' in your compositor settings"_s,
            kInstructions}));
    QCOMPARE(portal.stopAndTakeCalls().size(), 1);
}

void PortalShortcutTest::acceptingPortalGivesNoInstructions()
{
    const ScopedVariable session("XDG_SESSION_TYPE", "wayland");
    PortalThread portal(Answer::Accept);
    QCOMPARE(linesOfARegistration(), kAccepted);
    const QList<QVariantMap> calls = portal.stopAndTakeCalls();
    QCOMPARE(calls.size(), 1);
    QCOMPARE(calls.first().size(), 2);
    const QString token = calls.first().value(u"handle_token"_s).toString();
    QVERIFY2(
        QRegularExpression(u"^tarq_[0-9a-f]{8}$"_s).match(token).hasMatch(), qPrintable(token));
    QCOMPARE(calls.first().value(u"session_handle_token"_s).toString(),
        "tarq_session_"_L1 + token.sliced(5));
}

void PortalShortcutTest::slowPortalIsWaitedFor()
{
    const ScopedVariable session("XDG_SESSION_TYPE", "wayland");
    PortalThread portal(Answer::AcceptSlowly);
    QCOMPARE(linesOfARegistration(), kAccepted);
    QCOMPARE(portal.stopAndTakeCalls().size(), 1);
}

QTEST_GUILESS_MAIN(PortalShortcutTest)
#include "PortalShortcutTest.moc"
