#pragma once

#include "base/JsonText.h"

#include <string>
#include <string_view>
#include <vector>

namespace vantry {

// The bodies that answer a held permission request: compact JSON, as the agent reads it. Pure functions, any thread.

/// `behavior` is "allow" or "deny".
[[nodiscard]] std::string decisionBody(std::string_view behavior);
/// Denies, and makes the agent stop.
[[nodiscard]] std::string interruptBody();
/// Allows, and installs the rules; each goes out with its source text unchanged.
[[nodiscard]] std::string alwaysAllowBody(const std::vector<AnyCodableMap> &updatedPermissions);

} // namespace vantry
