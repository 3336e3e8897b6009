#include "assist/PortalHotkey.h"
#include "assist/StandInPortal.h"
#include "support/TarqTest.h"

using namespace Qt::StringLiterals;
using Assist::PortalHotkey;

namespace {

const QString kSession = u"one"_s;
const QString kHotkey = u"hold-to-record"_s;

struct Outcomes {
    explicit Outcomes(const PortalHotkey& hotkey)
        : bound(&hotkey, &PortalHotkey::bound)
        , failed(&hotkey, &PortalHotkey::failed)
        , pressed(&hotkey, &PortalHotkey::pressed)
        , released(&hotkey, &PortalHotkey::released)
    {
    }

    QSignalSpy bound;
    QSignalSpy failed;
    QSignalSpy pressed;
    QSignalSpy released;
};

} // namespace

class PortalHotkeyTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void init();

    void superAndSpaceAreAskedForByTheProgramsName();
    void gnomeIsAskedForAnotherKey();
    void whatIsBoundCountsAndNotWhatIsAnswered();
    void absentPortalBindsNothing();
    void olderPortalIsAskedForNothing();
    void keyThatRepeatsIsOnePress();
    void otherShortcutsAndSessionsAreNoPress_data();
    void otherShortcutsAndSessionsAreNoPress();
    void sessionThatEndsLetsGoOfTheKey();

private:
    QDBusConnection m_bus = QDBusConnection::sessionBus();
};

void PortalHotkeyTest::init()
{
    TarqTest::init();
    QVERIFY(m_bus.isConnected());
}

void PortalHotkeyTest::superAndSpaceAreAskedForByTheProgramsName()
{
    StandInShortcutPortal portal;
    PortalHotkey hotkey(m_bus);
    const Outcomes outcomes(hotkey);
    hotkey.bind();
    QTRY_COMPARE(outcomes.bound.size(), 1);
    QCOMPARE(outcomes.failed.size(), 0);
    QCOMPARE(portal.program(), u"tarq-linux"_s);
    QCOMPARE(
        portal.calls(), (QStringList{u"CreateSession"_s, u"BindShortcuts"_s, u"ListShortcuts"_s}));
    QCOMPARE(portal.shortcuts().size(), 1);
    const QVariantMap properties = portal.shortcuts().first().properties;
    QCOMPARE(properties.value(u"preferred_trigger"_s).toString(), u"LOGO+space"_s);
    QVERIFY(!properties.value(u"description"_s).toString().isEmpty());
}

void PortalHotkeyTest::gnomeIsAskedForAnotherKey()
{
    QVERIFY(m_bus.registerService(u"org.gnome.Shell"_s));
    StandInShortcutPortal portal;
    PortalHotkey hotkey(m_bus);
    const Outcomes outcomes(hotkey);
    hotkey.bind();
    QTRY_COMPARE(outcomes.bound.size(), 1);
    m_bus.unregisterService(u"org.gnome.Shell"_s);
    QCOMPARE(portal.shortcuts().first().properties.value(u"preferred_trigger"_s).toString(),
        u"CTRL+LOGO+space"_s);
}

void PortalHotkeyTest::whatIsBoundCountsAndNotWhatIsAnswered()
{
    StandInShortcutPortal portal;
    portal.refuse();
    PortalHotkey hotkey(m_bus);
    const Outcomes outcomes(hotkey);
    hotkey.bind();
    QTRY_COMPARE(outcomes.failed.size(), 1);
    QCOMPARE(outcomes.bound.size(), 0);
}

void PortalHotkeyTest::absentPortalBindsNothing()
{
    PortalHotkey hotkey(m_bus);
    const Outcomes outcomes(hotkey);
    hotkey.bind();
    QTRY_COMPARE(outcomes.failed.size(), 1);
}

// It would open its settings.
void PortalHotkeyTest::olderPortalIsAskedForNothing()
{
    const StandInKeyboardPortal portal;
    PortalHotkey hotkey(m_bus);
    const Outcomes outcomes(hotkey);
    hotkey.bind();
    QTRY_COMPARE(outcomes.failed.size(), 1);
    QCOMPARE(portal.calls(), QStringList());
}

void PortalHotkeyTest::keyThatRepeatsIsOnePress()
{
    StandInShortcutPortal portal;
    PortalHotkey hotkey(m_bus);
    const Outcomes outcomes(hotkey);
    hotkey.bind();
    QTRY_COMPARE(outcomes.bound.size(), 1);
    for (int hold = 1; hold <= 2; ++hold) {
        for (int repeat = 0; repeat < 30; ++repeat) {
            portal.tell(u"Activated"_s, kSession, kHotkey);
        }
        portal.tell(u"Deactivated"_s, kSession, kHotkey);
        QTRY_COMPARE(outcomes.released.size(), hold);
        QCOMPARE(outcomes.pressed.size(), hold);
    }
    // A release that comes twice is none.
    portal.tell(u"Deactivated"_s, kSession, kHotkey);
    portal.tell(u"Activated"_s, kSession, kHotkey);
    QTRY_COMPARE(outcomes.pressed.size(), 3);
    QCOMPARE(outcomes.released.size(), 2);
}

void PortalHotkeyTest::otherShortcutsAndSessionsAreNoPress_data()
{
    QTest::addColumn<QString>("session");
    QTest::addColumn<QString>("shortcut");
    QTest::newRow("another session") << u"two"_s << kHotkey;
    QTest::newRow("another shortcut") << kSession << u"another"_s;
}

void PortalHotkeyTest::otherShortcutsAndSessionsAreNoPress()
{
    QFETCH(QString, session);
    QFETCH(QString, shortcut);
    StandInShortcutPortal portal;
    PortalHotkey hotkey(m_bus);
    const Outcomes outcomes(hotkey);
    hotkey.bind();
    QTRY_COMPARE(outcomes.bound.size(), 1);
    portal.tell(u"Activated"_s, session, shortcut);
    portal.tell(u"Deactivated"_s, session, shortcut);
    portal.tell(u"Activated"_s, kSession, kHotkey);
    QTRY_COMPARE(outcomes.pressed.size(), 1);
    QCOMPARE(outcomes.released.size(), 0);
    portal.tell(u"Deactivated"_s, session, shortcut);
    portal.tell(u"Deactivated"_s, kSession, kHotkey);
    QTRY_COMPARE(outcomes.released.size(), 1);
}

// Nobody tells of the release any more, and a recording would go on for ever.
void PortalHotkeyTest::sessionThatEndsLetsGoOfTheKey()
{
    StandInShortcutPortal portal;
    PortalHotkey hotkey(m_bus);
    const Outcomes outcomes(hotkey);
    hotkey.bind();
    QTRY_COMPARE(outcomes.bound.size(), 1);
    portal.tell(u"Activated"_s, kSession, kHotkey);
    QTRY_COMPARE(outcomes.pressed.size(), 1);
    portal.closeSession();
    QTRY_COMPARE(outcomes.released.size(), 1);
}

QTEST_GUILESS_MAIN(PortalHotkeyTest)
#include "PortalHotkeyTest.moc"
