#include "dictation/OverlayStateModel.h"
#include "support/TarqTest.h"

#include <QTimer>

using namespace Qt::StringLiterals;
using State = OverlayStateModel::State;

namespace {

constexpr int kIdleTimeoutMs = 5000;

} // namespace

class OverlayStateModelTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void newModelIsInvisibleInEveryState();
    void signInShowsTheBubbleAndStartsTheCount();
    void idleTimeoutIsFiveSeconds();
    void bubbleHidesWhenTheCountEnds();
    void focusKeepsTheBubbleAndStopsTheCount();
    void signOutWhileRecordingHidesButKeepsTheState();
    void signInAfterASignOutShowsAHiddenBubble();
    void focusBringsBackAHiddenBubble();
    void recordingBringsBackAHiddenBubble();
    void pingShowsAHiddenBubbleAndStartsTheCountAnew();
    void pingWithoutSignInStartsNothing();
    void stateNames_data();
    void stateNames();
    void unknownStateNameChangesNothing();
    void demoStepsThroughTheStates();
    void stateSignalComesBeforeVisibility();
    void equalScalesEmitNothing();
    void scalesRestAtATenth();
    void clearingNoErrorEmitsNothing();
    void sameErrorAgainEmitsNothing();
    void requestsOnlySignal_data();
    void requestsOnlySignal();

private:
    // Ends the count now, as if five seconds had passed.
    static void endCount(OverlayStateModel& model)
    {
        auto* timer = model.findChild<QTimer*>(u"idleTimer"_s);
        QVERIFY(timer->isActive());
        timer->start(0);
        QTRY_VERIFY(!timer->isActive());
        timer->setInterval(kIdleTimeoutMs);
    }

    static bool isCounting(const OverlayStateModel& model)
    {
        return model.findChild<QTimer*>(u"idleTimer"_s)->isActive();
    }
};

void OverlayStateModelTest::newModelIsInvisibleInEveryState()
{
    OverlayStateModel model;
    QSignalSpy visible(&model, &OverlayStateModel::visibleChanged);
    for (const State state : {State::Recording, State::Processing, State::Idle}) {
        model.setState(state);
        model.setHasInputFocus(true);
        model.setHasInputFocus(false);
        model.pingActivity();
        QVERIFY(!model.isVisible());
        QVERIFY(!isCounting(model));
    }
    QCOMPARE(visible.count(), 0);
}

void OverlayStateModelTest::signInShowsTheBubbleAndStartsTheCount()
{
    OverlayStateModel model;
    QSignalSpy visible(&model, &OverlayStateModel::visibleChanged);
    model.setLoggedIn(true);
    QVERIFY(model.isVisible());
    QVERIFY(isCounting(model));
    model.setLoggedIn(true);
    QCOMPARE(visible.count(), 1);
}

void OverlayStateModelTest::idleTimeoutIsFiveSeconds()
{
    const OverlayStateModel model;
    const auto* timer = model.findChild<QTimer*>(u"idleTimer"_s);
    QCOMPARE(timer->interval(), kIdleTimeoutMs);
    QVERIFY(timer->isSingleShot());
}

void OverlayStateModelTest::bubbleHidesWhenTheCountEnds()
{
    OverlayStateModel model;
    model.setLoggedIn(true);
    QSignalSpy visible(&model, &OverlayStateModel::visibleChanged);
    endCount(model);
    QVERIFY(!model.isVisible());
    QVERIFY(!isCounting(model));
    QCOMPARE(visible.count(), 1);
}

void OverlayStateModelTest::focusKeepsTheBubbleAndStopsTheCount()
{
    OverlayStateModel model;
    model.setLoggedIn(true);
    QSignalSpy focus(&model, &OverlayStateModel::hasInputFocusChanged);
    model.setHasInputFocus(true);
    model.setHasInputFocus(true);
    QCOMPARE(focus.count(), 1);
    QVERIFY(model.isVisible());
    QVERIFY(!isCounting(model));
}

void OverlayStateModelTest::signOutWhileRecordingHidesButKeepsTheState()
{
    OverlayStateModel model;
    model.setLoggedIn(true);
    model.setState(State::Recording);
    QSignalSpy visible(&model, &OverlayStateModel::visibleChanged);
    QSignalSpy state(&model, &OverlayStateModel::visualStateChanged);
    model.setLoggedIn(false);
    QVERIFY(!model.isVisible());
    QCOMPARE(model.state(), State::Recording);
    QCOMPARE(visible.count(), 1);
    QCOMPARE(state.count(), 0);
}

