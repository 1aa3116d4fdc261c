#include "alerts/SoundService.h"

#include "sessions/AttentionText.h"

namespace vantry {

using namespace Qt::StringLiterals;

namespace {

std::optional<SoundEvent> soundForNotification(std::optional<NotificationType> type,
                                               std::optional<SessionState> sessionState)
{
    if (type == NotificationType::elicitationDialog)
        return SoundEvent::question;
    if (type == NotificationType::taskComplete)
        return SoundEvent::taskComplete;
    if (type == NotificationType::permissionPrompt && sessionState == SessionState::needsPermission)
        return SoundEvent::permissionPrompt;
    return std::nullopt;
}

} // namespace

std::string_view rawValue(SoundEvent event)
{
    switch (event) {
    case SoundEvent::permissionPrompt:
        return "permissionPrompt";
    case SoundEvent::taskComplete:
        return "taskComplete";
    case SoundEvent::question:
        return "question";
    }
    Q_UNREACHABLE();
}

QString defaultSelection(SoundEvent event)
{
    switch (event) {
    case SoundEvent::permissionPrompt:
        return u"system:Blow"_s;
    case SoundEvent::taskComplete:
        return u"system:Glass"_s;
    case SoundEvent::question:
        return u"system:Purr"_s;
    }
    Q_UNREACHABLE();
}

QString selectionKey(SoundEvent event)
{
    const std::string_view raw = rawValue(event);
    return u"sound_"_s + QLatin1StringView(raw.data(), static_cast<qsizetype>(raw.size()));
}

void SoundService::handleEvent(const HookEvent &event, const SessionManager &sessions) const
{
    if (!isEnabled())
        return;
    const SessionPtr session = sessions.session(event.sessionID);
    const auto sound = soundFor(event, session ? std::optional(session->state()) : std::nullopt);
    if (!sound)
        return;
    m_log.write("SoundService: playing " + std::string(rawValue(*sound)));
    play(*sound);
}

void SoundService::play(SoundEvent event) const
{
    if (isEnabled())
        playSelection(m_defaults.string(selectionKey(event), defaultSelection(event)));
}

void SoundService::playSelection(const QString &selection) const
{
    const QString system = u"system:"_s;
    if (selection == u"none")
        return;
    if (selection.startsWith(system))
        m_player.playNamed(selection.mid(system.size()));
    else
        m_player.playFile(selection);
}

std::optional<SoundEvent> SoundService::soundFor(const HookEvent &event, std::optional<SessionState> sessionState)
{
    switch (event.eventType()) {
    case HookEventType::preToolUse:
        return event.toolName == u"AskUserQuestion"_s ? std::optional(SoundEvent::question) : std::nullopt;
    case HookEventType::stop:
        return event.lastAssistantMessage && endsWithQuestion(*event.lastAssistantMessage)
                   ? std::optional(SoundEvent::question)
                   : std::nullopt;
    case HookEventType::notification:
        return soundForNotification(event.notificationType, sessionState);
    default:
        return std::nullopt;
    }
}

bool SoundService::isEnabled() const
{
    return m_defaults.boolean(u"sounds_enabled"_s, true);
}

} // namespace vantry
