#pragma once

#include "sessions/AgentPermissionMode.h"
#include "sessions/VantrySession.h"
#include "terminal/TerminalCompletions.h"
#include "terminal/TerminalLanes.h"
#include "terminal/TypingRules.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <variant>
#include <vector>

namespace vantry {

class AgentLauncher;
class Applications;
class Log;
class ScriptHost;
class ScriptRunner;

/// The one place that reaches into the terminals that host agents: brings them forward, types into them, opens and
/// closes them. What it knows of a terminal is what the session's hook reported. Operations return at once; what they
/// start outside runs without blocking the caller. Each writes what it does, and what fails, to the log; who wants to
/// tell the user gives a completion. Main thread only.
class TerminalBridge
{
public:
    /// How a new agent begins.
    struct Resume
    {
        QString sessionID;
        friend bool operator==(const Resume &, const Resume &) = default;
    };
    struct Fresh
    {
        friend bool operator==(const Fresh &, const Fresh &) = default;
    };
    struct ContinueLatest
    {
        friend bool operator==(const ContinueLatest &, const ContinueLatest &) = default;
    };
    using LaunchMode = std::variant<Resume, Fresh, ContinueLatest>;

    /// How an operation ended: nothing when it was done as asked for, else one line for a person. Called once, on the
    /// main thread, never from within the operation; not called after the bridge has gone.
    using Completion = TerminalCompletion;

    struct Ports
    {
        MainQueue &mainQueue;
        Scheduler &scheduler;
        Log &log;
        ScriptHost &scripts;
        Applications &applications;
        /// Asked in this order; they and all else here outlive the bridge.
        std::vector<TerminalDriver *> drivers {};
        /// The live sessions, for finding a terminal to open something in. May be unset: there are none.
        std::function<QList<SessionPtr>()> liveSessions {};
        /// What the agent prints about its options; nothing when it can't be asked. Called once at most, off the main
        /// thread. May be unset: nothing.
        std::function<std::optional<QString>()> agentHelp {};
    };

    /// `pythonPath` is reserved for terminals that are driven by Python; nothing reads it.
    TerminalBridge(Ports ports, QString pythonPath);
    ~TerminalBridge();

    /// Brings the session's terminal to the front.
    void focusTerminal(const VantrySession &session, Completion completion = {});

    /// Types a line and submits it, also as the free answer to one question with a single choice. Line breaks are
    /// removed, and for a driver's terminal other control characters, too, which would be keys there. Where it can't be
    /// typed, or would answer an open dialog by accident, the terminal is brought forward instead, and the completion
    /// is given the reason. Otherwise that is called once the text stands in the terminal; its Return follows.
    void sendText(const VantrySession &session, const QString &text, Completion completion = {});
    /// Submits what stands in the terminal: approves an open permission prompt.
    void pressReturn(const VantrySession &session, Completion completion = {});
    /// Takes an option (from 0) of the question that the session asks.
    void answerQuestion(const VantrySession &session, int index, Completion completion = {});
    /// Approves the plan whose dialog is open; edits are still asked for. Does nothing where it can't type.
    void approvePlan(const VantrySession &session, Completion completion = {});

    /// Whether text typed by this bridge would arrive in the session's terminal.
    [[nodiscard]] bool canType(const VantrySession &session) const;
    /// Why sendText() would refuse now, as one line for a person; nothing when it would type.
    [[nodiscard]] std::optional<QString> refusalOfText(const VantrySession &session) const;
    /// Why answerQuestion() would refuse now; nothing when it would type.
    [[nodiscard]] std::optional<QString> refusalOfAnswer(const VantrySession &session, int index) const;
    /// The terminal's name for people: that of its driver ("tmux"), else its type; nothing when none was reported.
    [[nodiscard]] std::optional<QString> terminalName(const VantrySession &session) const;

    /// Starts an agent in a new window or tab.
    void launchClaude(const QString &projectPath, const LaunchMode &mode, const AgentLaunchFlags &flags,
                      const std::optional<QString> &prompt, Completion completion = {});
    /// Closes the session's tab.
    void closeTab(const VantrySession &session, Completion completion = {});
    /// The application that a new agent is started in where no driver opens one.
    [[nodiscard]] QString preferredTerminal() const;

private:
    /// What may be typed into a session now, by TypingRules.
    using Decide = std::function<TypingRules::Decision(const VantrySession &)>;
    struct Answer
    {
        std::vector<HookEvent::Question> questions;
        ScheduledTimer end {}; ///< Idle while the keys are not all typed.
    };

    [[nodiscard]] TerminalDriver *driverFor(const TerminalTarget &target) const;
    [[nodiscard]] TerminalDriver *driverFor(const TerminalTarget &target,
                                            bool TerminalDriver::Abilities::*ability) const;
    void drive(const TerminalDriver &driver, const QString &task, const QString &lane, TerminalLanes::Steps steps,
               Completion completion);

    void focusITerm2(const QString &sessionID, Completion completion);
    void focusKitty(const QString &sessionID, Completion completion);
    void focusBundle(const QString &bundleIdentifier, Completion completion);
    void focusByName(const QString &type, Completion completion);
    /// Brings the terminal forward and gives the reason why nothing else was done.
    void focusInstead(const VantrySession &session, const QString &reason, Completion completion);
    void refuse(const VantrySession &session, const QString &operation, const QString &reason, Completion completion);
    void fallBack(const VantrySession &session, const QString &operation, Completion completion);

    [[nodiscard]] QString reasonAgainstTyping(const VantrySession &session) const;
    void enter(const VantrySession &session, const QString &operation, const Decide &decide, Completion completion);
    void type(const VantrySession &session, const TypingRules::Keystrokes &keys, const Decide &decide,
              Completion completion);

    [[nodiscard]] bool hasJustAnswered(const VantrySession &session) const;
    [[nodiscard]] Completion noteAnswer(const VantrySession &session, Completion completion);

    void log(const QString &message) const;

    const Ports m_ports;
    const QString m_pythonPath;
    const std::shared_ptr<TerminalCompletions> m_completions;
    const std::unique_ptr<ScriptRunner> m_scripts;
    const std::unique_ptr<AgentLauncher> m_launcher;
    std::map<QString, Answer> m_answers; ///< By session; those that the agent may not have taken in yet.
    TerminalLanes m_lanes;               ///< Last: its end waits for the calls that are under way.
};

} // namespace vantry
