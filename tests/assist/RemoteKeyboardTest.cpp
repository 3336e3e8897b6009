#include "assist/RemoteKeyboard.h"
#include "assist/StandInPortal.h"
#include "support/TarqTest.h"

using namespace Qt::StringLiterals;
using Assist::PasteCombination;
using Assist::RemoteKeyboard;

namespace {

constexpr int kShift = 0xffe1;
constexpr int kControl = 0xffe3;
constexpr int kInsert = 0xff63;
constexpr int kV = 0x76;

// What came of an attempt to open the keyboard.
struct Outcomes {
    explicit Outcomes(const RemoteKeyboard& keyboard)
        : opened(&keyboard, &RemoteKeyboard::opened)
        , refused(&keyboard, &RemoteKeyboard::refused)
        , closed(&keyboard, &RemoteKeyboard::closed)
    {
    }

    QSignalSpy opened;
    QSignalSpy refused;
    QSignalSpy closed;
};

} // namespace

class RemoteKeyboardTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void init();

    void permissionIsAskedForTheKeyboardAlone_data();
    void permissionIsAskedForTheKeyboardAlone();
    void permissionIsKeptForTheOwnerAndGoesBackAtTheNextStart();
    void permissionThatChangesIsKeptAnew();
    void keysArePressedAndReleased_data();
    void keysArePressedAndReleased();
    void keyWaitsForTheAnswerToTheLastOne();
    void refusalIsTold_data();
    void refusalIsTold();
    void absentPortalIsARefusal();
    void noKeyIsPressedBeforeThePermission();
    void closedSessionIsToldAndPressesNothing();
    void failedKeyIsTold();

private:
    [[nodiscard]] QString tokenFile() const { return homePath(u"remote-keyboard.json"_s); }
    static QString errorOfPress(RemoteKeyboard& keyboard, PasteCombination combination);

    QDBusConnection m_bus = QDBusConnection::sessionBus();
};

void RemoteKeyboardTest::init()
{
    TarqTest::init();
    QVERIFY(m_bus.isConnected());
}

// "never" if none came.
QString RemoteKeyboardTest::errorOfPress(RemoteKeyboard& keyboard, PasteCombination combination)
{
    QStringList errors;
    keyboard.press(combination, [&errors](const QString& error) { errors += error; });
    [&errors]() {
        QTRY_COMPARE(errors.size(), 1);
    }();
    return errors.value(0, u"never"_s);
}

void RemoteKeyboardTest::permissionIsAskedForTheKeyboardAlone_data()
{
    QTest::addColumn<uint>("version");
    QTest::addColumn<QVariantMap>("options");
    QTest::newRow("without a memory") << 1U << QVariantMap{{u"types"_s, 1U}};
    QTest::newRow("with one") << 2U << QVariantMap{{u"types"_s, 1U}, {u"persist_mode"_s, 2U}};
}

void RemoteKeyboardTest::permissionIsAskedForTheKeyboardAlone()
{
    QFETCH(uint, version);
    StandInKeyboardPortal portal;
    RemoteKeyboard keyboard(m_bus, tokenFile());
    const Outcomes outcomes(keyboard);
    keyboard.open(version);
    QTRY_COMPARE(outcomes.opened.size(), 1);
    QVERIFY(keyboard.isOpen());
    QCOMPARE(outcomes.refused.size(), 0);
    QCOMPARE(portal.calls(), (QStringList{u"CreateSession"_s, u"SelectDevices"_s, u"Start"_s}));
    QTEST(portal.deviceOptions(), "options");
    QVERIFY(!QFile::exists(tokenFile()));
}

void RemoteKeyboardTest::permissionIsKeptForTheOwnerAndGoesBackAtTheNextStart()
{
    StandInKeyboardPortal portal;
    portal.answerStart(0, {{u"restore_token"_s, u"permitted"_s}});
    {
        RemoteKeyboard keyboard(m_bus, tokenFile());
        const Outcomes outcomes(keyboard);
        keyboard.open(2);
        QTRY_COMPARE(outcomes.opened.size(), 1);
    }
    QCOMPARE(modeOf(tokenFile()), 0600U);
    RemoteKeyboard keyboard(m_bus, tokenFile());
    const Outcomes outcomes(keyboard);
    keyboard.open(2);
    QTRY_COMPARE(outcomes.opened.size(), 1);
    QCOMPARE(portal.deviceOptions().value(u"restore_token"_s).toString(), u"permitted"_s);
}

void RemoteKeyboardTest::permissionThatChangesIsKeptAnew()
{
    StandInKeyboardPortal portal;
    for (const QString& token : {u"first"_s, u"second"_s}) {
        portal.answerStart(0, {{u"restore_token"_s, token}});
        RemoteKeyboard keyboard(m_bus, tokenFile());
        const Outcomes outcomes(keyboard);
        keyboard.open(2);
        QTRY_COMPARE(outcomes.opened.size(), 1);
    }
    QVERIFY(readFile(tokenFile()).contains("second"));
    QVERIFY(!readFile(tokenFile()).contains("first"));
}

