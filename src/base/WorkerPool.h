#pragma once

#include "base/Cancellation.h"

#include <functional>
#include <memory>
#include <mutex>

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
    /// Taken after each task and by who has waited for it. The pool's own locks order the two already, but they are
    /// Qt's, which ThreadSanitizer can't see.
    std::mutex m_afterTask;
    Cancellation m_ending;
    std::unique_ptr<QThreadPool> m_pool;
};

} // namespace vantry
