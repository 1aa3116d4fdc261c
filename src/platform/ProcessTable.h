#pragma once

#include <QString>

#include <cstdint>
#include <optional>

namespace vantry {

/// The machine's processes. Identifiers are 64-bit, as they come from outside; one below 1 or beyond 32 bits is no
/// process. Calls are quick system calls, on any thread.
class ProcessTable
{
public:
    enum class Signalled {
        Yes,
        NoSuchProcess, ///< Gone, a zombie, or the identifier now belongs to another process.
        Refused,       ///< The system doesn't let this user signal it.
    };

    virtual ~ProcessTable() = default;

    /// When the process started, in seconds since 1970, with a resolution better than a second and equal for the life
    /// of the process. Nothing when there is none, or only a zombie.
    [[nodiscard]] virtual std::optional<double> startTime(std::int64_t pid) const = 0;
    /// The parent's identifier; nothing when the process is gone.
    [[nodiscard]] virtual std::optional<std::int64_t> parent(std::int64_t pid) const = 0;
    /// The command's name as the kernel keeps it; nothing when the process is gone.
    [[nodiscard]] virtual std::optional<QString> commandName(std::int64_t pid) const = 0;
    /// Asks the process to end (SIGTERM), if it is still the one that started at `startTime` (within a second).
    virtual Signalled terminate(std::int64_t pid, double startTime) = 0;
};

} // namespace vantry
