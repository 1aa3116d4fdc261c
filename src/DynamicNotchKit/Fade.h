#pragma once

#include "base/Clock.h"

#include <chrono>

namespace vantry {

/// A number that goes to its target in a given time, fast at first and slower towards the end. Any thread, one at a
/// time.
class Fade
{
public:
    Fade() = default;
    explicit Fade(double value)
        : m_value(value)
        , m_from(value)
        , m_target(value)
    {}

    [[nodiscard]] double value() const { return m_value; }
    [[nodiscard]] double target() const { return m_target; }
    [[nodiscard]] bool isMoving() const { return m_value != m_target; }

    void jumpTo(double value) { *this = Fade(value); }
    /// Goes on from where it is. A fade that goes there already stays as it is.
    void moveTo(double target, std::chrono::milliseconds duration, MonotonicTime now);
    void advance(MonotonicTime now);

private:
    double m_value { 0 };
    double m_from { 0 };
    double m_target { 0 };
    MonotonicTime m_startedAt {};
    std::chrono::milliseconds m_duration { 0 };
};

} // namespace vantry