void OverlayStateModelTest::signInAfterASignOutShowsAHiddenBubble()
{
    OverlayStateModel model;
    model.setLoggedIn(true);
    endCount(model);
    QVERIFY(!model.isVisible());
    model.setLoggedIn(false);
    QVERIFY(!isCounting(model));
    model.setLoggedIn(true);
    QVERIFY(model.isVisible());
    QVERIFY(isCounting(model));
}

void OverlayStateModelTest::focusBringsBackAHiddenBubble()
{
    OverlayStateModel model;
    model.setLoggedIn(true);
    endCount(model);
    QVERIFY(!model.hasInputFocus());
    model.setHasInputFocus(true);
    QVERIFY(model.hasInputFocus());
    QVERIFY(model.isVisible());
    QVERIFY(!isCounting(model));
    // What had hidden it is forgotten: a fresh count begins.
    model.setHasInputFocus(false);
    QVERIFY(!model.hasInputFocus());
    QVERIFY(model.isVisible());
    QVERIFY(isCounting(model));
    QVERIFY(model.findChild<QTimer*>(u"idleTimer"_s)->remainingTime() > 4000);
}

void OverlayStateModelTest::recordingBringsBackAHiddenBubble()
{
    OverlayStateModel model;
    model.setLoggedIn(true);
    endCount(model);
    model.setState(State::Recording);
    QVERIFY(model.isVisible());
    QVERIFY(!isCounting(model));
    model.setState(State::Processing);
    QVERIFY(!isCounting(model));
    model.setState(State::Idle);
    QVERIFY(model.isVisible());
    QVERIFY(model.findChild<QTimer*>(u"idleTimer"_s)->remainingTime() > 4000);
}

void OverlayStateModelTest::pingShowsAHiddenBubbleAndStartsTheCountAnew()
{
    OverlayStateModel model;
    model.setLoggedIn(true);
    endCount(model);
    QSignalSpy visible(&model, &OverlayStateModel::visibleChanged);
    model.pingActivity();
    QVERIFY(model.isVisible());
    QVERIFY(isCounting(model));
    QCOMPARE(visible.count(), 1);

    const auto* timer = model.findChild<QTimer*>(u"idleTimer"_s);
    // A coarse timer may be set five per cent early.
    QTRY_VERIFY(timer->remainingTime() < 4500);
    model.pingActivity();
    QVERIFY(timer->remainingTime() > 4600);
    QCOMPARE(visible.count(), 1);

    model.setState(State::Recording);
    model.pingActivity();
    QVERIFY(!isCounting(model));
}

void OverlayStateModelTest::pingWithoutSignInStartsNothing()
{
    OverlayStateModel model;
    model.pingActivity();
    QVERIFY(!model.isVisible());
    QVERIFY(!isCounting(model));
}

void OverlayStateModelTest::stateNames_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<State>("state");
    QTest::newRow("recording") << u"recording"_s << State::Recording;
    QTest::newRow("processing") << u"processing"_s << State::Processing;
    QTest::newRow("idle") << u"idle"_s << State::Idle;
    QTest::newRow("capitals and blanks") << u"  RECORDING\t"_s << State::Recording;
}

void OverlayStateModelTest::stateNames()
{
    QFETCH(QString, name);
    QFETCH(State, state);
    OverlayStateModel model;
    model.setState(state == State::Idle ? State::Recording : State::Idle);
    QSignalSpy changed(&model, &OverlayStateModel::visualStateChanged);
    model.setVisualState(name);
    QCOMPARE(model.state(), state);
    QCOMPARE(model.visualState(), name.trimmed().toLower());
    QCOMPARE(changed.count(), 1);
}

void OverlayStateModelTest::unknownStateNameChangesNothing()
{
    OverlayStateModel model;
    model.setState(State::Processing);
    QSignalSpy changed(&model, &OverlayStateModel::visualStateChanged);
    for (const QString& name : {u"paused"_s, u""_s, u"recording now"_s}) {
        model.setVisualState(name);
    }
    QCOMPARE(model.state(), State::Processing);
    QCOMPARE(changed.count(), 0);
}

