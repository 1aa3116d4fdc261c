#pragma once

#include "platform/TerminalDriver.h"

#include <QStringList>

#include <chrono>

namespace vantry {

/// Opens new windows of the terminal emulator that the user has chosen: the one in $TERMINAL, else xdg-terminal-exec,
/// else x-terminal-emulator. No session is in it: what runs in such a window reports the terminal that it finds there.
class TerminalEmulatorDriver final : public TerminalDriver
{
public:
    /// How long a window that was opened is watched, for it may end at once with an error.
    static constexpr std::chrono::milliseconds usualPatience { 500 };

    explicit TerminalEmulatorDriver(std::chrono::milliseconds patience = usualPatience);

    [[nodiscard]] QString name() const override;
    [[nodiscard]] bool handles(const QString &terminalType) const override;
    [[nodiscard]] Abilities abilities(const TerminalTarget &target) const override;

    Failure focus(const TerminalTarget &target) override;
    Failure typeText(const TerminalTarget &target, const QString &text) override;
    Failure pressReturn(const TerminalTarget &target) override;
    Failure close(const TerminalTarget &target) override;
    /// The target is what findPlaceToOpen() gave. The window is no child of this program, and outlives it.
    Failure open(const TerminalTarget &target, const TerminalCommand &command) override;

    /// Its identifier is the terminal emulator, as the user calls it; nothing without a display.
    [[nodiscard]] std::optional<TerminalTarget> findPlaceToOpen() override;
    [[nodiscard]] std::optional<Problem> examine(const TerminalTarget &target) override;

private:
    const std::chrono::milliseconds m_patience;
};

/// A program that opens terminal windows.
struct TerminalEmulator
{
    QString executable;    ///< An absolute path.
    QStringList arguments; ///< In front of the program that is to run in the window, and its arguments.
    friend bool operator==(const TerminalEmulator &, const TerminalEmulator &) = default;

    /// By a name or path, which may be followed by arguments, as people put it into $TERMINAL. Nothing when there is no
    /// such program.
    [[nodiscard]] static std::optional<TerminalEmulator> find(const QString &command);
};

} // namespace vantry
