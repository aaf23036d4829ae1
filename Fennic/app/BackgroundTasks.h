#pragma once

#include "LatestWrite.h"

#include <QObject>
#include <QThreadPool>
#include <atomic>
#include <functional>
#include <memory>

namespace fennic {

// The one owner of the application model's background work: the thread pool, the count of
// tasks still in flight, the stop flag that long tasks poll, and the ordering of the writes of
// each of Fennic's files.
//
// Threads: created, used and destroyed on the GUI thread. `run` hands work to the pool;
// results come back to the GUI thread through queued calls made by the work itself. The
// destructor raises the stop flag and waits for every task, so a task may use the objects
// that own this one until it returns.
class BackgroundTasks : public QObject {
    Q_OBJECT

public:
    // Fennic's own files; each has its own write order so that the newest snapshot always
    // lands last.
    enum class File : quint8 {
        cache,
        shelf,
        imageIndex
    };

    // How a task shares the processor with the GUI thread and the rest of the desktop.
    enum class Share : quint8 {
        // Below the GUI thread (a higher nice value), above nothing: scans, saves, searches
        // the person asked for.
        background,
        // Only cycles no other thread on the machine wants (the idle scheduling class): long
        // reading that can wait, which would otherwise keep the GUI thread from a core for
        // tens of milliseconds at a time on a machine with two. These run on threads of their
        // own, one at a time, since a thread cannot leave the idle class again.
        spare,
    };

    explicit BackgroundTasks(QObject* parent = nullptr);
    ~BackgroundTasks() override;

    // Runs `work` on the pool at a lower thread priority than the GUI thread. Higher
    // `priority` values start first: 2 for scans, 1 for derived values, 0 for analysis, -1 for
    // writes and freeing. Whatever `work` captured is freed on the pool too.
    void run(std::function<void()> work, int priority = 0, Share share = Share::background);

    // Hands a large value the GUI thread no longer needs to the pool to be freed there:
    // freeing a quarter of a million items takes tens of milliseconds.
    template <typename T> void dispose(T value)
    {
        run([value = std::move(value)] {}, -1);
    }

    // The write order of one of Fennic's files: take a ticket on the GUI thread when the
    // snapshot is taken, and write through it on the pool.
    const std::shared_ptr<LatestWrite>& writes(File file) const { return m_writes[int(file)]; }

    // Raised once the owner is going away; long tasks poll it and give up.
    const std::shared_ptr<std::atomic<bool>>& stopping() const { return m_stopping; }
    void stop();
    // Blocks until every task has returned (results they posted may still be waiting).
    void waitForDone()
    {
        m_pool.waitForDone();
        m_spare.waitForDone();
    }

    // Waits, running the event loop, until no task is in flight (every result a task posted
    // has been applied, since the count drops only after them) and `alsoBusy` says nothing
    // else is under way. False on timeout. For tests, the self-test and the benchmarks.
    bool waitForIdle(int timeoutMs, const std::function<bool()>& alsoBusy = {});

private:
    QThreadPool m_pool;
    QThreadPool m_spare;
    std::atomic<int> m_inFlight{0};
    std::shared_ptr<LatestWrite> m_writes[3] = {std::make_shared<LatestWrite>(), std::make_shared<LatestWrite>(),
                                                std::make_shared<LatestWrite>()};
    std::shared_ptr<std::atomic<bool>> m_stopping = std::make_shared<std::atomic<bool>>(false);
};

}  // namespace fennic
