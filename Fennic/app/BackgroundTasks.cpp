#include "BackgroundTasks.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QThread>
#include <algorithm>
#include <sys/resource.h>

namespace fennic {
namespace {

// How much background threads defer to the GUI thread.
constexpr int kBackgroundNice = 5;

// Background work yields to the GUI thread: on Linux a thread's nice value is its own, and
// threads it starts (the scanner's helper) inherit it.
void lowerThreadPriority()
{
    static thread_local const bool niced = ::setpriority(PRIO_PROCESS, 0, kBackgroundNice) == 0;
    Q_UNUSED(niced);
}

}  // namespace

BackgroundTasks::BackgroundTasks(QObject* parent) : QObject(parent)
{
    m_pool.setObjectName(QStringLiteral("fennic-tasks"));
    // Scans, writes and analysis each get a thread; the machine may have only two cores.
    m_pool.setMaxThreadCount(std::max(3, QThread::idealThreadCount()));
}

BackgroundTasks::~BackgroundTasks()
{
    stop();
    m_pool.waitForDone();
}

void BackgroundTasks::stop() { m_stopping->store(true); }

void BackgroundTasks::run(std::function<void()> work, int priority)
{
    ++m_inFlight;
    m_pool.start(
        [this, work = std::move(work)]() mutable {
            lowerThreadPriority();
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
