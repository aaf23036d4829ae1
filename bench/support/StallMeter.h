#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>
#include <algorithm>
#include <chrono>

#include "BenchTimer.h"

// How long the GUI thread goes without turning its event loop: a timer ticks every
// millisecond and the longest gap between two ticks is the longest stall. Needs the event loop
// to run between start() and stop(). On a shared machine the gap also holds the time the
// process waited for a core, so compare with an idle measurement taken in the same run; the
// longest busy gap (the GUI thread's own processor time between two ticks) leaves that out.
namespace fennic::bench {

class StallMeter {
public:
    StallMeter()
    {
        m_timer.setTimerType(Qt::PreciseTimer);
        QObject::connect(&m_timer, &QTimer::timeout, [this] {
            const qint64 now = m_clock.nsecsElapsed();
            const double cpu = threadCpuMs();
            if (m_last >= 0) {
                if (now - m_last > m_longest) {
                    m_longestEnd = std::chrono::steady_clock::now();
                    m_busyOfLongest = cpu - m_lastCpu;
                }
                m_longest = std::max(m_longest, now - m_last);
                m_longestBusy = std::max(m_longestBusy, cpu - m_lastCpu);
            }
            m_last = now;
            m_lastCpu = cpu;
        });
    }
    void start()
    {
        m_clock.start();
        m_last = -1;
        m_longest = 0;
        m_longestBusy = 0;
        m_busyOfLongest = 0;
        m_timer.start(1);
    }
    void stop() { m_timer.stop(); }
    double longestMs() const { return double(m_longest) / 1e6; }
    // When the longest stall ended and began, on the steady clock.
    std::chrono::steady_clock::time_point longestEnd() const { return m_longestEnd; }
    std::chrono::steady_clock::time_point longestStart() const
    {
        return m_longestEnd - std::chrono::nanoseconds(m_longest);
    }
    // The most processor time the GUI thread spent between two ticks.
    double longestBusyMs() const { return m_longestBusy; }
    // The GUI thread's processor time during the longest stall: far less than the stall means
    // the thread was off its core, waiting for one or blocked.
    double busyOfLongestMs() const { return m_busyOfLongest; }

private:
    QTimer m_timer;
    QElapsedTimer m_clock;
    qint64 m_last = -1;
    qint64 m_longest = 0;
    std::chrono::steady_clock::time_point m_longestEnd;
    double m_lastCpu = 0;
    double m_longestBusy = 0;
    double m_busyOfLongest = 0;
};

}  // namespace fennic::bench
