#pragma once

#include <QString>

#include <cstdint>
#include <optional>

namespace vantry {

/// Where a session's agent runs, as its hook reported it.
struct TerminalTarget
{
    QString type;                            ///< The terminal_type.
    QString sessionID;                       ///< The terminal_session_id; its form is the driver's own.
    std::optional<std::int64_t> shellPid {}; ///< The shell that the agent was started from.
    friend bool operator==(const TerminalTarget &, const TerminalTarget &) = default;
};

/// A command line for the user's login shell, in a new window or tab. The shell stays when the command has ended.
struct TerminalCommand
{
    QString directory;
    QString commandLine; ///< One line, its words quoted for a POSIX shell.
    friend bool operator==(const TerminalCommand &, const TerminalCommand &) = default;
};

/// One kind of terminal that can be driven from outside. What differs from one terminal to the next stands in the
/// target; a driver keeps no state of its own.
class TerminalDriver
{
public:
    /// What can be done with a target.
    struct Abilities
    {
        bool focus { false };
        bool type { false };
        bool open { false };
        bool close { false };
        friend bool operator==(const Abilities &, const Abilities &) = default;
    };

    /// Why something was not done, as one line for a person; nothing when it was done.
    using Failure = std::optional<QString>;

    /// What keeps a terminal from being driven, and what its user can do about it.
    struct Problem
    {
        QString detail;
        QString advice;
        friend bool operator==(const Problem &, const Problem &) = default;
    };

    virtual ~TerminalDriver() = default;

    /// The terminal's name as its users know it: "tmux".
    [[nodiscard]] virtual QString name() const = 0;
    /// Whether targets of this type are this driver's.
    [[nodiscard]] virtual bool handles(const QString &terminalType) const = 0;
    /// What it can do with a target as far as can be told without asking the terminal: a target without a usable
    /// identifier can't be typed into. Any thread.
    [[nodiscard]] virtual Abilities abilities(const TerminalTarget &target) const = 0;

    // What follows asks the terminal and waits, two seconds at most. Any thread but the main thread; never two calls at
    // once for the same target, but that one may be shown while something is typed into it.

    /// Shows the target to the user: its tab and pane become the current ones, its window is raised.
    virtual Failure focus(const TerminalTarget &target) = 0;
    /// Types the text as it stands; nothing in it is a key's name or an escape. It has no line breaks.
    virtual Failure typeText(const TerminalTarget &target, const QString &text) = 0;
    virtual Failure pressReturn(const TerminalTarget &target) = 0;
    /// Closes the target's tab or pane and ends what runs in it.
    virtual Failure close(const TerminalTarget &target) = 0;
    /// Opens a new window or tab in the same terminal as the target, runs the command in it and shows it.
    virtual Failure open(const TerminalTarget &target, const TerminalCommand &command) = 0;

    /// A terminal in which open() would work though no session lives in it, if one can be found.
    [[nodiscard]] virtual std::optional<TerminalTarget> findPlaceToOpen() = 0;
    /// What keeps the target from being driven; nothing when all is well.
    [[nodiscard]] virtual std::optional<Problem> examine(const TerminalTarget &target) = 0;
};

} // namespace vantry
