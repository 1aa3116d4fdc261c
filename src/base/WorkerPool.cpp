#include "base/WorkerPool.h"

#include <QThreadPool>

#include <utility>

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
    waitForDone();
}

void WorkerPool::run(Task task)
{
    m_pool->start([this, task = std::move(task)]() mutable {
        const Cancellation::Scope scope(m_ending);
        std::exchange(task, nullptr)();
        const std::scoped_lock lock(m_afterTask);
    });
}

void WorkerPool::waitForDone()
{
    m_pool->waitForDone();
    const std::scoped_lock lock(m_afterTask);
}

} // namespace vantry
