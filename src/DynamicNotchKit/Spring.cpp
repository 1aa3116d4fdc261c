#include "DynamicNotchKit/Spring.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace vantry {

Spring::Motion Spring::motionAfter(Seconds time, const Motion &start, const SpringAnimation &animation)
{
    const double t = std::max(time.count(), 0.0);
    const double frequency = 2 * std::numbers::pi / animation.response;
    const double decay = animation.dampingFraction * frequency;
    const double x = start.displacement;
    const double v = start.velocity;
    if (animation.dampingFraction < 1) {
        const double swing = frequency * std::sqrt(1 - animation.dampingFraction * animation.dampingFraction);
        const double b = (v + decay * x) / swing;
        const double fading = std::exp(-decay * t);
        const double c = std::cos(swing * t);
        const double s = std::sin(swing * t);
        return { fading * (x * c + b * s), fading * ((b * swing - decay * x) * c - (x * swing + decay * b) * s) };
    }
    if (animation.dampingFraction == 1) {
        const double fading = std::exp(-frequency * t);
        const double b = v + frequency * x;
        return { fading * (x + b * t), fading * (b - frequency * (x + b * t)) };
    }
    const double spread = frequency * std::sqrt(animation.dampingFraction * animation.dampingFraction - 1);
    const double slow = -decay + spread;
    const double fast = -decay - spread;
    const double b = (v - slow * x) / (fast - slow);
    const double a = x - b;
    return { a * std::exp(slow * t) + b * std::exp(fast * t),
             a * slow * std::exp(slow * t) + b * fast * std::exp(fast * t) };
}

void Spring::jumpTo(double value)
{
    m_value = value;
    m_target = value;
    m_velocity = 0;
    m_isMoving = false;
}

void Spring::moveTo(double target, const SpringAnimation &animation, MonotonicTime now)
{
    if (!(animation.response > 0) || !(animation.dampingFraction > 0)) {
        jumpTo(target);
        return;
    }
    if (target == m_target && (!m_isMoving || animation == m_animation))
        return;
    m_target = target;
    m_start = { m_value - target, m_velocity };
    m_startedAt = now;
    m_animation = animation;
    m_isMoving = true;
}

void Spring::advance(MonotonicTime now, double rest)
{
    if (!m_isMoving)
        return;
    const Motion motion = motionAfter(now - m_startedAt, m_start, m_animation);
    constexpr double slowness = 10; // A rest's reach in a tenth of a second.
    if (std::abs(motion.displacement) < rest && std::abs(motion.velocity) < slowness * rest) {
        jumpTo(m_target);
        return;
    }
    m_value = m_target + motion.displacement;
    m_velocity = motion.velocity;
}

} // namespace vantry
