#pragma once

#include <QString>

#include <cstdint>
#include <optional>
#include <string_view>

namespace vantry {

/// The JSON object of a transcript's line, or an object within it, looked up key by key; of a doubled key the last one
/// counts. Views the line's text. For the few lines that decide something: each look-up walks the object. Any thread.
class TranscriptRecord
{
public:
    /// Nothing unless the line is a JSON object, sound in all its parts.
    [[nodiscard]] static std::optional<TranscriptRecord> parse(std::string_view line);

    /// The text of a string; nothing for what is missing or of another kind. So with the others.
    [[nodiscard]] std::optional<QString> string(std::string_view key) const;
    [[nodiscard]] std::optional<TranscriptRecord> object(std::string_view key) const;
    /// An integer within 64 bits, however it is written.
    [[nodiscard]] std::optional<std::int64_t> integer(std::string_view key) const;
    [[nodiscard]] bool isTrue(std::string_view key) const;
    /// The conversation's text in a message: its "content", or the texts of the blocks in there, one to a line.
    [[nodiscard]] QString contentText() const;

private:
    explicit TranscriptRecord(std::string_view object)
        : m_object(object)
    {}

    /// The value's source text; empty when there is none.
    [[nodiscard]] std::string_view value(std::string_view key) const;

    std::string_view m_object;
};

} // namespace vantry
