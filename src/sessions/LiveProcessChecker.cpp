#include "sessions/LiveProcessChecker.h"

#include "platform/ProcessTable.h"

namespace vantry {

std::optional<double> LiveProcessChecker::processStartTime(std::int64_t pid) const
{
    return m_processes.startTime(pid);
}

void LiveProcessChecker::terminate(std::int64_t pid, double startTime)
{
    m_processes.terminate(pid, startTime);
}

} // namespace vantry
