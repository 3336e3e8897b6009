#include "dictation/OverlayStateModel.h"
#include "support/TarqTest.h"

#include <QMetaMethod>
#include <QMetaProperty>
#include <QTimer>

#include <functional>

using namespace Qt::StringLiterals;
using State = OverlayStateModel::State;
using Change = std::function<void(OverlayStateModel&)>;

// What those who listen to the model get to hear and to see.
class OverlaySignalsTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void valueThatStandsEmitsNothing_data();
    void valueThatStandsEmitsNothing();
    void changeIsToldOnceAndStandsByThen_data();
    void changeIsToldOnceAndStandsByThen();
    void signInHasNoSignalOfItsOwn();
    void focusIsToldBeforeTheVisibility();
    void everyCountLastsFiveSeconds_data();
    void everyCountLastsFiveSeconds();

private:
    using Spies = std::vector<std::unique_ptr<QSignalSpy>>;

    static Spies spiesOnEverySignal(const OverlayStateModel& model)
    {
        Spies spies;
        const QMetaObject* meta = model.metaObject();
        for (int i = QObject::staticMetaObject.methodCount(); i < meta->methodCount(); ++i) {
            if (meta->method(i).methodType() == QMetaMethod::Signal) {
                spies.push_back(std::make_unique<QSignalSpy>(&model, meta->method(i)));
            }
        }
        return spies;
    }

    static QByteArrayList emitted(const Spies& spies)
    {
        QByteArrayList names;
        for (const auto& spy : spies) {
            names.append(QByteArrayList(spy->count(), spy->signal()));
        }
        return names;
    }

    // Ends the count now, as if five seconds had passed.
    static void hide(OverlayStateModel& model)
    {
        auto* timer = model.findChild<QTimer*>(u"idleTimer"_s);
        const int interval = timer->interval();
        timer->start(0);
        QTRY_VERIFY(!model.isVisible());
        timer->setInterval(interval);
    }
};

void OverlaySignalsTest::valueThatStandsEmitsNothing_data()
{
    QTest::addColumn<Change>("change");

    const auto row = [](const char* name, const Change& change) {
        QTest::newRow(name) << change;
    };
    row("state", [](OverlayStateModel& model) { model.setState(State::Recording); });
    row("wave", [](OverlayStateModel& model) { model.setWaveScales({1, 1, 1, 1, 1}); });
    row("focus", [](OverlayStateModel& model) { model.setHasInputFocus(true); });
    row("error", [](OverlayStateModel& model) { model.setLastError(u"No route"_s); });
    row("no error", [](OverlayStateModel& model) { model.clearError(); });
    row("warning", [](OverlayStateModel& model) { model.setRecordingWarning(true); });
    row("no warning", [](OverlayStateModel& model) { model.setRecordingWarning(false); });
    row("e-mail", [](OverlayStateModel& model) { model.setUserEmail(u"me@example.org"_s); });
    row("no e-mail", [](OverlayStateModel& model) { model.setUserEmail({}); });
    row("signed in", [](OverlayStateModel& model) { model.setLoggedIn(true); });
}

void OverlaySignalsTest::valueThatStandsEmitsNothing()
{
    QFETCH(const Change, change);
    OverlayStateModel model;
    change(model);
    const Spies spies = spiesOnEverySignal(model);
    change(model);
    QCOMPARE(emitted(spies), QByteArrayList());
}

void OverlaySignalsTest::changeIsToldOnceAndStandsByThen_data()
{
    QTest::addColumn<Change>("change");
    QTest::addColumn<QByteArray>("property");
    QTest::addColumn<QVariant>("value");

    const auto row = [](const char* property, const Change& change, const QVariant& value) {
        QTest::newRow(property) << change << QByteArray(property) << value;
    };
    row(
        "visualState", [](auto& model) { model.setState(State::Recording); }, u"recording"_s);
    row(
        "waveScales",
        [](auto& model) {
            model.setWaveScales({1, 1, 1, 1, 1});
        },
        QVariantList(5, 1.0F));
    row(
        "hasInputFocus", [](auto& model) { model.setHasInputFocus(true); }, true);
    row(
        "lastError", [](auto& model) { model.setLastError(u"No route"_s); }, u"No route"_s);
    row(
        "recordingWarning", [](auto& model) { model.setRecordingWarning(true); }, true);
    row(
        "userEmail", [](auto& model) { model.setUserEmail(u"me@example.org"_s); },
        u"me@example.org"_s);
    row(
        "visible", [](auto& model) { model.setLoggedIn(true); }, true);
}

