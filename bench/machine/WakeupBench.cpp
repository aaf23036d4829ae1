// How late the machine wakes a thread that sleeps for a millisecond, with nothing else of ours
// running. A GUI thread spends most of its time asleep in its event loop waiting for the next
// timer or input; if the machine itself wakes sleepers late, the event loop stalls by that much
// whatever the application does. Each thread sleeps 1 ms at a time for the whole run and counts
// the oversleeps; those over 4 ms are listed with their times, so that oversleeps of different
// threads at the same moment (the whole machine held up) can be told from one thread's.
//
//   bench_wakeups [--seconds N] [--threads N]
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <ctime>

namespace {

using Clock = std::chrono::steady_clock;

struct Late {
    double atMs;     // since the start of the run
    double sleptMs;  // asked for 1 ms
    int thread;
};

double msBetween(Clock::time_point from, Clock::time_point to)
{
    return std::chrono::duration<double, std::milli>(to - from).count();
}

}  // namespace

int main(int argc, char** argv)
{
    int seconds = 60;
    int threads = 2;
    for (int i = 1; i + 1 < argc; ++i) {
        if (std::strcmp(argv[i], "--seconds") == 0) seconds = std::max(1, std::atoi(argv[i + 1]));
        if (std::strcmp(argv[i], "--threads") == 0) threads = std::max(1, std::atoi(argv[i + 1]));
    }
    const Clock::time_point start = Clock::now();
    const Clock::time_point end = start + std::chrono::seconds(seconds);
    // Oversleeps per thread: over 2, 4 and 16 ms, and the longest.
    struct Counts {
        long sleeps = 0;
        long over2 = 0;
        long over4 = 0;
        long over16 = 0;
        double longest = 0;
    };
    std::mutex mutex;
    std::vector<Late> lates;
    std::vector<Counts> counts(static_cast<std::size_t>(threads));
    std::vector<std::thread> pool;
    pool.reserve(std::size_t(threads));
    for (int t = 0; t < threads; ++t) {
        pool.emplace_back([&, t] {
            Counts& mine = counts[std::size_t(t)];
            const timespec oneMs{0, 1000000};
            while (Clock::now() < end) {
                const Clock::time_point before = Clock::now();
                ::clock_nanosleep(CLOCK_MONOTONIC, 0, &oneMs, nullptr);
                const double slept = msBetween(before, Clock::now());
                ++mine.sleeps;
                mine.longest = std::max(mine.longest, slept);
                if (slept > 2) ++mine.over2;
                if (slept > 16) ++mine.over16;
                if (slept > 4) {
                    ++mine.over4;
                    const std::lock_guard lock(mutex);
                    lates.push_back({msBetween(start, before), slept, t});
                }
            }
        });
    }
    for (std::thread& thread : pool) thread.join();

    std::printf("%d threads, each sleeping 1 ms at a time for %d s\n", threads, seconds);
    for (int t = 0; t < threads; ++t) {
        const Counts& c = counts[std::size_t(t)];
        std::printf("thread %d: %ld sleeps; over 2 ms %ld, over 4 ms %ld, over 16 ms %ld; longest %.1f ms\n", t,
                    c.sleeps, c.over2, c.over4, c.over16, c.longest);
    }
    std::sort(lates.begin(), lates.end(), [](const Late& a, const Late& b) { return a.atMs < b.atMs; });
    // Oversleeps of different threads that overlap in time: the machine held all of them up.
    int together = 0;
    for (std::size_t i = 0; i + 1 < lates.size(); ++i)
        if (lates[i + 1].thread != lates[i].thread && lates[i + 1].atMs < lates[i].atMs + lates[i].sleptMs) ++together;
    std::printf("oversleeps over 4 ms that overlap one of another thread: %d\n", together);
    for (const Late& late : lates)
        std::printf("  at %9.1f ms thread %d slept %.1f ms\n", late.atMs, late.thread, late.sleptMs);
    return 0;
}
