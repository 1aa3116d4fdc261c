#pragma once

#include <chrono>

namespace vantry {

/// A moment of wall-clock time, UTC.
using Date = std::chrono::sys_time<std::chrono::nanoseconds>;
/// A moment of the clock that never jumps. Only differences mean anything.
using MonotonicTime = std::chrono::steady_clock::time_point;
/// A span in seconds with a fraction, for the rules that are told in seconds.
using Seconds = std::chrono::duration<double>;

/// Where every rule that is told in time gets its time from. Any thread may call it.
class Clock
{
public:
    virtual ~Clock() = default;

    [[nodiscard]] virtual Date now() const = 0;
    [[nodiscard]] virtual MonotonicTime monotonicNow() const = 0;
};

/// The machine's own clocks.
class SystemClock final : public Clock
{
public:
    [[nodiscard]] Date now() const override;
    [[nodiscard]] MonotonicTime monotonicNow() const override;
};

} // namespace vantry
