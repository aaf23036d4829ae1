#pragma once

#include <QApplication>
#include <QEventLoop>
#include <QTimer>
#include <functional>

#include "BenchTimer.h"

// Running the event loop in a benchmark the way the application's own loop runs: asleep while
// nothing happens. A loop that polls keeps the GUI thread on a core all the time, takes that
// core from the threads it waits for, and loses the head start the scheduler gives a thread
// that wakes from sleep, so every stall it measures comes out longer than a user would see.
namespace fennic::bench {

// Runs the event loop until `done` holds or `limitMs` passed; returns the time taken.
inline double pumpUntil(const std::function<bool()>& done, int limitMs)
{
    const Stopwatch clock;
    // Wakes the loop at the limit; precise, since a coarse timer may fire a little early.
    QTimer limit;
    limit.setObjectName(QStringLiteral("bench pump limit"));
    limit.setTimerType(Qt::PreciseTimer);
    limit.start(limitMs);
    while (!done() && clock.ms() < limitMs) QApplication::processEvents(QEventLoop::WaitForMoreEvents);
    return clock.ms();
}

inline void pump(int ms)
{
    pumpUntil([] { return false; }, ms);
}

}  // namespace fennic::bench
