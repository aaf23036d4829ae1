#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>
#include <algorithm>

// How long the GUI thread goes without turning its event loop: a timer ticks every
// millisecond and the longest gap between two ticks is the longest stall. Needs the event loop
// to run between start() and stop(). On a shared machine the gap also holds the time the
// process waited for a core, so compare with an idle measurement taken in the same run.
namespace fennic::bench {

class StallMeter {
public:
    StallMeter()
    {
        m_timer.setTimerType(Qt::PreciseTimer);
        QObject::connect(&m_timer, &QTimer::timeout, [this] {
            const qint64 now = m_clock.nsecsElapsed();
            if (m_last >= 0) m_longest = std::max(m_longest, now - m_last);
            m_last = now;
        });
    }
    void start()
    {
        m_clock.start();
        m_last = -1;
        m_longest = 0;
        m_timer.start(1);
    }
    void stop() { m_timer.stop(); }
    double longestMs() const { return double(m_longest) / 1e6; }

private:
    QTimer m_timer;
    QElapsedTimer m_clock;
    qint64 m_last = -1;
    qint64 m_longest = 0;
};

}  // namespace fennic::bench
