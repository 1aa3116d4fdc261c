#pragma once

#include "sessions/LiveProcessChecker.h"

#include <QHash>
#include <QList>

namespace vantry::test {

/// Processes that a test makes up: identifier and start time.
class FakeProcessChecker final : public ProcessChecking
{
public:
    [[nodiscard]] std::optional<double> processStartTime(std::int64_t pid) const override
    {
        const auto found = processes.constFind(pid);
        return found == processes.cend() ? std::nullopt : std::optional(*found);
    }
    void terminate(std::int64_t pid, double) override { terminated.append(pid); }

    QHash<std::int64_t, double> processes;
    QList<std::int64_t> terminated;
};

} // namespace vantry::test
