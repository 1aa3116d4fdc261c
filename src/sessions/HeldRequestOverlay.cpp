#include "sessions/HeldRequestOverlay.h"

#include "sessions/VantrySession.h"

#include <algorithm>

namespace vantry {

SessionActivity HeldRequestOverlay::before(const HookEvent &event, const VantrySession &session) const
{
    SessionActivity activity = said(session);
    const auto entry = m_entries.constFind(session.id());
    if (entry != m_entries.cend() && asksForHeldPermission(event) && holdsAnnounced(*entry, session.id())) {
        activity.toolName.reset();
        activity.toolDetail.reset();
    }
    return activity;
}

SessionActivity HeldRequestOverlay::after(const HookEvent &event, const EventReaction &reaction,
                                          const VantrySession &session, const SessionActivity &said)
{
    const PendingPermission *first = m_held.firstHeld(session.id());
    if (!first) {
        m_entries.remove(session.id());
        return said;
    }
    Entry &entry = m_entries[session.id()];
    if (asksForHeldPermission(event))
        announce(entry, event, said);

    const bool isWaiting = session.state() == SessionState::needsPermission;
    const bool mayStop = event.eventType() == HookEventType::taskCompleted ||
                         !(reaction.keepsState || m_held.holdsRequestOfOtherAgent(session.id(), event.agentId) ||
                           announcesHeldCall(event));
    if (said.state == SessionState::needsPermission || (isWaiting && !mayStop))
        return cover(entry, *first, said);
    entry.covered.reset();
    return said;
}

SessionActivity HeldRequestOverlay::afterChange(const VantrySession &session)
{
    const PendingPermission *first = m_held.firstHeld(session.id());
    if (!first) {
        const SessionActivity uncovered = uncover(session);
        return uncovered.state == SessionState::hasQuestion ? uncovered : SessionActivity::of(session);
    }
    const auto entry = m_entries.find(session.id());
    const bool isShown = session.isAlive() && session.state() == SessionState::needsPermission;
    // A request that has just come is shown by its event, which follows at once.
    if (!isShown || entry == m_entries.end() || !entry->announced.contains(first->id))
        return SessionActivity::of(session);
    return cover(*entry, *first, said(session));
}

SessionActivity HeldRequestOverlay::afterAnswer(const VantrySession &session, SessionState next)
{
    SessionActivity activity = said(session);
    if (activity.state != SessionState::hasQuestion)
        activity.state = next;
    activity.toolName.reset();

    if (const PendingPermission *first = m_held.firstHeld(session.id()))
        return cover(m_entries[session.id()], *first, activity);
    m_entries.remove(session.id());
    return activity;
}

SessionActivity HeldRequestOverlay::uncover(const VantrySession &session)
{
    const SessionActivity activity = said(session);
    m_entries.remove(session.id());
    return activity;
}

SessionActivity HeldRequestOverlay::said(const VantrySession &session) const
{
    SessionActivity activity = SessionActivity::of(session);
    const auto entry = m_entries.constFind(session.id());
    if (entry == m_entries.cend() || !entry->covered || session.state() != SessionState::needsPermission)
        return activity;
    activity.state = entry->covered->state;
    activity.toolName = entry->covered->call.name;
    activity.toolDetail = entry->covered->call.detail;
    return activity;
}

bool HeldRequestOverlay::holdsAnnounced(const Entry &entry, const QString &sessionID) const
{
    return std::ranges::any_of(m_held.pending(), [&](const PendingPermission &request) {
        return request.event.sessionID == sessionID && entry.announced.contains(request.id);
    });
}

bool HeldRequestOverlay::announcesHeldCall(const HookEvent &event) const
{
    if (event.eventType() != HookEventType::preToolUse || !event.toolInput)
        return false;
    return std::ranges::any_of(m_held.pending(), [&](const PendingPermission &request) {
        const HookEvent &asked = request.event;
        return asked.sessionID == event.sessionID && asked.agentId == event.agentId &&
               asked.toolName == event.toolName && asked.toolInput == event.toolInput;
    });
}

void HeldRequestOverlay::announce(Entry &entry, const HookEvent &event, const SessionActivity &said) const
{
    const auto request = std::ranges::find_if(m_held.pending(), [&](const PendingPermission &held) {
        return held.event.sessionID == event.sessionID && held.event.agentId == event.agentId &&
               !entry.announced.contains(held.id);
    });
    if (request != m_held.pending().cend())
        entry.announced.insert(request->id, { said.toolName, said.toolDetail });
}

SessionActivity HeldRequestOverlay::cover(Entry &entry, const PendingPermission &first, SessionActivity said)
{
    entry.covered = Covered { said.state, { said.toolName, said.toolDetail } };
    const ToolCall call = entry.announced.value(first.id, { first.event.toolName, first.event.toolDetail });
    said.state = SessionState::needsPermission;
    said.toolName = call.name;
    said.toolDetail = call.detail;
    return said;
}

} // namespace vantry
