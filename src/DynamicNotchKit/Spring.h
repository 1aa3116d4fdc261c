#pragma once

#include "base/Clock.h"

namespace vantry {

/// How a spring moves, as designers tell it.
struct SpringAnimation
{
    double response { 0.4 };         ///< Seconds of one swing without damping; the stiffness in other words.
    double dampingFraction { 0.85 }; ///< 1: as fast as it can without going beyond; below it goes beyond.
    double blendDuration { 0 };      ///< Reserved: a change of target always keeps the velocity.

    friend bool operator==(const SpringAnimation &, const SpringAnimation &) = default;
};

/// A number that moves to its target like a mass on a spring: told for any moment at once, not in steps, and keeping
/// its velocity when the target changes. Any thread, one at a time.
class Spring
{
public:
    struct Motion
    {
        double displacement { 0 }; ///< From the target.
        double velocity { 0 };     ///< In a second.
    };

    /// How such a motion has gone on after a time.
    [[nodiscard]] static Motion motionAfter(Seconds time, const Motion &start, const SpringAnimation &animation);

    Spring() = default;
    explicit Spring(double value)
        : m_value(value)
        , m_target(value)
    {}

    [[nodiscard]] double value() const { return m_value; }
    [[nodiscard]] double velocity() const { return m_velocity; }
    [[nodiscard]] double target() const { return m_target; }
    [[nodiscard]] bool isMoving() const { return m_isMoving; }

    /// Is there at once.
    void jumpTo(double value);
    /// Goes on from where it is. An animation without response or damping is there at once.
    void moveTo(double target, const SpringAnimation &animation, MonotonicTime now);
    /// Takes the value of that moment. Within a rest's reach of the target, and slow, it is there: in pixels, nobody
    /// sees the rest.
    void advance(MonotonicTime now, double rest);

private:
    double m_value { 0 };
    double m_target { 0 };
    double m_velocity { 0 };
    bool m_isMoving { false };
    Motion m_start; ///< At m_startedAt.
    MonotonicTime m_startedAt {};
    SpringAnimation m_animation;
};

} // namespace vantry
