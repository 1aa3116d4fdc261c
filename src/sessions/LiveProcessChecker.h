#pragma once

#include <cstdint>
#include <optional>

namespace vantry {

class ProcessTable;

/// The process lookup, as SessionManager holds it. Main thread only.
class ProcessChecking
{
public:
    virtual ~ProcessChecking() = default;

    /// When the process started, in seconds since 1970; nothing when there is none. A value beyond 32 bits is no
    /// process.
    [[nodiscard]] virtual std::optional<double> processStartTime(std::int64_t pid) const = 0;
    /// Sends SIGTERM to the process, if it still is the one that started then; whether that worked isn't told.
    virtual void terminate(std::int64_t pid, double startTime) = 0;
};

/// The lookup in the machine's process table.
class LiveProcessChecker final : public ProcessChecking
{
public:
    explicit LiveProcessChecker(ProcessTable &processes)
        : m_processes(processes)
    {}

    [[nodiscard]] std::optional<double> processStartTime(std::int64_t pid) const override;
    void terminate(std::int64_t pid, double startTime) override;

private:
    ProcessTable &m_processes;
};

} // namespace vantry
