#pragma once

#include "base/Cancellation.h"

#include <functional>
#include <memory>

class QThreadPool;

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

    /// Any thread.
    void run(Task task);
    /// Waits until nothing is running or waiting. For tests and for the end of the program.
    void waitForDone();

private:
    Cancellation m_ending;
    std::unique_ptr<QThreadPool> m_pool;
};

} // namespace vantry
