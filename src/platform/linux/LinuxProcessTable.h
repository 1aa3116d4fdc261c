#pragma once

#include "platform/ProcessTable.h"

#include <optional>
#include <string>
#include <string_view>

namespace vantry {

/// What is read from one line of /proc/PID/stat.
struct ProcessStat
{
    std::string command; ///< As the kernel keeps it: at most 15 bytes, of any value.
    char state { '?' };
    std::int64_t parent { 0 };
    std::uint64_t startTicks { 0 }; ///< Since the boot, time in suspend included.

    [[nodiscard]] bool isGone() const { return state == 'Z' || state == 'X' || state == 'x'; }

    /// Nothing when the text is cut or of another form.
    [[nodiscard]] static std::optional<ProcessStat> parse(std::string_view text);
};

/// The process table as /proc shows it. Start times add ticks since the boot to the time of the boot. The kernel's own
/// idea of that time moves whenever the clock is set, so the first answer is kept for the life of the boot, in the file
/// "boot-time" of the data folder. Where that can't be written, start times are constant for this run only.
class LinuxProcessTable final : public ProcessTable
{
public:
    /// Takes the kernel's own idea of the boot time, and keeps nothing.
    LinuxProcessTable();
    /// Reads or writes the kept boot time; makes the folder when it is missing.
    explicit LinuxProcessTable(const QString &dataFolder);

    [[nodiscard]] std::optional<double> startTime(std::int64_t pid) const override;
    [[nodiscard]] std::optional<std::int64_t> parent(std::int64_t pid) const override;
    [[nodiscard]] std::optional<QString> commandName(std::int64_t pid) const override;
    Signalled terminate(std::int64_t pid, double startTime) override;

private:
    explicit LinuxProcessTable(std::optional<double> boot);

    [[nodiscard]] bool isStill(std::int64_t pid, double startTime) const;

    std::optional<double> m_bootTime; ///< Seconds since 1970.
    double m_ticksPerSecond;
};

} // namespace vantry
