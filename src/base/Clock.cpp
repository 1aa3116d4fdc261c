#include "base/Clock.h"

namespace vantry {

Date SystemClock::now() const
{
    return std::chrono::time_point_cast<Date::duration>(std::chrono::system_clock::now());
}

MonotonicTime SystemClock::monotonicNow() const
{
    return std::chrono::steady_clock::now();
}

} // namespace vantry
