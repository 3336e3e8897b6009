#include "dictation/OverlayStateModel.h"
#include "dictation/TranscriptionPipeline.h"
#include "support/TarqTest.h"

#include <QElapsedTimer>

using namespace Qt::StringLiterals;
using State = OverlayStateModel::State;

namespace {

constexpr qint64 kGuardMs = 300;

} // namespace

// The guard to the millisecond and without a microphone: a pipeline without a key says that it
// needs one for each toggle that isn't swallowed.
class ToggleGuardTest final : public TarqTest
{
    Q_OBJECT

private slots:
    void init();

    void swallowsFor300MsWhateverCallsComeInBetween_data();
    void swallowsFor300MsWhateverCallsComeInBetween();
    void isSharedByAllPipelines();
    void isNotStartedByAToggleWithoutAnOverlay();
    void isNeitherAskedNorStartedByTheExplicitSlots();
    void isStartedByAToggleWhileProcessing();

private:
    bool acts(void (TranscriptionPipeline::*call)(), TranscriptionPipeline& pipeline)
    {
        m_overlay.clearError();
        (pipeline.*call)();
        return m_overlay.lastError() == u"Sign in to use Tarq."_s;
    }
    bool toggleActs() { return acts(&TranscriptionPipeline::toggle, m_pipeline); }

    OverlayStateModel m_overlay;
    TranscriptionPipeline m_pipeline{&m_overlay, nullptr, nullptr};
};

void ToggleGuardTest::init()
{
    TarqTest::init();
    QTest::qWait(kGuardMs + 10); // whatever the last test did is over
}

void ToggleGuardTest::swallowsFor300MsWhateverCallsComeInBetween_data()
{
    // A busy machine may let no call through in the milliseconds that matter, but hardly each time.
    QTest::addColumn<int>("round");
    for (int round = 1; round <= 4; ++round) {
        QTest::addRow("round %d", round) << round;
    }
}

void ToggleGuardTest::swallowsFor300MsWhateverCallsComeInBetween()
{
    // The guard's own clock is never ahead of the one and never behind the other, however busy the
    // machine is.
    QElapsedTimer ahead;
    ahead.start();
    QVERIFY(toggleActs());
    QElapsedTimer behind;
    behind.start();

    bool acted = false;
    while (!acted) {
        const qint64 passed = behind.elapsed();
        acted = toggleActs();
        QVERIFY2(acted || passed < kGuardMs, QByteArray::number(passed));
    }
    QVERIFY2(ahead.elapsed() >= kGuardMs, QByteArray::number(ahead.elapsed()));
}

void ToggleGuardTest::isSharedByAllPipelines()
{
    TranscriptionPipeline other(&m_overlay, nullptr, nullptr);
    QElapsedTimer clock;
    clock.start();
    QVERIFY(toggleActs());
    const bool acted = acts(&TranscriptionPipeline::toggle, other);
    QVERIFY(!acted || clock.elapsed() >= kGuardMs);
}

void ToggleGuardTest::isNotStartedByAToggleWithoutAnOverlay()
{
    TranscriptionPipeline bare(nullptr, nullptr, nullptr);
    bare.toggle();
    QVERIFY(toggleActs());
}

void ToggleGuardTest::isNeitherAskedNorStartedByTheExplicitSlots()
{
    QVERIFY(acts(&TranscriptionPipeline::startRecordingExplicit, m_pipeline));
    m_pipeline.stopRecordingExplicit();
    QVERIFY(toggleActs());
    QVERIFY(acts(&TranscriptionPipeline::startRecordingExplicit, m_pipeline));
}

void ToggleGuardTest::isStartedByAToggleWhileProcessing()
{
    m_overlay.setState(State::Processing);
    QElapsedTimer clock;
    clock.start();
    QVERIFY(!toggleActs());
    QCOMPARE(m_overlay.state(), State::Processing);
    m_overlay.setState(State::Idle);
    const bool acted = toggleActs();
    QVERIFY(!acted || clock.elapsed() >= kGuardMs);
}

QTEST_GUILESS_MAIN(ToggleGuardTest)
#include "ToggleGuardTest.moc"
