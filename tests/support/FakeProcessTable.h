#pragma once

#include "platform/ProcessTable.h"

#include <QHash>
#include <QList>

#include <utility>

namespace vantry::test {

/// Processes that a test makes up.
class FakeProcessTable final : public ProcessTable
{
public:
    struct Process
    {
        double startTime { 0 };
        std::int64_t parent { 1 };
        QString commandName;
    };

    [[nodiscard]] std::optional<double> startTime(std::int64_t pid) const override
    {
        const auto found = processes.constFind(pid);
        return found == processes.cend() ? std::nullopt : std::optional(found->startTime);
    }
    [[nodiscard]] std::optional<std::int64_t> parent(std::int64_t pid) const override
    {
        const auto found = processes.constFind(pid);
        return found == processes.cend() ? std::nullopt : std::optional(found->parent);
    }
    [[nodiscard]] std::optional<QString> commandName(std::int64_t pid) const override
    {
        const auto found = processes.constFind(pid);
        return found == processes.cend() ? std::nullopt : std::optional(found->commandName);
    }
    /// Records every call; the process stays.
    Signalled terminate(std::int64_t pid, double startTime) override
    {
        terminated.append({ pid, startTime });
        return processes.contains(pid) ? Signalled::Yes : Signalled::NoSuchProcess;
    }

    QHash<std::int64_t, Process> processes;
    QList<std::pair<std::int64_t, double>> terminated;
};

} // namespace vantry::test
