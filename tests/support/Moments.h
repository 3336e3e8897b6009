#pragma once

#include <QObject>
#include <QStringList>

// Tells before and after which moment something happens. A moment is a timer, and the timers of one
// thread fire in the order of their times: what is late because the machine is busy has its moments
// late as well.
class Moments final
{
public:
    /// Something that happens now.
    void note(const QString& what) { m_seen.append(what); }
    /// Notes the moment in that many milliseconds, by its number.
    void noteIn(int ms);

    [[nodiscard]] QStringList seen() const { return m_seen; }

private:
    QStringList m_seen;
    QObject m_context;
};
