#pragma once

#include "base/Scheduler.h"
#include "support/ManualClock.h"

#include <list>

namespace vantry::test {

/// Timers that fire when a test moves the time on.
class ManualScheduler final : public Scheduler
{
public:
    explicit ManualScheduler(ManualClock &clock)
        : m_clock(clock)
    {}

    [[nodiscard]] ScheduledTimer after(std::chrono::milliseconds delay, Action action) override;
    [[nodiscard]] ScheduledTimer every(std::chrono::milliseconds interval, Action action) override;

    /// Moves the clock on and fires what becomes due, in order of time, with the clock at each one's moment.
    void advance(Seconds by);
    [[nodiscard]] std::size_t activeTimers() const { return m_timers.size(); }

private:
    struct Timer
    {
        MonotonicTime due;
        std::chrono::milliseconds interval; ///< Zero for a timer that fires once.
        Action action;
    };
    class Entry;

    ScheduledTimer add(std::chrono::milliseconds delay, std::chrono::milliseconds interval, Action action);

    ManualClock &m_clock;
    std::list<std::shared_ptr<Timer>> m_timers;
};

} // namespace vantry::test
