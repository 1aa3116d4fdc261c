#pragma once

#include "hooks/HookEvent.h"

#include <gtest/gtest.h>

#include <string_view>

namespace vantry::test {

/// The event of this JSON text; a failed test and an empty event when it can't be decoded.
inline HookEvent eventFromJson(std::string_view json)
{
    auto decoded = HookEvent::decode(json);
    if (const auto *reason = std::get_if<std::string>(&decoded)) {
        ADD_FAILURE() << "can't decode: " << *reason << "\n" << json;
        return {};
    }
    return std::get<HookEvent>(std::move(decoded));
}

} // namespace vantry::test
