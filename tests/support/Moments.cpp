#include "support/Moments.h"

#include <QTimer>

void Moments::noteIn(int ms)
{
    QTimer::singleShot(
        ms, Qt::PreciseTimer, &m_context, [this, ms]() { note(QString::number(ms)); });
}
