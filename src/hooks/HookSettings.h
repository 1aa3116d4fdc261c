#pragma once

#include "base/JsonText.h"

#include <string_view>
#include <vector>

namespace vantry {

/// The agent's settings with our hook, whose command line is `command`, as the last entry of every event; entries of
/// ours from earlier installations are gone, and all else is as it was. Settings that are no object count as empty.
[[nodiscard]] JsonText settingsWithHook(JsonText settings, std::string_view command);

/// The events for which the settings don't name our hook, or with another command line than `command`; all of them when
/// there is none.
[[nodiscard]] std::vector<std::string_view> eventsWithoutHook(const JsonText &settings, std::string_view command);

/// Whether the settings name our hook. "Notification" is looked at as a sample of all events.
[[nodiscard]] bool settingsNameHook(const JsonText &settings);

} // namespace vantry
