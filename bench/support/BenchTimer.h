#pragma once

#include <algorithm>
#include <chrono>
#include <ctime>
#include <functional>
#include <vector>

// The benchmarks' one way to time things: a steady-clock stopwatch, processor-time clocks and
// the summaries of repeated runs. Other builds often share the machine, so processor time is
// reported beside elapsed time: it is what the work costs when the machine is not contended.
namespace fennic::bench {

// Elapsed time from construction (or the last restart()) on the steady clock.
class Stopwatch {
public:
    Stopwatch() : m_start(std::chrono::steady_clock::now()) { }
    void restart() { m_start = std::chrono::steady_clock::now(); }
    double seconds() const { return std::chrono::duration<double>(std::chrono::steady_clock::now() - m_start).count(); }
    double ms() const { return seconds() * 1e3; }

private:
    std::chrono::steady_clock::time_point m_start;
};

// Processor time used so far by the calling thread, in milliseconds.
inline double threadCpuMs()
{
    timespec ts{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
    return double(ts.tv_sec) * 1e3 + double(ts.tv_nsec) / 1e6;
}

// Processor time used so far by the whole process (all threads, user and system), in seconds.
inline double processCpuSeconds()
{
    timespec ts{};
    ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &ts);
    return double(ts.tv_sec) + double(ts.tv_nsec) * 1e-9;
}

// The middle value (the mean of the two middle ones for an even count); 0 for none.
inline double median(std::vector<double> values)
{
    if (values.empty()) return 0;
    std::sort(values.begin(), values.end());
    const size_t n = values.size();
    return n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

// The smallest value; 0 for none.
inline double minimum(const std::vector<double>& values)
{
    return values.empty() ? 0 : *std::min_element(values.begin(), values.end());
}

// Medians of the elapsed time and of the measuring thread's processor time, in milliseconds.
struct Timing {
    double wallMs = 0;
    double cpuMs = 0;
};

// Runs `work` once untimed (first-use tables, caches), then `runs` times timed; `prepare`
// runs untimed before each timed run (to drop the previous run's result, for example).
inline Timing measure(int runs, const std::function<void()>& work, const std::function<void()>& prepare = {})
{
    work();
    std::vector<double> wall;
    std::vector<double> cpu;
    for (int i = 0; i < runs; ++i) {
        if (prepare) prepare();
        const double cpuStart = threadCpuMs();
        const Stopwatch clock;
        work();
        wall.push_back(clock.ms());
        cpu.push_back(threadCpuMs() - cpuStart);
    }
    return {median(wall), median(cpu)};
}

}  // namespace fennic::bench
