#pragma once

#include "base/Clock.h"

namespace vantry::test {

/// A clock that stands still until a test moves it. Starts at 2026-01-31T09:05:07.250Z.
class ManualClock final : public Clock
{
public:
    [[nodiscard]] Date now() const override { return m_now; }
    [[nodiscard]] MonotonicTime monotonicNow() const override { return m_monotonic; }

    void advance(Seconds by)
    {
        const auto step = std::chrono::duration_cast<std::chrono::nanoseconds>(by);
        m_now += step;
        m_monotonic += step;
    }
    /// Sets the wall clock alone, as a user or a time server would.
    void setWallClock(Date date) { m_now = date; }

private:
    Date m_now { std::chrono::sys_days { std::chrono::year { 2026 } / 1 / 31 } + std::chrono::hours { 9 } +
                 std::chrono::minutes { 5 } + std::chrono::milliseconds { 7250 } };
    MonotonicTime m_monotonic { std::chrono::hours { 1 } };
};

} // namespace vantry::test
