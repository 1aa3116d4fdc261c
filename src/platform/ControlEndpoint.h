#pragma once

#include <QString>

namespace vantry {

/// How a call from outside ended.
struct ControlOutcome
{
    enum class Kind { Done, NoSuchSession, NotPossible };
    Kind kind { Kind::Done };
    QString reason; ///< One line for a person; empty when done.
};

/// What the running application can be asked for from outside. Implemented in app/control/; called on the main thread.
/// Session identifiers are whole ones, and may be anything that a caller makes up.
class ControlRequests
{
public:
    virtual ~ControlRequests() = default;

    /// Whether hook events can come in.
    [[nodiscard]] virtual bool isListening() const = 0;
    /// The document of `vantry status --json`, as text.
    [[nodiscard]] virtual QString list() const = 0;
    virtual ControlOutcome allow(const QString &sessionID) = 0;
    /// `stop` makes the agent end its turn, too.
    virtual ControlOutcome deny(const QString &sessionID, bool stop) = 0;
    virtual ControlOutcome alwaysAllow(const QString &sessionID) = 0;
    virtual ControlOutcome kill(const QString &sessionID) = 0;
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
    /// Gives the name up; no request is made from now on.
    virtual void withdraw() = 0;
    /// Tells the listeners: one session (JSON text), an identifier that left the list, the listener's state. Nothing
    /// happens while not published.
    virtual void announceChanged(const QString &sessionJson) = 0;
    virtual void announceRemoved(const QString &sessionID) = 0;
    virtual void announceListening(bool listening) = 0;
};

} // namespace vantry
