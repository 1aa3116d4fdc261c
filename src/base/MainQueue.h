#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <vector>

namespace vantry {

/// Work handed to the main thread. Tasks run there in the order in which they were posted, whoever posted them. There
/// is one wake-up for what has gathered. An exception that leaves a task is a defect and ends the process.
class MainQueue
{
public:
    using Task = std::function<void()>;

    /// Drops what waits; a task that is posted while that is destroyed is dropped, too.
    virtual ~MainQueue();

    /// Any thread, the main thread included. Never runs the task at once.
    void post(Task task);
    /// Main thread only. Runs what has been posted up to now; what these tasks post waits for the next call.
    /// Returns how many tasks ran.
    std::size_t drain();

protected:
    /// Called on the posting thread when the queue was empty: makes the main thread call drain() soon.
    virtual void wake() = 0;

private:
    std::mutex m_mutex;
    std::vector<Task> m_tasks;
    bool m_isEnding { false };
};

/// The main queue of a program with a Qt event loop. Make it on the main thread, after the application object.
class QtMainQueue final : public MainQueue
{
public:
    QtMainQueue();
    ~QtMainQueue() override;

protected:
    void wake() override;

private:
    class Receiver;
    std::unique_ptr<Receiver> m_receiver;
};

} // namespace vantry
