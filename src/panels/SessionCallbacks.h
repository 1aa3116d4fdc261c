#pragma once

#include "sessions/AgentPermissionMode.h"
#include "sessions/VantrySession.h"
#include "terminal/TerminalBridge.h"

#include <QString>
#include <QUrl>

#include <functional>
#include <optional>

namespace vantry {

/// What the views may do to sessions and ask about them. Each that is left as it is does nothing, or knows nothing. All
/// are called on the main thread.
struct SessionCallbacks
{
    static constexpr auto doNothing = [](const auto &...) {};
    static constexpr auto sayNo = [](const auto &...) { return false; };
    static constexpr auto sayNothing = [](const auto &...) { return QString(); };
    static constexpr auto haveNothing = [](const auto &...) { return std::nullopt; };

    std::function<void(const SessionPtr &)> onFocusSession { doNothing };
    std::function<void(const SessionPtr &)> onAllowSession { doNothing };
    /// With `stop` the agent is made to stop, too.
    std::function<void(const SessionPtr &, bool stop)> onDenySession { doNothing };
    std::function<void(const SessionPtr &)> onAlwaysAllowSession { doNothing };
    /// Whether the request that Allow would answer came with rules for always allowing.
    std::function<bool(const SessionPtr &)> hasAlwaysAllowSuggestions { sayNo };
    /// Tells the held request that Allow would answer from others; empty when none is held.
    std::function<QString(const SessionPtr &)> heldRequestID { sayNothing };
    std::function<void(const SessionPtr &, const QString &text)> onSendText { doNothing };
    /// Takes an option, from 0, of the question that the session asks.
    std::function<void(const SessionPtr &, int index)> onAnswerQuestion { doNothing };
    std::function<void(const SessionPtr &)> onKillSession { doNothing };
    /// Starts an agent in a project's directory.
    std::function<void(const QString &path, const TerminalBridge::LaunchMode &, const AgentLaunchFlags &)>
        onLaunchClaude { doNothing };

    /// Whether text that is sent would arrive in the session's terminal.
    std::function<bool(const SessionPtr &)> canType { sayNo };
    /// Why a text would not be typed now, as one line for a person; nothing when it would.
    std::function<std::optional<QString>(const SessionPtr &)> refusalOfText { haveNothing };
    /// Why this option would not be taken now; nothing when it would.
    std::function<std::optional<QString>(const SessionPtr &, int index)> refusalOfAnswer { haveNothing };
    /// The terminal's name for people; empty when it isn't known.
    std::function<QString(const SessionPtr &)> terminalName { sayNothing };

    std::function<void(const QUrl &)> openUrl { doNothing };
    std::function<void()> openSettingsWindow { doNothing };
    std::function<void()> quit { doNothing };
};

} // namespace vantry
