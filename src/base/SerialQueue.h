#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>

namespace vantry {

/// Runs tasks one at a time, in the order in which they were given. What it guards (a database connection) is touched
/// by its tasks alone, never by two at once, and each sees what those before it did. A task that is waited for runs on
/// the thread that waits: waking another one and being woken by it would take longer than most tasks do. The others run
/// on the queue's own thread. Destroying the queue runs what has been given, then ends the thread.
class SerialQueue
{
public:
    using Task = std::function<void()>;

    /// The label names the thread in debuggers; the system shows its first 15 bytes.
    explicit SerialQueue(std::string label);
    ~SerialQueue();
    SerialQueue(const SerialQueue &) = delete;
    SerialQueue &operator=(const SerialQueue &) = delete;

    /// Waits for its turn, runs the task and gives back what that returns or throws. Any thread, but not from one of
    /// the queue's tasks, which would wait for itself for ever.
    template <typename Function>
    auto sync(Function &&function) -> std::invoke_result_t<Function>
    {
        const Turn turn(*this);
        return std::forward<Function>(function)();
    }

    /// Gives the task and returns at once. Any thread. What it throws is a defect and ends the process.
    void async(Task task);

    /// Whether the caller is one of the queue's tasks.
    [[nodiscard]] bool isCurrent() const { return std::this_thread::get_id() == m_runner; }
    [[nodiscard]] const std::string &label() const { return m_label; }

private:
    /// The order of tasks. Each is given the next number and runs when that number's turn comes.
    using Number = std::uint64_t;

    /// A waiting caller's turn, from when it comes to the end of this.
    class Turn
    {
    public:
        explicit Turn(SerialQueue &queue);
        ~Turn() { m_queue.endTurn(); }
        Turn(const Turn &) = delete;
        Turn &operator=(const Turn &) = delete;

    private:
        SerialQueue &m_queue;
    };

    struct NumberedTask
    {
        Number number;
        Task run;
    };

    [[nodiscard]] bool isTurnOfFirstTask() const { return !m_tasks.empty() && m_tasks.front().number == m_turn; }
    void endTurn();
    void loop();

    std::string m_label;
    std::mutex m_mutex;
    std::condition_variable m_callerWakes;
    std::condition_variable m_threadWakes;
    Number m_nextNumber { 0 };
    Number m_turn { 0 };
    std::deque<NumberedTask> m_tasks; ///< Those for the queue's own thread.
    bool m_ending { false };
    std::atomic<std::thread::id> m_runner; ///< Whose turn it is, if anybody's.
    std::thread m_thread;                  ///< Last: it uses all of the above.
};

} // namespace vantry
