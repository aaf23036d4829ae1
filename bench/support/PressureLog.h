#pragma once

#include <QFile>
#include <QString>
#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstring>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

// The kernel's pressure-stall totals (/proc/pressure), sampled every two milliseconds on a thread
// of its own, so that a slow event on the GUI thread can be set beside what the whole machine
// waited for meanwhile: tasks waiting for a core (cpu), for memory to be reclaimed or read back
// (memory), or for the disk (io). They count "some" time: at least one task was waiting. A
// stall with none of these is time the process spent running, or time the machine lost below
// the kernel, which it does not see. Beside them goes the time the hypervisor ran something
// else on this machine's cores (steal, from /proc/stat, in ticks of 10 ms, summed over cores).
namespace fennic::bench {

class PressureLog {
public:
    using Clock = std::chrono::steady_clock;

    struct Waits {
        double cpuMs = 0;
        double memoryMs = 0;
        double ioMs = 0;
        double stealMs = 0;
        // The longest the sampling thread itself went between two samples (it sleeps 2 ms):
        // far longer means that thread, on whichever core, was held up as well.
        double samplerGapMs = 0;
        // The slowest plain memory move of kCopyBytes the sampling thread timed meanwhile (every
        // fifth sample). It takes well under a millisecond on a quiet machine: far longer means
        // the machine below the kernel slowed memory itself, whatever the program was doing.
        double slowestCopyMs = 0;
        bool known = false;
    };

    PressureLog()
    {
        if (!readTotals()) return;  // a kernel without pressure-stall information
        m_thread = std::thread([this] {
            std::vector<char> buffer(2 * kCopyBytes, 1);
            for (int tick = 0; !m_stop.load(); ++tick) {
                double copyMs = 0;
                if (tick % 5 == 0) {
                    char* low = buffer.data();
                    char* high = low + kCopyBytes;
                    const auto start = Clock::now();
                    if (tick % 2 == 0)
                        std::memmove(low, high, kCopyBytes);
                    else
                        std::memmove(high, low, kCopyBytes);
                    copyMs = std::chrono::duration<double, std::milli>(Clock::now() - start).count();
                }
                if (const auto totals = readTotals()) {
                    const std::lock_guard lock(m_mutex);
                    m_samples.push_back({Clock::now(), *totals, copyMs});
                }
                std::this_thread::sleep_for(std::chrono::milliseconds(2));
            }
        });
    }
    ~PressureLog()
    {
        m_stop = true;
        if (m_thread.joinable()) m_thread.join();
    }
    PressureLog(const PressureLog&) = delete;
    PressureLog& operator=(const PressureLog&) = delete;

    // What the machine waited for between two moments (to the nearest samples around them).
    Waits between(Clock::time_point from, Clock::time_point to) const
    {
        const std::lock_guard lock(m_mutex);
        const auto byTime = [](const Sample& sample, Clock::time_point when) { return sample.when < when; };
        auto first = std::lower_bound(m_samples.begin(), m_samples.end(), from, byTime);
        auto last = std::lower_bound(m_samples.begin(), m_samples.end(), to, byTime);
        if (first != m_samples.begin()) --first;
        if (last == m_samples.end()) {
            if (m_samples.empty()) return {};
            --last;
        }
        if (first >= last) return {};
        double gapMs = 0;
        double copyMs = 0;
        for (auto sample = first; sample != last; ++sample) {
            gapMs =
                std::max(gapMs, std::chrono::duration<double, std::milli>((sample + 1)->when - sample->when).count());
            copyMs = std::max(copyMs, (sample + 1)->copyMs);
        }
        return {(last->totals[0] - first->totals[0]) / 1e3,
                (last->totals[1] - first->totals[1]) / 1e3,
                (last->totals[2] - first->totals[2]) / 1e3,
                (last->totals[3] - first->totals[3]) / 1e3,
                gapMs,
                copyMs,
                true};
    }

    static QString describe(const Waits& waits)
    {
        if (!waits.known) return QStringLiteral("pressure unknown");
        return QStringLiteral("pressure meanwhile: cpu %1 ms, memory %2 ms, io %3 ms; steal %4 ms; sampler's longest gap %5 ms, slowest move of 2 MB %6 ms")
                                  .arg(waits.cpuMs, 0, 'f', 1)
                                  .arg(waits.memoryMs, 0, 'f', 1)
                                  .arg(waits.ioMs, 0, 'f', 1)
                                  .arg(waits.stealMs, 0, 'f', 0)
                                  .arg(waits.samplerGapMs, 0, 'f', 1)
                                  .arg(waits.slowestCopyMs, 0, 'f', 2);
    }

private:
    static constexpr std::size_t kCopyBytes = 2 << 20;

    // Microseconds of "some" waiting (cpu, memory, io), then of steal.
    using Totals = std::array<double, 4>;
    struct Sample {
        Clock::time_point when;
        Totals totals;
        double copyMs = 0;
    };

    static std::optional<Totals> readTotals()
    {
        Totals totals{};
        int at = 0;
        for (const char* name : {"/proc/pressure/cpu", "/proc/pressure/memory", "/proc/pressure/io"}) {
            QFile file(QString::fromLatin1(name));
            if (!file.open(QIODevice::ReadOnly)) return std::nullopt;
            const QByteArray some = file.readLine();  // "some avg10=… avg60=… avg300=… total=N"
            const qsizetype total = some.indexOf("total=");
            if (total < 0) return std::nullopt;
            totals[at++] = some.mid(total + 6).trimmed().toDouble();
        }
        QFile stat(QStringLiteral("/proc/stat"));
        if (!stat.open(QIODevice::ReadOnly)) return std::nullopt;
        // "cpu  user nice system idle iowait irq softirq steal …", in ticks of 1/100 s.
        const QList<QByteArray> fields = stat.readLine().simplified().split(' ');
        totals[3] = fields.size() > 8 ? fields.at(8).toDouble() * 1e4 : 0;
        return totals;
    }

    mutable std::mutex m_mutex;
    std::vector<Sample> m_samples;
    std::atomic<bool> m_stop{false};
    std::thread m_thread;
};

}  // namespace fennic::bench
