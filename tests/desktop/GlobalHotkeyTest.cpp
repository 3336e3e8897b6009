#include "desktop/HotkeyTest.h"

#include <QElapsedTimer>
#include <QTimer>

using namespace Qt::StringLiterals;

class GlobalHotkeyTest final : public HotkeyTest
{
    Q_OBJECT

private slots:
    void holdTakesOneAndAHalfSeconds();
    void shortHoldDoesNothing();
    void longHoldStartsAtOnceAndStopsAtTheRelease();
    void quickTapsDoNothing();
    void eachPressCountsFromZero();
    void repeatedPressesAreOneHold();
    void releaseAndPressBeginANewHold();
    void releaseAndPressOfAnActiveHoldStopIt();
    void locksDoNotMatter_data();
    void locksDoNotMatter();
    void otherModifiersDoNotMatch_data();
    void otherModifiersDoNotMatch();
    void superReleasedFirstStopsAtSpace();
    void otherKeysAreNotOurs();
    void autoRepeatKeepsAHoldFromLasting();
    void detectableRepeatLetsAHoldLast();
    void otherValuesOfTheVariableAskForNothing();
    void noServerMeansNoHotkey();
    void fiveHundredTaps();
};

void GlobalHotkeyTest::holdTakesOneAndAHalfSeconds()
{
    GlobalHotkeyManager manager;
    const auto* timer = manager.findChild<QTimer*>(u"activationTimer"_s);
    QCOMPARE(timer->interval(), 1500);
    QVERIFY(timer->isSingleShot());
    QVERIFY(!timer->isActive());
}

void GlobalHotkeyTest::shortHoldDoesNothing()
{
    // Longer than a busy machine takes for the release.
    start(5000);
    down(u"super"_s);
    down(u"space"_s);
    QVERIFY(!m_starts->wait(1300));
    up(u"space"_s);
    QVERIFY(!m_starts->wait(500));
    QCOMPARE(m_stops->count(), 0);
}

void GlobalHotkeyTest::longHoldStartsAtOnceAndStopsAtTheRelease()
{
    start(1500);
    down(u"super"_s);
    QElapsedTimer clock;
    clock.start();
    down(u"space"_s);
    QVERIFY(m_starts->wait(5000));
    QVERIFY(clock.elapsed() >= 1420); // a coarse timer may be five per cent early
    QCOMPARE(m_stops->count(), 0);
    up(u"space"_s);
    QVERIFY(m_stops->count() == 1 || m_stops->wait(5000));
    QCOMPARE(m_starts->count(), 1);
    QCOMPARE(m_stops->count(), 1);
}

void GlobalHotkeyTest::quickTapsDoNothing()
{
    start(1500);
    down(u"super"_s);
    for (int tap = 0; tap < 2; ++tap) {
        down(u"space"_s);
        up(u"space"_s);
    }
    QVERIFY(!m_starts->wait(300));
    QCOMPARE(m_stops->count(), 0);
    QVERIFY(!m_manager->findChild<QTimer*>(u"activationTimer"_s)->isActive());
}

