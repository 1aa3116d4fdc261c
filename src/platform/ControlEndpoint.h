#pragma once

#include <QString>

#include <functional>
#include <optional>

namespace vantry {

/// How a call from outside ended.
struct ControlOutcome
{
    enum class Kind { Done, NoSuchSession, NotPossible };
    Kind kind { Kind::Done };
    QString reason; ///< One line for a person; empty when done.
};

/// What the running application can be asked for from outside. Implemented in app/control/; called on the main thread.
/// Session identifiers are whole ones.
class ControlRequests
{
public:
    enum class LaunchKind { Fresh, Resume, ContinueLatest };

    virtual ~ControlRequests() = default;

    [[nodiscard]] virtual bool isListening() const = 0;
    /// The document of `vantry status --json`, as text.
    [[nodiscard]] virtual QString list() const = 0;
    virtual ControlOutcome allow(const QString &sessionID) = 0;
    virtual ControlOutcome deny(const QString &sessionID, bool stop) = 0;
    virtual ControlOutcome alwaysAllow(const QString &sessionID) = 0;
    virtual ControlOutcome answer(const QString &sessionID, int index) = 0;
    virtual ControlOutcome send(const QString &sessionID, const QString &text) = 0;
    virtual ControlOutcome focus(const QString &sessionID) = 0;
    virtual ControlOutcome kill(const QString &sessionID) = 0;
    virtual ControlOutcome launch(const QString &path, LaunchKind kind, const QString &sessionID,
                                  const QString &permissionMode) = 0;
    virtual void showPanel() = 0;
    virtual void showSettings() = 0;
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

    /// Takes the name and answers calls from now on. `requests` must outlive the endpoint.
    virtual Publication publish(ControlRequests &requests) = 0;
    /// Tells the listeners: one session (JSON text), an identifier that left the list, the listener's state, the
    /// history import's progress.
    virtual void announceChanged(const QString &sessionJson) = 0;
    virtual void announceRemoved(const QString &sessionID) = 0;
    virtual void announceListening(bool listening) = 0;
};

} // namespace vantry
