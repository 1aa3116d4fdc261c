#include "support/ManualScheduler.h"

#include <algorithm>

namespace vantry::test {

class ManualScheduler::Entry final : public ScheduledTimer::Entry
{
public:
    Entry(ManualScheduler &scheduler, std::shared_ptr<Timer> timer)
        : m_scheduler(scheduler)
        , m_timer(std::move(timer))
    {}
    ~Entry() override { m_scheduler.m_timers.remove(m_timer); }
    [[nodiscard]] bool isActive() const override
    {
        return std::ranges::find(m_scheduler.m_timers, m_timer) != m_scheduler.m_timers.end();
    }

private:
    ManualScheduler &m_scheduler;
    std::shared_ptr<Timer> m_timer;
};

ScheduledTimer ManualScheduler::after(std::chrono::milliseconds delay, Action action)
{
    return add(delay, std::chrono::milliseconds::zero(), std::move(action));
}

ScheduledTimer ManualScheduler::every(std::chrono::milliseconds interval, Action action)
{
    return add(interval, interval, std::move(action));
}

ScheduledTimer ManualScheduler::add(std::chrono::milliseconds delay, std::chrono::milliseconds interval, Action action)
{
    auto timer = std::make_shared<Timer>(Timer { m_clock.monotonicNow() + delay, interval, std::move(action) });
    m_timers.push_back(timer);
    return ScheduledTimer(std::make_unique<Entry>(*this, timer));
}

void ManualScheduler::advance(Seconds by)
{
    const MonotonicTime end = m_clock.monotonicNow() + std::chrono::duration_cast<std::chrono::nanoseconds>(by);
    for (;;) {
        const auto next = std::ranges::min_element(m_timers, {}, [](const auto &timer) { return timer->due; });
        if (next == m_timers.end() || (*next)->due > end)
            break;
        const std::shared_ptr<Timer> timer = *next;
        if (timer->due > m_clock.monotonicNow())
            m_clock.advance(timer->due - m_clock.monotonicNow());
        if (timer->interval.count() > 0)
            // From the present on: what was due several times, since the clock was moved on alone, fires once.
            timer->due = m_clock.monotonicNow() + timer->interval;
        else
            m_timers.remove(timer);
        const Action action = timer->action;
        action();
    }
    m_clock.advance(end - m_clock.monotonicNow());
}

} // namespace vantry::test