void GlobalHotkeyTest::eachPressCountsFromZero()
{
    start(10'000);
    const auto* timer = m_manager->findChild<QTimer*>(u"activationTimer"_s);
    down(u"super"_s);
    down(u"space"_s);
    QTRY_VERIFY(timer->isActive() && timer->remainingTime() < 8000);
    up(u"space"_s);
    QTRY_VERIFY(!timer->isActive());
    down(u"space"_s);
    QTRY_VERIFY(timer->isActive());
    QVERIFY(timer->remainingTime() > 8500);
}

void GlobalHotkeyTest::repeatedPressesAreOneHold()
{
    start(60000);
    auto* timer = m_manager->findChild<QTimer*>(u"activationTimer"_s);
    QVERIFY(QMetaObject::invokeMethod(m_manager.get(), "onSpacebarPressed"));
    QTRY_VERIFY(timer->remainingTime() < 59900);
    QVERIFY(QMetaObject::invokeMethod(m_manager.get(), "onSpacebarPressed"));
    QVERIFY(timer->remainingTime() < 59900);
    timer->start(0);
    QVERIFY(m_starts->wait());
    QVERIFY(QMetaObject::invokeMethod(m_manager.get(), "onSpacebarPressed"));
    QVERIFY(!timer->isActive());
    QCOMPARE(m_starts->count(), 1);
    QCOMPARE(m_stops->count(), 0);
}

void GlobalHotkeyTest::releaseAndPressBeginANewHold()
{
    start(60000);
    const auto* timer = m_manager->findChild<QTimer*>(u"activationTimer"_s);
    QVERIFY(QMetaObject::invokeMethod(m_manager.get(), "onSpacebarPressed"));
    QTRY_VERIFY(timer->remainingTime() < 56000);
    QVERIFY(QMetaObject::invokeMethod(m_manager.get(), "onSpacebarReleased"));
    QVERIFY(QMetaObject::invokeMethod(m_manager.get(), "onSpacebarPressed"));
    QVERIFY(timer->remainingTime() > 56500);
    QCOMPARE(m_starts->count(), 0);
    QCOMPARE(m_stops->count(), 0);
}

void GlobalHotkeyTest::releaseAndPressOfAnActiveHoldStopIt()
{
    start();
    down(u"super"_s);
    down(u"space"_s);
    QVERIFY(m_starts->wait(5000));
    up(u"space"_s);
    down(u"space"_s);
    QTRY_COMPARE(m_stops->count(), 1);
    QTRY_COMPARE(m_starts->count(), 2);
}

void GlobalHotkeyTest::locksDoNotMatter_data()
{
    QTest::addColumn<QStringList>("locks");
    QTest::newRow("none") << QStringList{};
    QTest::newRow("NumLock") << QStringList{u"Num_Lock"_s};
    QTest::newRow("CapsLock") << QStringList{u"Caps_Lock"_s};
    QTest::newRow("both") << QStringList{u"Num_Lock"_s, u"Caps_Lock"_s};
}

void GlobalHotkeyTest::locksDoNotMatter()
{
    QFETCH(QStringList, locks);
    start();
    for (const QString& lock : locks) {
        QVERIFY(run(u"xdotool"_s, {u"key"_s, lock}));
    }
    down(u"super"_s);
    down(u"space"_s);
    const bool started = m_starts->wait(5000);
    up(u"space"_s);
    for (const QString& lock : locks) {
        QVERIFY(run(u"xdotool"_s, {u"key"_s, lock}));
    }
    QVERIFY(started);
    QTRY_COMPARE(m_stops->count(), 1);
}

void GlobalHotkeyTest::otherModifiersDoNotMatch_data()
{
    QTest::addColumn<QString>("modifier");
    QTest::newRow("shift") << u"shift"_s;
    QTest::newRow("control") << u"ctrl"_s;
    QTest::newRow("alt") << u"alt"_s;
}

void GlobalHotkeyTest::otherModifiersDoNotMatch()
{
    QFETCH(QString, modifier);
    start();
    down(modifier);
    down(u"super"_s);
    down(u"space"_s);
    QVERIFY(!m_starts->wait(600));
}

void GlobalHotkeyTest::superReleasedFirstStopsAtSpace()
{
    start();
    down(u"super"_s);
    down(u"space"_s);
    QVERIFY(m_starts->wait(5000));
    up(u"super"_s);
    QVERIFY(!m_stops->wait(300));
    up(u"space"_s);
    QVERIFY(m_stops->wait(5000));
}

void GlobalHotkeyTest::otherKeysAreNotOurs()
{
    start();
    down(u"super"_s);
    QVERIFY(run(u"xdotool"_s, {u"keydown"_s, u"a"_s}));
    QVERIFY(!m_starts->wait(500));
    QVERIFY(run(u"xdotool"_s, {u"keyup"_s, u"a"_s}));
    up(u"super"_s);
    down(u"space"_s);
    QVERIFY(!m_starts->wait(500));
}

void GlobalHotkeyTest::autoRepeatKeepsAHoldFromLasting()
{
    // The server tells each repeat as a release and a press, each of which counts.
    setRepeat(true);
    start(1500);
    down(u"super"_s);
    down(u"space"_s);
    QVERIFY(!m_starts->wait(3000));
    QCOMPARE(m_stops->count(), 0);
}

void GlobalHotkeyTest::detectableRepeatLetsAHoldLast()
{
    setRepeat(true);
    const ScopedVariable detectable("TARQ_X11_DETECTABLE_REPEAT", "1");
    start(1500);
    down(u"super"_s);
    down(u"space"_s);
    QVERIFY(m_starts->wait(5000));
    QVERIFY(!m_stops->wait(1000));
    up(u"space"_s);
    QVERIFY(m_stops->wait(5000));
    QCOMPARE(m_starts->count(), 1);
}

void GlobalHotkeyTest::otherValuesOfTheVariableAskForNothing()
{
    setRepeat(true);
    const ScopedVariable detectable("TARQ_X11_DETECTABLE_REPEAT", "0");
    start(1500);
    down(u"super"_s);
    down(u"space"_s);
    QVERIFY(!m_starts->wait(2500));
}

void GlobalHotkeyTest::noServerMeansNoHotkey()
{
    const ScopedVariable display("DISPLAY", ":59535"); // the last one that has a port
    QTest::ignoreMessage(QtWarningMsg, "Failed to connect to X server");
    m_manager = std::make_unique<GlobalHotkeyManager>();
    m_manager->registerSpacebarHold();
    QVERIFY(!isRegistered());
    m_manager.reset();
}

void GlobalHotkeyTest::fiveHundredTaps()
{
    start(1500);
    down(u"super"_s);
    QVERIFY(
        run(u"xdotool"_s, {u"key"_s, u"--repeat"_s, u"500"_s, u"--delay"_s, u"1"_s, u"space"_s}));
    QVERIFY(!m_starts->wait(300));
    QCOMPARE(m_stops->count(), 0);
    down(u"space"_s);
    QVERIFY(m_starts->wait(5000));
}

QTEST_GUILESS_MAIN(GlobalHotkeyTest)
#include "GlobalHotkeyTest.moc"
