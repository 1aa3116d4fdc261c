#include "DynamicNotchKit/Fade.h"

#include <algorithm>

namespace vantry {

void Fade::moveTo(double target, std::chrono::milliseconds duration, MonotonicTime now)
{
    if (target == m_target)
        return;
    m_from = m_value;
    m_target = target;
    m_startedAt = now;
    m_duration = duration;
}

void Fade::advance(MonotonicTime now)
{
    const Seconds passed = now - m_startedAt;
    if (passed >= m_duration) {
        m_value = m_target;
        return;
    }
    const double rest = 1 - std::max(passed / Seconds(m_duration), 0.0);
    m_value = m_target + (m_from - m_target) * rest * rest;
}

} // namespace vantry
