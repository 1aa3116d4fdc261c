#pragma once

#include "base/Clock.h"
#include "hooks/HookEvent.h"
#include "sessions/SessionState.h"

#include <QString>

#include <optional>
#include <vector>

namespace vantry {

class VantrySession;

/// The part of a session's record that the state machine moves. A plain value.
struct SessionActivity
{
    SessionState state { SessionState::working };
    std::optional<Date> lastAttentionDate;
    std::optional<QString> lastMessage;
    std::optional<QString> toolName;
    std::optional<QString> toolDetail;
    std::optional<std::vector<HookEvent::Question>> questions;

    [[nodiscard]] static SessionActivity of(const VantrySession &session);
    void writeTo(VantrySession &session) const;

    friend bool operator==(const SessionActivity &, const SessionActivity &) = default;
};

/// What an event asks for beside the new activity.
struct EventReaction
{
    bool needsAttention { false };
    bool keepsState { false }; ///< The row says nothing about the state.
    bool samplesGitDiff { false };
    bool updatesSearchIndex { false };
};

/// The state machine: one row per kind of event. Changes `activity` as the event says, its tool included. The end of a
/// session is no row of it: SessionManager::markEnded() does that. Pure; any thread.
EventReaction applyEvent(const HookEvent &event, Date now, SessionActivity &activity);

/// Whether the event asks for a permission that is held until the user answers. A question is never held: it is
/// answered in the agent's own dialog.
[[nodiscard]] bool asksForHeldPermission(const HookEvent &event);

} // namespace vantry
