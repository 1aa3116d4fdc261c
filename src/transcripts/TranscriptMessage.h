#pragma once

#include "base/Clock.h"
#include "transcripts/TranscriptLine.h"

#include <QString>

#include <optional>
#include <string_view>

namespace vantry {

/// One row of a conversation: what a person wrote, what the agent wrote, or a tool's (or slash command's) call.
struct TranscriptMessage
{
    enum class Role { user, assistant, toolUse };

    QString id; ///< Unique within a transcript, and the same each time it is read.
    Role role;
    QString text; ///< Empty for toolUse.
    std::optional<Date> timestamp;
    std::optional<QString> toolName;    ///< The tool, or the slash command as written.
    std::optional<QString> toolSummary; ///< What the call is about, in one line.

    friend bool operator==(const TranscriptMessage &, const TranscriptMessage &) = default;
};

// Pure functions, any thread.

/// The text of a line's "message": its string, or the texts of its blocks, one to a line. The line must be sound.
[[nodiscard]] QString extractText(const TranscriptContent &message);
/// What a tool's call is about, in one line. `input` is the source text of a checked JSON object.
[[nodiscard]] QString toolSummary(const QString &name, std::optional<std::string_view> input);
/// The last two parts of a path.
[[nodiscard]] QString shortPath(const QString &path);

} // namespace vantry