void OverlaySignalsTest::changeIsToldOnceAndStandsByThen()
{
    QFETCH(const Change, change);
    QFETCH(const QByteArray, property);
    QFETCH(const QVariant, value);
    OverlayStateModel model;
    const QMetaObject* meta = model.metaObject();
    const QMetaMethod told = meta->property(meta->indexOfProperty(property)).notifySignal();
    const Spies spies = spiesOnEverySignal(model);
    QVariantList seen;
    const auto look = [&]() {
        seen.append(model.property(property));
    };
    for (auto signal : {&OverlayStateModel::visualStateChanged,
             &OverlayStateModel::waveScalesChanged, &OverlayStateModel::hasInputFocusChanged,
             &OverlayStateModel::lastErrorChanged, &OverlayStateModel::recordingWarningChanged,
             &OverlayStateModel::userEmailChanged, &OverlayStateModel::visibleChanged}) {
        connect(&model, signal, this, look);
    }
    change(model);
    QCOMPARE(emitted(spies), QByteArrayList{told.methodSignature()});
    QCOMPARE(seen, QVariantList{value});
}

void OverlaySignalsTest::signInHasNoSignalOfItsOwn()
{
    OverlayStateModel model;
    model.setLoggedIn(true);
    hide(model);
    const Spies spies = spiesOnEverySignal(model);
    model.setLoggedIn(false);
    QCOMPARE(emitted(spies), QByteArrayList());
}

void OverlaySignalsTest::focusIsToldBeforeTheVisibility()
{
    OverlayStateModel model;
    model.setLoggedIn(true);
    hide(model);
    QStringList order;
    connect(&model, &OverlayStateModel::hasInputFocusChanged, this,
        [&]() { order << (model.isVisible() ? u"focus, visible"_s : u"focus, hidden"_s); });
    connect(&model, &OverlayStateModel::visibleChanged, this, [&]() { order << u"visible"_s; });
    model.setHasInputFocus(true);
    QCOMPARE(order, (QStringList{u"focus, hidden"_s, u"visible"_s}));
}

void OverlaySignalsTest::everyCountLastsFiveSeconds_data()
{
    QTest::addColumn<Change>("change");

    const auto row = [](const char* name, const Change& change) {
        QTest::newRow(name) << change;
    };
    row("after the sign-in", [](OverlayStateModel&) {});
    row("after the focus", [](OverlayStateModel& model) {
        model.setHasInputFocus(true);
        model.setHasInputFocus(false);
    });
    row("after a dictation", [](OverlayStateModel& model) {
        model.setState(State::Recording);
        model.setState(State::Idle);
    });
    row("after a press", [](OverlayStateModel& model) { model.pingActivity(); });
    row("after a press on a hidden bubble", [](OverlayStateModel& model) {
        hide(model);
        model.pingActivity();
    });
}

void OverlaySignalsTest::everyCountLastsFiveSeconds()
{
    QFETCH(const Change, change);
    OverlayStateModel model;
    model.setLoggedIn(true);
    change(model);
    const auto* timer = model.findChild<QTimer*>(u"idleTimer"_s);
    QVERIFY(timer->isActive());
    QVERIFY(timer->isSingleShot());
    QCOMPARE(timer->interval(), 5000);
    // A coarse timer may be five per cent late.
    QVERIFY(timer->remainingTime() <= 5250);
}

QTEST_GUILESS_MAIN(OverlaySignalsTest)
#include "OverlaySignalsTest.moc"
