#include "dictation/WaveTimer.h"

using namespace Qt::StringLiterals;

namespace {

constexpr int kWaveIntervalMs = 50;

} // namespace

WaveTimer::WaveTimer(QObject* parent)
    : QTimer(parent)
{
    setObjectName(u"waveTimer"_s);
    setTimerType(Qt::PreciseTimer);
    setInterval(kWaveIntervalMs);
}