void OverlayStateModelTest::demoStepsThroughTheStates()
{
    OverlayStateModel model;
    for (const State next : {State::Recording, State::Processing, State::Idle}) {
        model.advanceDemoState();
        QCOMPARE(model.state(), next);
    }
}

void OverlayStateModelTest::stateSignalComesBeforeVisibility()
{
    OverlayStateModel model;
    model.setLoggedIn(true);
    endCount(model);
    QStringList order;
    connect(&model, &OverlayStateModel::visualStateChanged, this, [&]() {
        order << u"state"_s;
        QVERIFY(!model.isVisible());
    });
    connect(&model, &OverlayStateModel::visibleChanged, this, [&]() { order << u"visible"_s; });
    model.setState(State::Recording);
    model.setState(State::Recording);
    QCOMPARE(order, (QStringList{u"state"_s, u"visible"_s}));
}

void OverlayStateModelTest::equalScalesEmitNothing()
{
    OverlayStateModel model;
    model.setWaveScales({0.1F, 0.2F, 1.0F, 0.2F, 0.1F});
    QSignalSpy changed(&model, &OverlayStateModel::waveScalesChanged);
    model.setWaveScales({0.1F, 0.2F, 1.0F, 0.2F, 0.1F});
    QCOMPARE(changed.count(), 0);
    model.setWaveScales({0.1F, 0.2F, 0.9F, 0.2F, 0.1F});
    QCOMPARE(changed.count(), 1);
}

void OverlayStateModelTest::scalesRestAtATenth()
{
    OverlayStateModel model;
    QCOMPARE(model.waveScales(), (QVariantList{0.1, 0.1, 0.1, 0.1, 0.1}));
    model.setWaveScales({1.0F, 1.0F, 1.0F, 1.0F, 1.0F});
    model.resetWaveScales();
    QCOMPARE(model.waveScales(), (QVariantList{0.1F, 0.1F, 0.1F, 0.1F, 0.1F}));
}

void OverlayStateModelTest::clearingNoErrorEmitsNothing()
{
    OverlayStateModel model;
    QSignalSpy changed(&model, &OverlayStateModel::lastErrorChanged);
    model.clearError();
    QCOMPARE(changed.count(), 0);
    model.setLastError(u"No route"_s);
    model.clearError();
    QCOMPARE(model.lastError(), QString());
    QCOMPARE(changed.count(), 2);
}

void OverlayStateModelTest::sameErrorAgainEmitsNothing()
{
    OverlayStateModel model;
    QSignalSpy changed(&model, &OverlayStateModel::lastErrorChanged);
    model.setLastError(u"No route"_s);
    model.setLastError(u"No route"_s);
    QCOMPARE(changed.count(), 1);
}

void OverlayStateModelTest::requestsOnlySignal_data()
{
    QTest::addColumn<QByteArray>("operation");
    QTest::addColumn<QByteArray>("signal");
    for (const char* what :
        {"Profile", "History", "Settings", "About", "ExportData", "DeleteAccount", "Logout"}) {
        QByteArray signal = QByteArray(what) + "Requested()";
        signal[0] = static_cast<char>(std::tolower(signal[0]));
        QTest::newRow(what) << QByteArray("request") + what << signal;
    }
}

void OverlayStateModelTest::requestsOnlySignal()
{
    QFETCH(QByteArray, operation);
    QFETCH(QByteArray, signal);
    OverlayStateModel model;
    QStringList emitted;
    const QMetaObject* meta = model.metaObject();
    std::vector<std::unique_ptr<QSignalSpy>> spies;
    for (int i = QObject::staticMetaObject.methodCount(); i < meta->methodCount(); ++i) {
        if (meta->method(i).methodType() == QMetaMethod::Signal) {
            spies.push_back(std::make_unique<QSignalSpy>(&model, meta->method(i)));
        }
    }
    QVERIFY(QMetaObject::invokeMethod(&model, operation.constData()));
    for (const auto& spy : spies) {
        QCOMPARE(spy->count(), spy->signal() == signal ? 1 : 0);
    }
}

QTEST_GUILESS_MAIN(OverlayStateModelTest)
#include "OverlayStateModelTest.moc"
