#pragma once

#include <QString>

#include <cstdint>
#include <functional>
#include <optional>
#include <variant>

namespace vantry {

/// Why the running application did not do what it was asked for.
struct ControlFailure
{
    enum class Kind {
        NotRunning,    ///< No application runs for this user, or it can't be reached.
        NoSuchSession, ///< It knows no session of this identifier.
        NotPossible,   ///< The session's state, its terminal, or the application's does not allow the call.
        Unanswered,    ///< It runs and gave no usable answer.
    };
    Kind kind { Kind::Unanswered };
    QString reason; ///< One line for a person.
};

/// The application that runs for this user, asked from another process. Calls wait for their answer. Main thread only,
/// and follow() needs an event loop.
class ControlClient
{
public:
    /// What is told about the running application; an unset function is not told.
    struct Listener
    {
        std::function<void(const QString &sessionJson)> onChanged {};
        std::function<void(const QString &sessionID)> onRemoved {};
        std::function<void(bool listening)> onListening {};
        std::function<void(std::uint32_t done, std::uint32_t total)> onBackfill {};
        std::function<void()> onGone {}; ///< The application has ended, or can't be reached any more.
    };

    virtual ~ControlClient() = default;

    /// Whether there is a way to reach an application at all.
    [[nodiscard]] virtual bool isConnected() const = 0;
    /// The document of `vantry status --json`.
    [[nodiscard]] virtual std::variant<QString, ControlFailure> list() = 0;

    // Each gives nothing when it was done. Identifiers are whole ones.
    [[nodiscard]] virtual std::optional<ControlFailure> allow(const QString &sessionID) = 0;
    [[nodiscard]] virtual std::optional<ControlFailure> deny(const QString &sessionID, bool stop) = 0;
    [[nodiscard]] virtual std::optional<ControlFailure> alwaysAllow(const QString &sessionID) = 0;
    [[nodiscard]] virtual std::optional<ControlFailure> answer(const QString &sessionID, int index) = 0;
    [[nodiscard]] virtual std::optional<ControlFailure> send(const QString &sessionID, const QString &text) = 0;
    [[nodiscard]] virtual std::optional<ControlFailure> focus(const QString &sessionID) = 0;
    [[nodiscard]] virtual std::optional<ControlFailure> kill(const QString &sessionID) = 0;
    /// The arguments are those of ControlRequests::launch().
    [[nodiscard]] virtual std::optional<ControlFailure>
    launch(const QString &path, const QString &mode, const QString &sessionID, const QString &permissionMode) = 0;
    /// Asks it to show itself, as far as it has windows.
    [[nodiscard]] virtual std::optional<ControlFailure> activate() = 0;
    [[nodiscard]] virtual std::optional<ControlFailure> showPanel() = 0;
    [[nodiscard]] virtual std::optional<ControlFailure> showSettings() = 0;
    [[nodiscard]] virtual std::optional<ControlFailure> quit() = 0;

    /// Tells the listener from now on, in the order in which things happen; a list() that is asked for after this call
    /// misses nothing.
    virtual void follow(Listener listener) = 0;
};

} // namespace vantry
