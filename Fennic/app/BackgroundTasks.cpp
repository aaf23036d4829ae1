#include "BackgroundTasks.h"

#include "system/ThreadPriority.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QThread>
#include <algorithm>
#include <sched.h>

namespace fennic {
namespace {

// How much background threads defer to the GUI thread.
constexpr int kBackgroundNice = 5;

// Background work yields to the GUI thread: on Linux a thread's nice value is its own, and
// threads it starts (the scanner's helper) inherit it.
void lowerThreadPriority(BackgroundTasks::Share share)
{
    static thread_local const bool lowered = [share] {
        if (share == BackgroundTasks::Share::spare) {
            const sched_param none{};
            if (::sched_setscheduler(0, SCHED_IDLE, &none) == 0) return true;
        }
        return ThreadPriority::belowWindow(kBackgroundNice);
    }();
    Q_UNUSED(lowered);
}

}  // namespace

BackgroundTasks::BackgroundTasks(QObject* parent) : QObject(parent)
{
    m_pool.setObjectName(QStringLiteral("fennic-tasks"));
    // Scans, writes and analysis each get a thread; the machine may have only two cores.
    m_pool.setMaxThreadCount(std::max(3, QThread::idealThreadCount()));
    m_spare.setObjectName(QStringLiteral("fennic-spare"));
    m_spare.setMaxThreadCount(1);
}

BackgroundTasks::~BackgroundTasks()
{
    stop();
    waitForDone();
}

void BackgroundTasks::stop() { m_stopping->store(true); }

void BackgroundTasks::run(std::function<void()> work, int priority, Share share)
{
    ++m_inFlight;
    QThreadPool& pool = share == Share::spare ? m_spare : m_pool;
    pool.start(
        [this, share, work = std::move(work)]() mutable {
            lowerThreadPriority(share);
            work();
            // What the task captured is freed here: the pool deletes a finished task while
            // holding the lock that the GUI thread needs to start the next one, and freeing a
            // whole library's items takes tens of milliseconds.
            work = nullptr;
            // Counted down on the GUI thread, after every result the task posted there.
            QMetaObject::invokeMethod(
                this, [this] { --m_inFlight; }, Qt::QueuedConnection);
        },
        priority);
}

bool BackgroundTasks::waitForIdle(int timeoutMs, const std::function<bool()>& alsoBusy)
{
    QDeadlineTimer deadline(timeoutMs);
    while (m_inFlight.load() > 0 || (alsoBusy && alsoBusy())) {
        if (deadline.hasExpired()) return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        // Results arrive as posted events; the short sleep keeps this loop from spinning a
        // core the pool needs while it waits for them.
        QThread::msleep(1);
    }
    QCoreApplication::processEvents();
    return true;
}

}  // namespace fennic
