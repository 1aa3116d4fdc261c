#include "base/WorkerPool.h"

#include <QThreadPool>

namespace vantry {

WorkerPool::WorkerPool(int threads)
    : m_pool(std::make_unique<QThreadPool>())
{
    m_pool->setMaxThreadCount(threads);
    m_pool->setThreadPriority(QThread::LowPriority);
    m_pool->setObjectName(QStringLiteral("vantry-worker"));
}

WorkerPool::~WorkerPool()
{
    m_pool->clear();
    m_ending.cancel();
    m_pool->waitForDone();
}

void WorkerPool::run(Task task)
{
    m_pool->start([this, task = std::move(task)] {
        const Cancellation::Scope scope(m_ending);
        task();
    });
}

void WorkerPool::waitForDone()
{
    m_pool->waitForDone();
}

} // namespace vantry
