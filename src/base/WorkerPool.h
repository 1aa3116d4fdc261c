#pragma once

#include "base/Cancellation.h"

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace vantry {

/// Threads for work that the main thread must not wait for: git, transcripts, searches, terminals. No order among the
/// tasks. Destroying it drops what has not begun, has the outside programs that a task waits for killed, and waits for
/// what has begun.
class WorkerPool
{
public:
    using Task = std::function<void()>;

    /// Of the threads and of the programs that they start.
    enum class Priority {
        Low,    ///< Nobody waits for the work.
        Normal, ///< The user does.
    };

    /// At most so many threads, which are started when there is work for them. Two are enough where the work is bound
    /// by the disk.
    explicit WorkerPool(int maximumThreads = 2, Priority priority = Priority::Low);
    ~WorkerPool();
    WorkerPool(const WorkerPool &) = delete;
    WorkerPool &operator=(const WorkerPool &) = delete;

    /// Any thread. What the task throws is a defect and ends the process.
    void run(Task task);
    /// Waits until nothing is running or waiting. For tests and for the end of the program.
    void waitForDone();

private:
    void startThread();
    void loop();

    const std::size_t m_maximumThreads;
    const Priority m_priority;
    Cancellation m_cancellation;
    std::mutex m_mutex;
    std::condition_variable m_wake; ///< There is a task, or the end has come.
    std::condition_variable m_done; ///< Nothing is running or waiting.
    std::deque<Task> m_tasks;
    std::size_t m_running { 0 };
    bool m_ending { false };
    std::vector<std::thread> m_threads; ///< Last: they use all of the above.
};

} // namespace vantry
