#pragma once

#include "system/WorkerPool.h"

#include <QCoreApplication>
#include <QMetaObject>
#include <QObject>
#include <QThread>
#include <QThreadPool>
#include <memory>
#include <mutex>
#include <utility>

namespace fennic {

// Work on a pool thread whose result comes back to a widget through a queued call, safe when
// the widget goes away while the work runs. The widget owns one as a member: its destructor
// closes the way back (under the same lock the pool thread posts under), and ~QObject then
// drops results posted before that, so a late result never reaches a destroyed widget.
//
// Threads: construct, run and destroy on the receiver's thread.
class PoolReply {
public:
    explicit PoolReply(QObject* receiver) : m_state(std::make_shared<State>(receiver)) { }
    ~PoolReply() { close(); }
    PoolReply(const PoolReply&) = delete;
    PoolReply& operator=(const PoolReply&) = delete;

    // Stops delivering results; work under way finishes and is dropped.
    void close()
    {
        const std::lock_guard lock(m_state->mutex);
        m_state->receiver = nullptr;
    }

    // Runs `work()` on the global pool, then `done(result)` on the receiver's thread. Both are
    // copied, so they capture plain values (and `done` may capture the receiver).
    template <typename Work, typename Done> void run(Work work, Done done)
    {
        WorkerPool::shared()->start([state = m_state, work = std::move(work), done = std::move(done)] {
            auto result = work();
            const std::lock_guard lock(state->mutex);
            if (!state->receiver) return;
            QMetaObject::invokeMethod(
                state->receiver, [done, result = std::move(result)] { done(result); }, Qt::QueuedConnection);
        });
    }

    // True on a thread other than the application's main one: the functions that read files
    // for previews assert it, so that a read on the GUI thread shows up in every debug run.
    static bool offGuiThread()
    {
        const QCoreApplication* app = QCoreApplication::instance();
        return app == nullptr || QThread::currentThread() != app->thread();
    }

private:
    struct State {
        explicit State(QObject* r) : receiver(r) { }
        std::mutex mutex;
        QObject* receiver;
    };
    std::shared_ptr<State> m_state;
};

}  // namespace fennic
