// Background work never competes with the window for a core: ordinary tasks run below the GUI
// thread, long reading only on cycles nothing else wants, and a thread that took reading
// (which cannot leave the idle class again) never takes a scan or a save afterwards.
#include "app/BackgroundTasks.h"

#include <QMutex>
#include <QSemaphore>
#include <algorithm>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/resource.h>

using namespace fennic;

namespace {

struct Seen {
    int policy = -1;
    int nice = -100;
};

Seen here()
{
    errno = 0;
    return {::sched_getscheduler(0), ::getpriority(PRIO_PROCESS, 0)};
}

}  // namespace

TEST(BackgroundTasks, ReadingTakesSpareCyclesAndEverythingElseStaysBelowTheWindow)
{
    // A window that itself runs below the usual level (started with `nice`): its background
    // work goes lower still, not back up to a fixed level. Raising one's own nice value needs
    // no privilege; only a privileged run can undo it at the end, and nothing else here
    // depends on it.
    const int windowNiceBefore = ::getpriority(PRIO_PROCESS, 0);
    ::setpriority(PRIO_PROCESS, 0, std::min(19, windowNiceBefore + 3));
    BackgroundTasks tasks;
    QMutex lock;
    QList<Seen> ordinary;
    QList<Seen> spare;
    const auto runSpare = [&] {
        tasks.run(
            [&] {
                const QMutexLocker locked(&lock);
                spare << here();
            },
            0, BackgroundTasks::Share::spare);
    };
    // The spare task first, so that its thread would be the one free for what follows if the
    // two kinds shared threads.
    runSpare();
    ASSERT_TRUE(tasks.waitForIdle(10000));
    // Several at once, so that every thread of the ordinary pool is used.
    QSemaphore together;
    constexpr int kTasks = 6;
    for (int i = 0; i < kTasks; ++i)
        tasks.run([&] {
            together.release();
            together.tryAcquire(kTasks, 200);
            const QMutexLocker locked(&lock);
            ordinary << here();
        });
    runSpare();
    ASSERT_TRUE(tasks.waitForIdle(10000));

    const int windowNice = ::getpriority(PRIO_PROCESS, 0);
    ASSERT_EQ(spare.size(), 2);
    for (const Seen& seen : std::as_const(spare)) EXPECT_EQ(seen.policy, SCHED_IDLE);
    ASSERT_EQ(ordinary.size(), kTasks);
    for (const Seen& seen : std::as_const(ordinary)) {
        EXPECT_EQ(seen.policy, SCHED_OTHER) << "an ordinary task ran on a thread left in the idle class";
        EXPECT_GE(seen.nice, std::min(19, windowNice + 5)) << "ordinary tasks run below the GUI thread";
    }
    ::setpriority(PRIO_PROCESS, 0, windowNiceBefore);
}