void RemoteKeyboardTest::keysArePressedAndReleased_data()
{
    QTest::addColumn<PasteCombination>("combination");
    QTest::addColumn<QList<int>>("keys");
    QTest::newRow("ctrl+v") << PasteCombination::CtrlV << QList{kControl, kV, -kV, -kControl};
    QTest::newRow("shift+Insert") << PasteCombination::ShiftInsert
                                  << QList{kShift, kInsert, -kInsert, -kShift};
}

void RemoteKeyboardTest::keysArePressedAndReleased()
{
    QFETCH(PasteCombination, combination);
    StandInKeyboardPortal portal;
    RemoteKeyboard keyboard(m_bus, tokenFile());
    const Outcomes outcomes(keyboard);
    keyboard.open(1);
    QTRY_COMPARE(outcomes.opened.size(), 1);
    QCOMPARE(errorOfPress(keyboard, combination), QString());
    QTEST(portal.keys(), "keys");
}

void RemoteKeyboardTest::keyWaitsForTheAnswerToTheLastOne()
{
    StandInKeyboardPortal portal;
    RemoteKeyboard keyboard(m_bus, tokenFile());
    const Outcomes outcomes(keyboard);
    keyboard.open(1);
    QTRY_COMPARE(outcomes.opened.size(), 1);
    portal.holdKeys();
    keyboard.press(PasteCombination::CtrlV, [](const QString&) {});
    const QList keys{kControl, kV, -kV, -kControl};
    for (qsizetype count = 1; count <= keys.size(); ++count) {
        QTRY_COMPARE(portal.keys(), keys.first(count));
        // Whatever has been sent beside it arrives before the answer to this.
        m_bus.call(QDBusMessage::createMethodCall(
            u"org.freedesktop.DBus"_s, u"/"_s, u"org.freedesktop.DBus"_s, u"GetId"_s));
        QCoreApplication::processEvents();
        QCOMPARE(portal.keys(), keys.first(count));
        portal.answerKey();
    }
}

void RemoteKeyboardTest::refusalIsTold_data()
{
    QTest::addColumn<uint>("response");
    QTest::addColumn<QString>("reason");
    QTest::newRow("by the user") << 1U << u"the permission was refused"_s;
    QTest::newRow("by the portal") << 2U << u"Start failed"_s;
}

void RemoteKeyboardTest::refusalIsTold()
{
    QFETCH(uint, response);
    QFETCH(QString, reason);
    StandInKeyboardPortal portal;
    portal.answerStart(response);
    RemoteKeyboard keyboard(m_bus, tokenFile());
    const Outcomes outcomes(keyboard);
    keyboard.open(2);
    QTRY_COMPARE(outcomes.refused.size(), 1);
    QCOMPARE(outcomes.refused.first().first().toString(), reason);
    QCOMPARE(outcomes.opened.size(), 0);
    QVERIFY(!keyboard.isOpen());
}

void RemoteKeyboardTest::absentPortalIsARefusal()
{
    RemoteKeyboard keyboard(m_bus, tokenFile());
    const Outcomes outcomes(keyboard);
    keyboard.open(2);
    QTRY_COMPARE(outcomes.refused.size(), 1);
    QVERIFY(!outcomes.refused.first().first().toString().isEmpty());
}

void RemoteKeyboardTest::noKeyIsPressedBeforeThePermission()
{
    StandInKeyboardPortal portal;
    RemoteKeyboard keyboard(m_bus, tokenFile());
    QCOMPARE(errorOfPress(keyboard, PasteCombination::CtrlV),
        u"The desktop doesn't let Tarq press keys"_s);
    QCOMPARE(portal.keys(), QList<int>());
}

void RemoteKeyboardTest::closedSessionIsToldAndPressesNothing()
{
    StandInKeyboardPortal portal;
    RemoteKeyboard keyboard(m_bus, tokenFile());
    const Outcomes outcomes(keyboard);
    keyboard.open(1);
    QTRY_COMPARE(outcomes.opened.size(), 1);
    portal.closeSession();
    QTRY_COMPARE(outcomes.closed.size(), 1);
    QVERIFY(!errorOfPress(keyboard, PasteCombination::CtrlV).isEmpty());
    QCOMPARE(portal.keys(), QList<int>());
    // Nobody is asked again.
    QCOMPARE(portal.calls().count(u"Start"_s), 1);
}

void RemoteKeyboardTest::failedKeyIsTold()
{
    RemoteKeyboard keyboard(m_bus, tokenFile());
    const Outcomes outcomes(keyboard);
    {
        StandInKeyboardPortal portal;
        keyboard.open(1);
        QTRY_COMPARE(outcomes.opened.size(), 1);
    }
    // The portal has crashed.
    const QString error = errorOfPress(keyboard, PasteCombination::CtrlV);
    QVERIFY(!error.isEmpty());
    QVERIFY(error != u"never"_s);
}

QTEST_GUILESS_MAIN(RemoteKeyboardTest)
#include "RemoteKeyboardTest.moc"
