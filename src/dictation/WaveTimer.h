#pragma once

#include <QTimer>

// The beat of the wave: every 50 ms, and precise, since the eye sees a bar that stumbles.
class WaveTimer final : public QTimer
{
public:
    explicit WaveTimer(QObject* parent);
};
