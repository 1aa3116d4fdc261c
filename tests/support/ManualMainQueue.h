#pragma once

#include "base/MainQueue.h"

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace vantry::test {

/// A main queue that runs its tasks when a test says so.
class ManualMainQueue final : public MainQueue
{
public:
    /// Runs all tasks, also those that the tasks post. Returns how many ran.
    std::size_t drainAll()
    {
        std::size_t total = 0;
        while (const std::size_t ran = drain())
            total += ran;
        return total;
    }

    /// Waits until a task is there, at most so long, then runs all. False when none came.
    bool drainWhenPosted(std::chrono::milliseconds patience = std::chrono::seconds { 10 })
    {
        // By the system's clock: waiting by the steady one is unknown to ThreadSanitizer.
        const auto deadline = std::chrono::system_clock::now() + patience;
        for (;;) {
            {
                std::unique_lock lock(m_mutex);
                if (!m_posted.wait_until(lock, deadline, [this] { return m_woken; }))
                    return drainAll() > 0;
                m_woken = false;
            }
            // The wake-up may be an older one, whose tasks have run.
            if (drainAll() > 0)
                return true;
        }
    }

protected:
    void wake() override
    {
        const std::scoped_lock lock(m_mutex);
        m_woken = true;
        m_posted.notify_all();
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_posted;
    bool m_woken { false };
};

} // namespace vantry::test
