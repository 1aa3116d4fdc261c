#include "transcripts/TranscriptLine.h"

#include "base/JsonReader.h"
#include "base/JsonScalars.h"

#include <string>

namespace vantry {
namespace {

constexpr std::size_t longestShort = std::size_t { 4 } << 10;

/// The length of the white space character at the front of the bytes (Unicode's, which an editor may have left), 0 when
/// there is none.
std::size_t blankAtFront(std::string_view text)
{
    if (text.empty())
        return 0;
    const char first = text.front();
    if (first == ' ' || (first >= '\t' && first <= '\r'))
        return 1;
    if (text.starts_with("\xC2\x85") || text.starts_with("\xC2\xA0"))
        return 2;
    if (text.starts_with("\xE1\x9A\x80") || text.starts_with("\xE2\x81\x9F") || text.starts_with("\xE3\x80\x80"))
        return 3;
    if (text.size() >= 3 && text.starts_with("\xE2\x80")) {
        const auto last = static_cast<unsigned char>(text[2]);
        const bool isBlank = last <= 0x8A || last == 0xA8 || last == 0xA9 || last == 0xAF;
        return isBlank ? 3 : 0;
    }
    return 0;
}

std::string_view trimmed(std::string_view text)
{
    if (text.starts_with('{') && text.ends_with('}'))
        return text;
    while (const std::size_t length = blankAtFront(text))
        text.remove_prefix(length);
    // At the end, a character is found from its first byte.
    for (bool isBlank = true; isBlank;) {
        isBlank = false;
        for (std::size_t length = 1; length <= 3 && length <= text.size() && !isBlank; ++length) {
            isBlank = blankAtFront(text.substr(text.size() - length)) == length;
            if (isBlank)
                text.remove_suffix(length);
        }
    }
    return text;
}

/// A key without escapes: as it stands, for nearly all.
class PlainKey
{
public:
    explicit PlainKey(std::string_view inside)
        : m_text(inside)
    {
        if (inside.find('\\') == std::string_view::npos)
            return;
        m_decoded = decodeJsonStringToUtf8(inside).value_or(std::string());
        m_text = m_decoded;
    }
    PlainKey(const PlainKey &) = delete;
    PlainKey &operator=(const PlainKey &) = delete;

