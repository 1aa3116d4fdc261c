#include "base/SerialQueue.h"

#include <QtGlobal>

#include <pthread.h>

namespace vantry {

SerialQueue::SerialQueue(std::string label)
    : m_label(std::move(label))
    , m_thread([this] { loop(); })
{
    constexpr std::size_t longestName = 15;
    pthread_setname_np(m_thread.native_handle(), m_label.substr(0, longestName).c_str());
}

SerialQueue::~SerialQueue()
{
    {
        const std::scoped_lock lock(m_mutex);
        m_ending = true;
    }
    m_threadWakes.notify_one();
    m_thread.join();
}

void SerialQueue::async(Task task)
{
    const std::scoped_lock lock(m_mutex);
    m_tasks.push_back({ m_nextNumber++, std::move(task) });
    if (isTurnOfFirstTask())
        m_threadWakes.notify_one();
}

SerialQueue::Turn::Turn(SerialQueue &queue)
    : m_queue(queue)
{
    Q_ASSERT_X(!queue.isCurrent(), "SerialQueue::sync", "a queue that waits for itself waits for ever");
    std::unique_lock lock(queue.m_mutex);
    const Number number = queue.m_nextNumber++;
    queue.m_callerWakes.wait(lock, [&] { return queue.m_turn == number; });
    queue.m_runner = std::this_thread::get_id();
}

void SerialQueue::endTurn()
{
    const std::scoped_lock lock(m_mutex);
    m_runner = std::thread::id();
    ++m_turn;
    if (isTurnOfFirstTask())
        m_threadWakes.notify_one();
    else if (m_turn != m_nextNumber)
        m_callerWakes.notify_all();
}

void SerialQueue::loop()
{
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_threadWakes.wait(lock, [this] { return isTurnOfFirstTask() || (m_ending && m_tasks.empty()); });
        if (m_tasks.empty())
            return;
        {
            const Task task = std::move(m_tasks.front().run);
            m_tasks.pop_front();
            m_runner = std::this_thread::get_id();
            lock.unlock();
            task();
        }
        endTurn();
        lock.lock();
    }
}

} // namespace vantry
