#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QString>
#include <QTimer>
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <utility>
#include <vector>

#include "BenchTimer.h"

// How long the GUI thread goes without turning its event loop: a timer ticks every
// millisecond and the longest gap between two ticks is the longest stall. Needs the event loop
// to run between start() and stop(). Each tick also notes the thread's own accounting, so the
// longest stall can be split into the thread's processor time ("busy"), its waiting for a core
// (the kernel's run delay), and the rest, when it was asleep; and the switches away from its
// core: voluntary (it went to sleep) and involuntary (it was preempted).
namespace fennic::bench {

class StallMeter {
public:
    // The GUI thread's accounting at one tick.
    struct Snapshot {
        qint64 wallNs = 0;
        double cpuMs = 0;
        double runDelayMs = 0;
        long voluntary = 0;
        long involuntary = 0;
    };

    StallMeter()
    {
        m_timer.setTimerType(Qt::PreciseTimer);
        // Named, so that a slow tick of the meter itself is told apart from the application's timers.
        m_timer.setObjectName(QStringLiteral("bench stall meter"));
        QObject::connect(&m_timer, &QTimer::timeout, [this] {
            const Snapshot now = snapshot();
            timeFixedWork(now.wallNs);
            if (m_ticked) {
                if (now.wallNs - m_last.wallNs > longestNs()) {
                    m_longestFrom = m_last;
                    m_longestTo = now;
                    m_longestEnd = std::chrono::steady_clock::now();
                }
                m_longestBusy = std::max(m_longestBusy, now.cpuMs - m_last.cpuMs);
                m_longestUnheld = std::max(m_longestUnheld, unheldMs(m_last, now));
            }
            m_last = now;
            m_ticked = true;
        });
    }
    void start()
    {
        m_clock.start();
        m_ticked = false;
        m_longestFrom = m_longestTo = {};
        m_longestBusy = 0;
        m_longestUnheld = 0;
        m_fixedWork.clear();
        m_timer.start(1);
    }
    void stop() { m_timer.stop(); }
    double longestMs() const { return double(longestNs()) / 1e6; }
    // When the longest stall ended and began, on the steady clock.
    std::chrono::steady_clock::time_point longestEnd() const { return m_longestEnd; }
    std::chrono::steady_clock::time_point longestStart() const
    {
        return m_longestEnd - std::chrono::nanoseconds(longestNs());
    }
    // The most processor time the GUI thread spent between two ticks.
    double longestBusyMs() const { return m_longestBusy; }
    // The GUI thread's processor time during the longest stall: far less than the stall means
    // the thread was off its core, waiting for one or blocked.
    double busyOfLongestMs() const { return m_longestTo.cpuMs - m_longestFrom.cpuMs; }
    // The longest stall split up: "busy 1.2 ms, waiting for a core 0.3 ms, neither 20.1 ms;
    // 1 voluntary and 0 involuntary switches". "Neither" is time asleep when the thread went to
    // sleep (a voluntary switch), or time the hypervisor held its core (steal), which the
    // thread's own accounting does not see.
    QString describeLongest() const
    {
        const double busy = busyOfLongestMs();
        const double waiting = m_longestTo.runDelayMs - m_longestFrom.runDelayMs;
        return QStringLiteral("busy %1 ms, waiting for a core %2 ms, neither %3 ms; %4 voluntary and %5 involuntary "
                              "switches")
                                  .arg(busy, 0, 'f', 1)
                                  .arg(waiting, 0, 'f', 1)
                                  .arg(std::max(0.0, longestMs() - busy - waiting), 0, 'f', 1)
                                  .arg(m_longestTo.voluntary - m_longestFrom.voluntary)
                                  .arg(m_longestTo.involuntary - m_longestFrom.involuntary);
    }

