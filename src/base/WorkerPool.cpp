#include "base/WorkerPool.h"

#include <pthread.h>
#include <sys/resource.h>

#include <algorithm>
#include <system_error>
#include <utility>

namespace vantry {

WorkerPool::WorkerPool(int maximumThreads, Priority priority)
    : m_maximumThreads(static_cast<std::size_t>(std::max(maximumThreads, 1)))
    , m_priority(priority)
{
    startThread();
}

WorkerPool::~WorkerPool()
{
    {
        // What the dropped tasks have captured goes before the running ones are waited for.
        std::deque<Task> dropped;
        const std::scoped_lock lock(m_mutex);
        m_ending = true;
        dropped.swap(m_tasks);
    }
    m_cancellation.cancel();
    m_wake.notify_all();
    for (std::thread &thread : m_threads)
        thread.join();
}

void WorkerPool::run(Task task)
{
    const std::scoped_lock lock(m_mutex);
    if (m_ending)
        return;
    m_tasks.push_back(std::move(task));
    m_wake.notify_one();
    const std::size_t idle = m_threads.size() - m_running;
    if (m_tasks.size() > idle && m_threads.size() < m_maximumThreads) {
        try {
            startThread();
        } catch (const std::system_error &) {
            // The system has none to give; those that there are will come to the task.
        }
    }
}

void WorkerPool::waitForDone()
{
    std::unique_lock lock(m_mutex);
    m_done.wait(lock, [this] { return m_tasks.empty() && m_running == 0; });
}

void WorkerPool::startThread()
{
    m_threads.emplace_back([this] { loop(); });
}

void WorkerPool::loop()
{
    pthread_setname_np(pthread_self(), "vantry-worker");
    if (m_priority == Priority::Low) {
        // On Linux this is the thread's own, and that of the programs that it starts.
        constexpr int low = 10;
        setpriority(PRIO_PROCESS, 0, low);
    }
    const Cancellation::Scope scope(m_cancellation);
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_wake.wait(lock, [this] { return m_ending || !m_tasks.empty(); });
        if (m_tasks.empty())
            return;
        {
            const Task task = std::exchange(m_tasks.front(), nullptr);
            m_tasks.pop_front();
            ++m_running;
            lock.unlock();
            task();
        }
        lock.lock();
        --m_running;
        if (m_tasks.empty() && m_running == 0)
            m_done.notify_all();
    }
}

} // namespace vantry
