#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <type_traits>

namespace vantry {

/// A thread of its own that runs tasks one after another, in the order in which they were given. What it guards (a
/// database connection) is touched by its tasks alone. Destroying it runs what has been given, then ends the thread.
class SerialQueue
{
public:
    using Task = std::function<void()>;

    /// The label names the thread in debuggers; the system shows its first 15 bytes.
    explicit SerialQueue(std::string label);
    ~SerialQueue();
    SerialQueue(const SerialQueue &) = delete;
    SerialQueue &operator=(const SerialQueue &) = delete;

    /// Runs the task and waits for it; gives back what it returns, and what it throws is thrown on here. Any thread but
    /// the queue's own, from which it would wait for ever.
    template <typename Function>
    auto sync(Function &&function) -> std::invoke_result_t<Function>
    {
        using Result = std::invoke_result_t<Function>;
        if constexpr (std::is_void_v<Result>) {
            runAndWait([&] { function(); });
        } else {
            std::optional<Result> result;
            runAndWait([&] { result.emplace(function()); });
            return std::move(*result);
        }
    }

    /// Gives the task and returns at once. Any thread. What it throws is a defect and ends the process.
    void async(Task task);

    [[nodiscard]] bool isCurrent() const { return std::this_thread::get_id() == m_thread.get_id(); }
    [[nodiscard]] const std::string &label() const { return m_label; }

private:
    void runAndWait(const Task &task);
    void loop();

    std::string m_label;
    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::deque<Task> m_tasks;
    bool m_ending { false };
    std::thread m_thread; ///< Last: it uses all of the above.
};

} // namespace vantry
