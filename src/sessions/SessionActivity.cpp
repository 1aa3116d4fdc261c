#include "sessions/SessionActivity.h"

#include "sessions/AttentionText.h"
#include "sessions/VantrySession.h"

#include <algorithm>
#include <array>

namespace vantry {

namespace {

constexpr QStringView askUserQuestion = u"AskUserQuestion";
constexpr QStringView exitPlanMode = u"ExitPlanMode";

constexpr EventReaction calm {};
constexpr EventReaction attention { .needsAttention = true };

bool isTool(const HookEvent &event, QStringView name)
{
    return event.toolName && *event.toolName == name;
}

bool changesFiles(const HookEvent &event)
{
    constexpr std::array<QStringView, 5> tools { u"Write", u"Edit", u"Bash", u"MultiEdit", u"NotebookEdit" };
    return std::ranges::any_of(tools, [&](QStringView tool) { return isTool(event, tool); });
}

bool isEmpty(const std::optional<QString> &text)
{
    return !text || text->isEmpty();
}

/// An empty tool name counts, an empty detail doesn't.
void takeTool(const HookEvent &event, SessionActivity &activity)
{
    if (event.toolName)
        activity.toolName = event.toolName;
    if (!isEmpty(event.toolDetail))
        activity.toolDetail = event.toolDetail;
}

void clearTurn(SessionActivity &activity)
{
    activity.toolName.reset();
    activity.toolDetail.reset();
    activity.questions.reset();
}

void describeByLastMessage(SessionActivity &activity)
{
    if (!activity.toolDetail && !isEmpty(activity.lastMessage))
        activity.toolDetail = activity.lastMessage;
}

EventReaction onStop(const HookEvent &event, SessionActivity &activity)
{
    const std::optional<QString> &text = event.lastAssistantMessage;
    activity.state = text && endsWithQuestion(*text) ? SessionState::hasQuestion : SessionState::ready;
    activity.lastMessage = text ? text : event.message;
    return attention;
}

EventReaction onPreToolUse(const HookEvent &event, Date now, SessionActivity &activity)
{
    if (isTool(event, askUserQuestion)) {
        activity.state = SessionState::hasQuestion;
        activity.questions = event.questions();
        return attention;
    }
    if (isTool(event, exitPlanMode)) {
        activity.state = SessionState::needsPermission;
        activity.toolName = exitPlanMode.toString();
        activity.toolDetail = QStringLiteral("Plan review");
        activity.lastAttentionDate = now;
        return attention;
    }
    activity.state = SessionState::working;
    return calm;
}

EventReaction onPostToolUse(const HookEvent &event, SessionActivity &activity)
{
    // A question outlives the unrelated tool calls around it.
    if (activity.state == SessionState::hasQuestion && !isTool(event, askUserQuestion))
        return calm;
    activity.state = SessionState::working;
    clearTurn(activity);
    return { .samplesGitDiff = changesFiles(event) };
}

EventReaction onPostToolUseFailure(const HookEvent &event, SessionActivity &activity)
{
    if (!event.isInterrupt.value_or(false)) {
        activity.state = SessionState::working;
        return calm;
    }
    activity.state = SessionState::ready;
    activity.toolName.reset();
    activity.lastMessage = QStringLiteral("Interrupted");
    return calm;
}

EventReaction onPermissionRequest(const HookEvent &event, Date now, SessionActivity &activity)
{
    if (isTool(event, askUserQuestion)) {
        // The question's own PreToolUse has said it already, as a rule.
        if (activity.state != SessionState::hasQuestion) {
            activity.state = SessionState::hasQuestion;
            activity.lastAttentionDate = now;
        }
        return attention;
    }
    activity.state = SessionState::needsPermission;
    activity.lastAttentionDate = now;
    describeByLastMessage(activity);
    return attention;
}

EventReaction onPermissionPrompt(const HookEvent &event, Date now, SessionActivity &activity)
{
    const QString message = event.message.value_or(QString());
    if (!mentionsPermission(message) && !event.toolName) {
        activity.state = SessionState::ready;
        return calm;
    }
    activity.state = SessionState::needsPermission;
    activity.lastAttentionDate = now;
    if (!activity.toolName)
        activity.toolName = toolAskedFor(message);
    describeByLastMessage(activity);
    return attention;
}

EventReaction onNotificationType(const HookEvent &event, Date now, SessionActivity &activity)
{
    if (!event.notificationType) {
        activity.state = SessionState::ready;
        return calm;
    }
    switch (*event.notificationType) {
    case NotificationType::permissionPrompt:
        return onPermissionPrompt(event, now, activity);
    case NotificationType::idlePrompt:
        if (activity.state != SessionState::hasQuestion)
            activity.state = SessionState::ready;
        return calm;
    case NotificationType::taskComplete:
        activity.state = SessionState::ready;
        return attention;
    case NotificationType::elicitationDialog:
        activity.state = SessionState::hasQuestion;
        return attention;
    case NotificationType::authSuccess:
        activity.state = SessionState::working;
        return calm;
    }
    return calm;
}

EventReaction onNotification(const HookEvent &event, Date now, SessionActivity &activity)
{
    const EventReaction reaction = onNotificationType(event, now, activity);
    // Last: the previous message may serve as the detail of what is asked for. A missing message clears it.
    activity.lastMessage = event.message;
    return reaction;
}

} // namespace

SessionActivity SessionActivity::of(const VantrySession &session)
{
    return { session.state(),    session.lastAttentionDate(), session.lastMessage(),
             session.toolName(), session.toolDetail(),        session.questions() };
}

void SessionActivity::writeTo(VantrySession &session) const
{
    session.setState(state);
    session.setLastAttentionDate(lastAttentionDate);
    session.setLastMessage(lastMessage);
    session.setToolName(toolName);
    session.setToolDetail(toolDetail);
    session.setQuestions(questions);
}

EventReaction applyEvent(const HookEvent &event, Date now, SessionActivity &activity)
{
    const HookEventType type = event.eventType();
    if (type == HookEventType::userPromptSubmit)
        clearTurn(activity);
    takeTool(event, activity);

    switch (type) {
    case HookEventType::sessionStart:
        activity.state = SessionState::ready;
        return calm;
    case HookEventType::notification:
        return onNotification(event, now, activity);
    case HookEventType::stop:
        return onStop(event, activity);
    case HookEventType::userPromptSubmit:
        activity.state = SessionState::working;
        return calm;
    case HookEventType::preToolUse:
        return onPreToolUse(event, now, activity);
    case HookEventType::postToolUse:
        return onPostToolUse(event, activity);
    case HookEventType::postToolUseFailure:
        return onPostToolUseFailure(event, activity);
    case HookEventType::permissionRequest:
        return onPermissionRequest(event, now, activity);
    case HookEventType::taskCompleted:
        activity.state = SessionState::ready;
        return { .needsAttention = true, .updatesSearchIndex = true };
    default:
        // Subagents, compaction, configuration and worktrees: they only show that the session is active.
        return { .keepsState = true };
    }
}

bool asksForHeldPermission(const HookEvent &event)
{
    return event.eventType() == HookEventType::permissionRequest && !isTool(event, askUserQuestion);
}

} // namespace vantry
