#pragma once

#include "hooks/HookEvent.h"

#include <gtest/gtest.h>

#include <string_view>
#include <utility>

namespace vantry::test {

/// Builds a hook event field by field: EventBuilder(HookEventType::stop).message(u"Done."_qs). The session is "s"
/// unless another is named.
class EventBuilder
{
public:
    explicit EventBuilder(HookEventType type)
    {
        m_event.sessionID = QStringLiteral("s");
        m_event.hookEventName = type;
    }

    EventBuilder &session(const QString &id) { return set(m_event.sessionID, id); }
    EventBuilder &agent(const QString &id) { return set(m_event.agentId, id); }
    EventBuilder &tool(const QString &name) { return set(m_event.toolName, name); }
    EventBuilder &detail(const QString &text) { return set(m_event.toolDetail, text); }
    EventBuilder &message(const QString &text) { return set(m_event.message, text); }
    EventBuilder &lastAssistantMessage(const QString &text) { return set(m_event.lastAssistantMessage, text); }
    EventBuilder &prompt(const QString &text) { return set(m_event.prompt, text); }
    EventBuilder &cwd(const QString &path) { return set(m_event.cwd, path); }
    EventBuilder &projectDir(const QString &path) { return set(m_event.projectDir, path); }
    EventBuilder &transcriptPath(const QString &path) { return set(m_event.transcriptPath, path); }
    EventBuilder &terminal(const QString &type, const QString &id)
    {
        m_event.terminalSessionID = id;
        return set(m_event.terminalType, type);
    }
    EventBuilder &pid(std::int64_t value) { return set(m_event.pid, value); }
    EventBuilder &shellPid(std::int64_t value) { return set(m_event.shellPid, value); }
    EventBuilder &interrupt(bool value) { return set(m_event.isInterrupt, value); }
    EventBuilder &notification(NotificationType type) { return set(m_event.notificationType, type); }
    EventBuilder &input(std::string_view json) { return set(m_event.toolInput, AnyCodableMap::fromText(json)); }
    EventBuilder &suggestion(std::string_view json)
    {
        if (!m_event.permissionSuggestions)
            m_event.permissionSuggestions.emplace();
        m_event.permissionSuggestions->push_back(AnyCodableMap::fromText(json).value());
        return *this;
    }
    EventBuilder &noSuggestions() { return set(m_event.permissionSuggestions, std::vector<AnyCodableMap>()); }

    operator const HookEvent &() const { return m_event; } // NOLINT(google-explicit-constructor): reads as the event.

private:
    template <typename Field, typename Value>
    EventBuilder &set(Field &field, Value value)
    {
        field = std::move(value);
        return *this;
    }

    HookEvent m_event;
};

} // namespace vantry::test
