#pragma once

#include <QString>

#include <cstdint>
#include <functional>

namespace vantry {

/// How a call from outside ended.
struct ControlOutcome
{
    enum class Kind { Done, NoSuchSession, NotPossible };
    Kind kind { Kind::Done };
    QString reason; ///< One line for a person; empty when done.
};

/// What the running application can be asked for from outside. Implemented in app/control/; called on the main thread.
/// Session identifiers are whole ones, and they and all other arguments may be anything that a caller makes up.
class ControlRequests
{
public:
    /// Takes the outcome, once: at once, or when the outside programs that the request started have done their part.
    /// Not called when the application ends before.
    using Reply = std::function<void(const ControlOutcome &)>;

    virtual ~ControlRequests() = default;

    /// Whether hook events can come in.
    [[nodiscard]] virtual bool isListening() const = 0;
    /// The document of `vantry status --json`, as text.
    [[nodiscard]] virtual QString list() const = 0;
    virtual void allow(const QString &sessionID, Reply reply) = 0;
    /// `stop` makes the agent end its turn, too.
    virtual void deny(const QString &sessionID, bool stop, Reply reply) = 0;
    virtual void alwaysAllow(const QString &sessionID, Reply reply) = 0;
    /// Chooses an option, from 0, of the session's question.
    virtual void answer(const QString &sessionID, int index, Reply reply) = 0;
    /// Types a line into the session's terminal.
    virtual void send(const QString &sessionID, const QString &text, Reply reply) = 0;
    /// Brings the session's terminal forward.
    virtual void focus(const QString &sessionID, Reply reply) = 0;
    virtual void kill(const QString &sessionID, Reply reply) = 0;
    /// Starts an agent. `mode` is "fresh", "resume" or "continueLatest"; `sessionID` is for "resume";
    /// `permissionMode` is a permission mode's raw value.
    virtual void launch(const QString &path, const QString &mode, const QString &sessionID,
                        const QString &permissionMode, Reply reply) = 0;
    /// Shows the panel, by the user's own act. False when the application runs without windows.
    virtual bool showPanel() = 0;
    /// The same for the settings.
    virtual bool showSettings() = 0;
    /// Ends the application soon after the call has been answered.
    virtual void quit() = 0;
};

/// Publishes ControlRequests to the user's other programs. Main thread only.
class ControlEndpoint
{
public:
    enum class Publication {
        Published,
        NameTaken,   ///< Another instance of this user's owns the name.
        Unavailable, ///< There is no bus; the application runs all the same.
    };

    virtual ~ControlEndpoint() = default;

    /// Takes the name and answers calls from now on. `requests` must outlive the endpoint, or withdraw() be called.
    virtual Publication publish(ControlRequests &requests) = 0;
    /// Gives the name up; no request is made from now on. Who waits for an outcome is told that there will be none.
    virtual void withdraw() = 0;
    /// Tells the listeners: one session (JSON text), an identifier that left the list, the listener's state, how many
    /// of the old transcripts have been read. Nothing happens while not published.
    virtual void announceChanged(const QString &sessionJson) = 0;
    virtual void announceRemoved(const QString &sessionID) = 0;
    virtual void announceListening(bool listening) = 0;
    virtual void announceBackfill(std::uint32_t done, std::uint32_t total) = 0;
};

} // namespace vantry
