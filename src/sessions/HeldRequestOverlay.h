#pragma once

#include "hooks/HookEvent.h"
#include "sessions/PendingPermissionStore.h"
#include "sessions/SessionActivity.h"

#include <QHash>
#include <QString>
#include <QUuid>

#include <optional>

namespace vantry {

/// What a person sees is what they answer: while a session waits for a permission and requests of it are held, its tool
/// and detail are those of the first held one, which is the one that Allow answers. Several can be held, since
/// background subagents ask on their own.
///
/// What the events say goes on beside that, covered, and is what the next event starts from:
/// - An event takes the session out of `needsPermission` only when no request of another agent is held. The end of
///   its task takes it out in every case: with it all its requests are given up.
/// - The announcement of the very call that a held request is about says nothing new: the request has overtaken it.
/// - In every other state nothing is covered, also for the moment in which a request is still held that was answered in
///   the terminal.
/// - When the first request ends by itself, the next one is shown. When the last one does, what is shown stays: the
///   agent falls back to its own dialog about it. A question that was covered meanwhile shows again.
/// - A request without tool or detail is shown with those that its own event left, never with another request's.
///
/// Owns what is covered. Main thread only.
class HeldRequestOverlay
{
public:
    /// `held` must outlive this.
    explicit HeldRequestOverlay(const PendingPermissionStore &held)
        : m_held(held)
    {}

    /// What the events have said of the session up to this one.
    [[nodiscard]] SessionActivity before(const HookEvent &event, const VantrySession &session) const;
    /// Takes what the events say after this one, and gives what is to be shown. The session is as before the event.
    [[nodiscard]] SessionActivity after(const HookEvent &event, const EventReaction &reaction,
                                        const VantrySession &session, const SessionActivity &said);
    /// What is to be shown once requests of the session have come or ended.
    [[nodiscard]] SessionActivity afterChange(const VantrySession &session);
    /// What is to be shown once the user's answer has brought the session to the state `next`: that, or the request
    /// that is first now.
    [[nodiscard]] SessionActivity afterAnswer(const VantrySession &session, SessionState next);
    /// Uncovers a session that has ended, and gives what was covered.
    [[nodiscard]] SessionActivity uncover(const VantrySession &session);

private:
    struct ToolCall
    {
        std::optional<QString> name;
        std::optional<QString> detail;
    };
    struct Covered
    {
        SessionState state;
        ToolCall call;
    };
    struct Entry
    {
        std::optional<Covered> covered;
        QHash<QUuid, ToolCall> announced; ///< Requests whose event has been applied, and how it left the tool.
    };

    [[nodiscard]] SessionActivity said(const VantrySession &session) const;
    [[nodiscard]] bool holdsAnnounced(const Entry &entry, const QString &sessionID) const;
    /// Whether the event says that the agent is about to make a call for which it already waits for a permission.
    [[nodiscard]] bool announcesHeldCall(const HookEvent &event) const;
    void announce(Entry &entry, const HookEvent &event, const SessionActivity &said) const;
    /// Lays the request over what is said.
    static SessionActivity cover(Entry &entry, const PendingPermission &first, SessionActivity said);

    const PendingPermissionStore &m_held;
    QHash<QString, Entry> m_entries; ///< By session; one for each that has had a request since none was held.
};

} // namespace vantry