    friend bool operator==(const PlainKey &key, std::string_view text) { return key.m_text == text; }

private:
    std::string m_decoded;
    std::string_view m_text;
};

/// The inside of the string that stands next; another value is passed over and gives nothing.
std::optional<std::string_view> takeString(JsonReader &reader)
{
    if (reader.next() == JsonReader::Kind::String)
        return reader.readString();
    reader.readValue();
    return std::nullopt;
}

/// Whether the value that stands next is the literal true.
bool takeFlag(JsonReader &reader)
{
    return reader.readValue() == "true";
}

/// Whether a block is a text or the use of a tool.
void lookAtBlock(JsonReader &reader, TranscriptContent &content)
{
    std::optional<std::string_view> type;
    reader.readObject([&](std::string_view inside) {
        const PlainKey key(inside);
        if (key == "type")
            type = takeString(reader);
        else
            reader.readValue();
    });
    content.hasTextBlock = content.hasTextBlock || jsonStringIs(type, "text");
    content.hasToolUseBlock = content.hasToolUseBlock || jsonStringIs(type, "tool_use");
}

TranscriptContent takeContent(JsonReader &reader)
{
    TranscriptContent content;
    const JsonReader::Kind kind = reader.next();
    if (kind == JsonReader::Kind::String) {
        content.kind = TranscriptContent::Kind::string;
        content.source = reader.readString();
    } else if (kind == JsonReader::Kind::Array) {
        const char *const begin = reader.rest().data();
        bool isObjectsThroughout = true;
        reader.readArray([&] {
            isObjectsThroughout = isObjectsThroughout && reader.next() == JsonReader::Kind::Object;
            if (isObjectsThroughout)
                lookAtBlock(reader, content);
            else
                reader.readValue();
        });
        if (!isObjectsThroughout)
            return {};
        content.kind = TranscriptContent::Kind::blocks;
        content.source = { begin, static_cast<std::size_t>(reader.rest().data() - begin) };
    } else {
        reader.readValue();
    }
    return content;
}

std::optional<TranscriptContent> takeMessage(JsonReader &reader)
{
    if (reader.next() != JsonReader::Kind::Object) {
        reader.readValue();
        return std::nullopt;
    }
    TranscriptContent content;
    reader.readObject([&](std::string_view inside) {
        const PlainKey key(inside);
        if (key == "content")
            content = takeContent(reader);
        else
            reader.readValue();
    });
    return content;
}

void takeMember(const PlainKey &key, JsonReader &reader, TranscriptLine &line)
{
    if (key == "type")
        line.type = takeString(reader);
    else if (key == "uuid")
        line.uuid = takeString(reader);
    else if (key == "timestamp")
        line.timestamp = takeString(reader);
    else if (key == "gitBranch")
        line.gitBranch = takeString(reader);
    else if (key == "cwd")
        line.cwd = takeString(reader);
    else if (key == "isMeta")
        line.isMeta = takeFlag(reader);
    else if (key == "isCompactSummary")
        line.isCompactSummary = takeFlag(reader);
    else if (key == "isApiErrorMessage")
        line.isApiErrorMessage = takeFlag(reader);
    else if (key == "message")
        line.message = takeMessage(reader);
    else
        reader.readValue();
}

TranscriptBlock takeBlock(JsonReader &reader)
{
    TranscriptBlock block;
    reader.readObject([&](std::string_view inside) {
        const PlainKey key(inside);
        if (key == "type") {
            block.type = takeString(reader);
        } else if (key == "text") {
            block.text = takeString(reader);
        } else if (key == "name") {
            block.name = takeString(reader);
        } else if (key == "id") {
            block.id = takeString(reader);
        } else if (key == "input") {
            const bool isObject = reader.next() == JsonReader::Kind::Object;
            const std::string_view source = reader.readValue();
            block.input = isObject ? std::optional(source) : std::nullopt;
        } else {
            reader.readValue();
        }
    });
    return block;
}

} // namespace

std::optional<TranscriptLine> TranscriptLineReader::read(std::string_view text)
{
    // Checking short strings costs nothing; that of long ones is left until somebody asks.
    const bool isShort = text.size() <= longestShort;
    m_text = trimmed(text);
    m_isChecked = false;
    JsonReader reader(m_text, isShort ? JsonReader::Strings::Checked : JsonReader::Strings::Trusted);
    if (reader.next() != JsonReader::Kind::Object)
        return std::nullopt;
    TranscriptLine line;
    reader.readObject([&](std::string_view key) { takeMember(PlainKey(key), reader, line); });
    if (!reader.isAtEnd())
        return std::nullopt;
    m_isChecked = isShort;
    return line;
}

bool TranscriptLineReader::isSound() const
{
    return m_isChecked || isSoundJson(m_text);
}

std::vector<TranscriptBlock> blocksOf(const TranscriptContent &content)
{
    std::vector<TranscriptBlock> blocks;
    if (content.kind != TranscriptContent::Kind::blocks)
        return blocks;
    JsonReader reader(content.source);
    reader.readArray([&] { blocks.push_back(takeBlock(reader)); });
    return blocks;
}

std::optional<std::string_view> stringOf(const TranscriptContent &content)
{
    if (content.kind != TranscriptContent::Kind::string)
        return std::nullopt;
    return content.source;
}

bool jsonStringIs(std::optional<std::string_view> inside, std::string_view text)
{
    // With an escape in it, the inside is longer than what it stands for.
    if (!inside || inside->size() <= text.size())
        return inside == text;
    return inside->find('\\') != std::string_view::npos && decodeJsonStringToUtf8(*inside) == text;
}

} // namespace vantry
