#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vantry {

/// The directory for whose transcripts the agent made a folder of this name, which is the directory's path with each
/// "/" written as "-". Every "-" may stand for either: the reading with slashes alone comes first, then, at each
/// junction from the left, a dash before a slash. The first reading that exists is the result; nothing when none does.
/// Paths are in the system's encoding. Any thread; the caller waits for the disk.
[[nodiscard]] std::optional<std::string> resolveProjectFolder(std::string_view name);

} // namespace vantry