    // The longest stall with the hypervisor's holds taken out. A gap in which the thread never
    // left its core (no switch of either kind) yet ran for less than the gap lost the rest to
    // the hypervisor, which held the virtual core: only its running and waiting count. Any
    // other gap counts whole, since time asleep may be the application's own (a lock, a wait).
    double longestUnheldMs() const { return m_longestUnheld; }

    // How fast the GUI thread's core ran. Every tick does the same small piece of arithmetic
    // and times it on the thread's own processor clock: several times its usual time means the
    // core itself ran slow (another tenant's work on the same physical core or cache, or the
    // host holding the core in a way the guest counts as running), whatever the program did.
    // "fixed work per tick: median 2.1 µs; up to 2.6 µs in the 100 ms around the longest stall".
    QString describeSpeed() const
    {
        if (m_fixedWork.empty()) return QStringLiteral("fixed work per tick unknown");
        std::vector<double> all;
        all.reserve(m_fixedWork.size());
        double near = 0;
        const qint64 from = m_longestFrom.wallNs - kAroundNs;
        const qint64 to = m_longestTo.wallNs + kAroundNs;
        for (const auto& [wallNs, us] : m_fixedWork) {
            all.push_back(us);
            if (wallNs >= from && wallNs <= to) near = std::max(near, us);
        }
        std::nth_element(all.begin(), all.begin() + std::ptrdiff_t(all.size() / 2), all.end());
        return QStringLiteral("fixed work per tick: median %1 µs; up to %2 µs in the 100 ms around the longest stall")
                                  .arg(all[all.size() / 2], 0, 'f', 1)
                                  .arg(near, 0, 'f', 1);
    }

private:
    static constexpr qint64 kAroundNs = 50'000'000;

    void timeFixedWork(qint64 seed)
    {
        const double start = threadCpuMs();
        // Seeded by the clock so that the compiler cannot work it out ahead.
        auto x = quint64(seed) | 1;
        for (int i = 0; i < 2000; ++i) {
            x ^= x << 13;
            x ^= x >> 7;
            x ^= x << 17;
        }
        m_sink = m_sink + x;
        m_fixedWork.emplace_back(seed, (threadCpuMs() - start) * 1000);
    }

    static double unheldMs(const Snapshot& from, const Snapshot& to)
    {
        const double gap = double(to.wallNs - from.wallNs) / 1e6;
        if (to.voluntary != from.voluntary || to.involuntary != from.involuntary) return gap;
        return std::min(gap, (to.cpuMs - from.cpuMs) + (to.runDelayMs - from.runDelayMs));
    }
    qint64 longestNs() const { return m_longestTo.wallNs - m_longestFrom.wallNs; }

    Snapshot snapshot() const
    {
        Snapshot now;
        now.wallNs = m_clock.nsecsElapsed();
        now.cpuMs = threadCpuMs();
        // "/proc/thread-self/schedstat": time on a core, time waiting for one (ns), slices.
        if (std::FILE* file = std::fopen("/proc/thread-self/schedstat", "r")) {
            unsigned long long onCore = 0;
            unsigned long long waited = 0;
            if (std::fscanf(file, "%llu %llu", &onCore, &waited) == 2) now.runDelayMs = double(waited) / 1e6;
            std::fclose(file);
        }
        rusage usage{};
        if (::getrusage(RUSAGE_THREAD, &usage) == 0) {
            now.voluntary = usage.ru_nvcsw;
            now.involuntary = usage.ru_nivcsw;
        }
        return now;
    }

    QTimer m_timer;
    QElapsedTimer m_clock;
    bool m_ticked = false;
    Snapshot m_last;
    Snapshot m_longestFrom;
    Snapshot m_longestTo;
    std::chrono::steady_clock::time_point m_longestEnd;
    double m_longestBusy = 0;
    double m_longestUnheld = 0;
    std::vector<std::pair<qint64, double>> m_fixedWork;  // (tick, µs of processor time)
    volatile quint64 m_sink = 0;
};

}  // namespace fennic::bench
