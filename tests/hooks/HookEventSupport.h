#pragma once

#include "hooks/HookEvent.h"
#include "support/TestEvents.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <variant>

namespace vantry::test {

/// Why the text is no event; a failed test when it is one.
inline std::string defectOf(std::string_view json)
{
    const auto decoded = HookEvent::decode(json);
    if (const auto *reason = std::get_if<std::string>(&decoded))
        return *reason;
    ADD_FAILURE() << "decodes: " << json;
    return {};
}

inline bool decodes(std::string_view json)
{
    return std::holds_alternative<HookEvent>(HookEvent::decode(json));
}

/// A record with one more member.
inline std::string recordWith(std::string_view member)
{
    return R"({"session_id":"s",)" + std::string(member) + "}";
}

inline nlohmann::json inputValue(std::string_view json)
{
    const HookEvent event = eventFromJson(recordWith(R"("tool_input":{"v":)" + std::string(json) + "}"));
    return event.toolInput ? event.toolInput->value("v").value_or(AnyCodableValue {}).value : nlohmann::json();
}

} // namespace vantry::test
