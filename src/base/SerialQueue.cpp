#include "base/SerialQueue.h"

#include <QtGlobal>

#include <pthread.h>

#include <exception>
#include <utility>

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
    m_wake.notify_one();
    m_thread.join();
}

void SerialQueue::async(Task task)
{
    {
        const std::scoped_lock lock(m_mutex);
        m_tasks.push_back(std::move(task));
    }
    m_wake.notify_one();
}

void SerialQueue::runAndWait(const Task &task)
{
    Q_ASSERT_X(!isCurrent(), "SerialQueue::sync", "a queue that waits for itself waits for ever");
    struct Rendezvous
    {
        std::mutex mutex;
        std::condition_variable done;
        bool isDone { false };
        std::exception_ptr thrown;
    } rendezvous;

    async([&task, &rendezvous] {
        std::exception_ptr thrown;
        try {
            task();
        } catch (...) {
            thrown = std::current_exception();
        }
        // Told while the mutex is held: the caller owns the rendezvous and may leave as soon as it sees the flag.
        const std::scoped_lock lock(rendezvous.mutex);
        rendezvous.thrown = std::move(thrown);
        rendezvous.isDone = true;
        rendezvous.done.notify_one();
    });
    std::unique_lock lock(rendezvous.mutex);
    rendezvous.done.wait(lock, [&rendezvous] { return rendezvous.isDone; });
    if (rendezvous.thrown)
        std::rethrow_exception(rendezvous.thrown);
}

void SerialQueue::loop()
{
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_wake.wait(lock, [this] { return m_ending || !m_tasks.empty(); });
        if (m_tasks.empty())
            return;
        {
            const Task task = std::move(m_tasks.front());
            m_tasks.pop_front();
            lock.unlock();
            task();
        }
        lock.lock();
    }
}

} // namespace vantry
