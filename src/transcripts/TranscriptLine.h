#pragma once

#include <optional>
#include <string_view>
#include <vector>

namespace vantry {

// Strings come as the inside of the JSON string: what stands between the quotes, escapes as they stand (see
// decodeJsonString). All views point into the line's text. Of a key that occurs twice the last one counts.

/// What stands under "content" of a line's "message".
struct TranscriptContent
{
    enum class Kind {
        none,   ///< Missing, or nothing that is read.
        string, ///< One string.
        blocks, ///< An array of objects throughout.
    };

    Kind kind { Kind::none };
    std::string_view source;        ///< Of the array; of a string, its inside.
    bool hasTextBlock { false };    ///< A block of the type "text".
    bool hasToolUseBlock { false }; ///< A block of the type "tool_use".
};

/// What a transcript's line holds at its top level, where anybody reads it.
struct TranscriptLine
{
    std::optional<std::string_view> type;
    std::optional<std::string_view> uuid;
    std::optional<std::string_view> timestamp;
    std::optional<std::string_view> gitBranch;
    std::optional<std::string_view> cwd;
    std::optional<TranscriptContent> message; ///< Nothing unless "message" is an object.
    bool isMeta { false };                    ///< No person wrote it: something that the agent adds.
    bool isCompactSummary { false };          ///< No person wrote it: what a conversation was about so far.
    bool isApiErrorMessage { false };
};

/// Reads lines one after the other. Any thread, one at a time.
class TranscriptLineReader
{
public:
    /// Nothing when the line is no JSON object as far as it is looked at. Other values than those above are passed over
    /// without a look: who takes anything from the line asks isSound() first. The text, which is valid UTF-8, must stay
    /// as it is while the line is used.
    [[nodiscard]] std::optional<TranscriptLine> read(std::string_view text);
    /// Whether the line that was read last is one sound JSON object: looks at all of it.
    [[nodiscard]] bool isSound() const;

private:
    std::string_view m_text;
    bool m_isChecked { false }; ///< Known to be sound from having been read.
};

/// One block of a content of the kind `blocks`. Keys whose value has another type than told count as absent.
struct TranscriptBlock
{
    std::optional<std::string_view> type;
    std::optional<std::string_view> text;
    std::optional<std::string_view> name;
    std::optional<std::string_view> id;
    std::optional<std::string_view> input; ///< Source text of the object.
};

/// The content's blocks in order, none for the other kinds. The line must be sound.
[[nodiscard]] std::vector<TranscriptBlock> blocksOf(const TranscriptContent &content);
/// The inside of the content's string; nothing for the other kinds. The line must be sound.
[[nodiscard]] std::optional<std::string_view> stringOf(const TranscriptContent &content);

/// Whether the inside of a JSON string stands for this text, which has no escapes.
[[nodiscard]] bool jsonStringIs(std::optional<std::string_view> inside, std::string_view text);

} // namespace vantry
