#include "WorkerPool.h"

#include <QThread>
#include <QThreadPool>
#include <algorithm>

namespace fennic::WorkerPool {

QThreadPool* shared()
{
    static QThreadPool* const pool = [] {
        auto* p = new QThreadPool;  // lives as long as the process: jobs may still hold it at exit
        p->setObjectName(QStringLiteral("fennic-workers"));
        p->setMaxThreadCount(std::max(2, QThread::idealThreadCount()));
        return p;
    }();
    return pool;
}

}  // namespace fennic::WorkerPool
