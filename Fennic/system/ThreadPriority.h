#pragma once

#include <algorithm>
#include <cerrno>
#include <optional>
#include <sys/resource.h>
#include <unistd.h>

// Header-only, since both the application's task pool and the thumbnail loader use it.
namespace fennic::ThreadPriority {

// A thread's nice value; on Linux the "process" id names one thread, 0 the calling one, and
// the process's own id its main thread.
inline std::optional<int> niceOf(id_t thread)
{
    errno = 0;
    const int nice = ::getpriority(PRIO_PROCESS, thread);
    if (nice == -1 && errno != 0) return std::nullopt;
    return nice;
}

// Puts the calling thread `steps` nice levels below the process's main thread, the GUI
// thread, and no lower than the lowest level. Never raises a thread: a Fennic started with
// `nice`, or by a user allowed to raise priorities, keeps its background work below its
// window rather than at a fixed level that may be above it. Returns whether the thread now
// runs at least that far below.
inline bool belowWindow(int steps)
{
    constexpr int kLowest = 19;
    const std::optional<int> window = niceOf(id_t(::getpid()));
    const std::optional<int> own = niceOf(0);
    if (!window || !own) return false;
    const int target = std::min(kLowest, *window + steps);
    return *own >= target || ::setpriority(PRIO_PROCESS, 0, target) == 0;
}

}  // namespace fennic::ThreadPriority
