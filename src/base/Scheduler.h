#pragma once

#include <chrono>
#include <functional>
#include <memory>

namespace vantry {

/// A timer that was scheduled. Destroying or assigning over it cancels it; a default-made one is idle. Main thread
/// only.
class ScheduledTimer
{
public:
    /// What a scheduler keeps for one timer; its destructor cancels.
    class Entry
    {
    public:
        virtual ~Entry() = default;
        [[nodiscard]] virtual bool isActive() const = 0;
    };

    ScheduledTimer() = default;
    explicit ScheduledTimer(std::unique_ptr<Entry> entry)
        : m_entry(std::move(entry))
    {}

    void cancel() { m_entry.reset(); }
    [[nodiscard]] bool isActive() const { return m_entry && m_entry->isActive(); }

private:
    std::unique_ptr<Entry> m_entry;
};

/// Runs functions on the main thread after a while or again and again. Nothing else in the program makes a timer.
/// Main thread only.
class Scheduler
{
public:
    using Action = std::function<void()>;

    virtual ~Scheduler() = default;

    /// Runs the action once, unless the timer is cancelled before.
    [[nodiscard]] virtual ScheduledTimer after(std::chrono::milliseconds delay, Action action) = 0;
    /// Runs the action each time the interval has passed, first after one interval. A timer that was due several times
    /// while the machine was suspended or the thread was busy fires once.
    [[nodiscard]] virtual ScheduledTimer every(std::chrono::milliseconds interval, Action action) = 0;
};

/// Timers of the Qt event loop.
class QtScheduler final : public Scheduler
{
public:
    [[nodiscard]] ScheduledTimer after(std::chrono::milliseconds delay, Action action) override;
    [[nodiscard]] ScheduledTimer every(std::chrono::milliseconds interval, Action action) override;
};

} // namespace vantry
