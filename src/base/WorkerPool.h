#pragma once

#include "base/Cancellation.h"

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace vantry {

/// A few threads of low priority for work that nobody waits for: git, transcripts, searches. No order among the tasks.
/// Destroying it drops what has not begun, has the outside programs that a task waits for killed, and waits for what
/// has begun.
class WorkerPool
{
public:
    using Task = std::function<void()>;

    /// Two threads are enough: the work is bound by the disk or by other processes.
    explicit WorkerPool(int threads = 2);
    ~WorkerPool();
    WorkerPool(const WorkerPool &) = delete;
    WorkerPool &operator=(const WorkerPool &) = delete;

    /// Any thread. What the task throws is a defect and ends the process.
    void run(Task task);
    /// Waits until nothing is running or waiting. For tests and for the end of the program.
    void waitForDone();

private:
    void loop();

    Cancellation m_cancellation;
    std::mutex m_mutex;
    std::condition_variable m_wake; ///< There is a task, or the end has come.
    std::condition_variable m_done; ///< Nothing is running or waiting.
    std::deque<Task> m_tasks;
    int m_running { 0 };
    bool m_ending { false };
    std::vector<std::thread> m_threads; ///< Last: they use all of the above.
};

} // namespace vantry
