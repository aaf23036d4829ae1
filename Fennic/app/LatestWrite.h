#pragma once

#include <cstdint>
#include <functional>
#include <mutex>

namespace fennic {

// Orders background writes of one file so that the newest snapshot always ends up on disk:
// writes run one at a time, and a write that finds a newer one already done is skipped.
// Without this, two quick saves on a thread pool could finish in either order and leave the
// older content behind.
class LatestWrite {
public:
    // Called on the GUI thread when a snapshot is taken; the ticket goes with the task.
    std::uint64_t ticket() { return ++m_issued; }

    // Called on the worker: runs `write` unless a newer ticket has already been written.
    // Returns false when skipped.
    bool run(std::uint64_t ticket, const std::function<void()>& write)
    {
        std::lock_guard lock(m_mutex);
        if (ticket < m_written) return false;
        write();
        m_written = ticket;
        return true;
    }

private:
    std::uint64_t m_issued = 0;  // GUI thread only
    std::mutex m_mutex;
    std::uint64_t m_written = 0;  // guarded by m_mutex
};

}  // namespace fennic
