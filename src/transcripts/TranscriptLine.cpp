#include "transcripts/TranscriptLine.h"

#include "base/JsonReader.h"
#include "base/JsonScalars.h"
#include "base/JsonWalk.h"
#include "transcripts/TranscriptLines.h"

#include <utility>

namespace vantry {
namespace {

namespace ondemand = simdjson::ondemand;
using simdjson::error_code;

/// A parser keeps memory for the longest line that it has read, several times its length; one that has grown beyond
/// this is given up with the next ordinary line.
constexpr std::size_t ordinaryLength = std::size_t { 1 } << 20;

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

/// Goes through an object's members without a look at values that `onMember` doesn't take.
template <typename Function>
error_code forEachMember(ondemand::object object, Function &&onMember)
{
    for (auto member : object) {
        ondemand::field field;
        if (const auto error = std::move(member).get(field))
            return error;
        std::string_view key;
        if (const auto error = checkedKey(field).get(key))
            return error;
        if (const auto error = onMember(key, field.value()))
            return error;
    }
    return simdjson::SUCCESS;
}

/// The inside of a string, nothing for another kind of value.
error_code readString(ondemand::value value, std::optional<std::string_view> &out)
{
    out.reset();
    std::string_view inside;
    const auto error = checkedString(value).get(inside);
    if (error == simdjson::INCORRECT_TYPE)
        return simdjson::SUCCESS;
    if (!error)
        out = inside;
    return error;
}

/// Whether the value is the literal true.
error_code readFlag(ondemand::value value, bool &out)
{
    ondemand::json_type type {};
    if (const auto error = value.type().get(type))
        return error;
    out = false;
    if (type != ondemand::json_type::boolean)
        return simdjson::SUCCESS;
    std::string_view source;
    const auto error = checkedScalar(value).get(source);
    out = source == "true";
    return error;
}

/// Whether a block that may be read is a text or the use of a tool.
error_code lookAtBlock(ondemand::object block, TranscriptContent &content)
{
    std::optional<std::string_view> type;
    const auto error = forEachMember(block, [&](std::string_view key, ondemand::value value) {
        return jsonStringIs(key, "type") ? readString(value, type) : simdjson::SUCCESS;
    });
    content.hasTextBlock = content.hasTextBlock || jsonStringIs(type, "text");
    content.hasToolUseBlock = content.hasToolUseBlock || jsonStringIs(type, "tool_use");
    return error;
}

error_code readBlocks(ondemand::document &document, ondemand::value value, TranscriptContent &content)
{
    const char *const begin = value.raw_json_token().data();
    ondemand::array array;
    if (const auto error = value.get_array().get(array))
        return error;
    bool isObjectsThroughout = true;
    for (auto element : array) {
        ondemand::value inner;
        if (const auto error = std::move(element).get(inner))
            return error;
        ondemand::json_type type {};
        if (const auto error = inner.type().get(type))
            return error;
        isObjectsThroughout = isObjectsThroughout && type == ondemand::json_type::object;
        if (!isObjectsThroughout)
            continue;
        ondemand::object block;
        if (const auto error = inner.get_object().get(block))
            return error;
        if (const auto error = lookAtBlock(block, content))
            return error;
    }
    if (!isObjectsThroughout) {
        content = TranscriptContent();
        return simdjson::SUCCESS;
    }
    const char *end = nullptr;
    if (const auto error = document.current_location().get(end))
        return error;
    content.kind = TranscriptContent::Kind::blocks;
    content.source = { begin, static_cast<std::size_t>(end - begin) };
    return simdjson::SUCCESS;
}

error_code readContent(ondemand::document &document, ondemand::value value, TranscriptContent &content)
{
    content = TranscriptContent();
    ondemand::json_type type {};
    if (const auto error = value.type().get(type))
        return error;
    if (type == ondemand::json_type::array)
        return readBlocks(document, value, content);
    if (type == ondemand::json_type::string) {
        content.kind = TranscriptContent::Kind::string;
        content.source = value.raw_json_token();
    }
    return simdjson::SUCCESS;
}

error_code readMessage(ondemand::document &document, ondemand::value value, std::optional<TranscriptContent> &message)
{
    message.reset();
    ondemand::json_type type {};
    if (const auto error = value.type().get(type))
        return error;
    if (type != ondemand::json_type::object)
        return simdjson::SUCCESS;
    ondemand::object object;
    if (const auto error = value.get_object().get(object))
        return error;
    message.emplace();
    return forEachMember(object, [&](std::string_view key, ondemand::value inner) {
        return jsonStringIs(key, "content") ? readContent(document, inner, *message) : simdjson::SUCCESS;
    });
}

error_code readMember(ondemand::document &document, std::string_view key, ondemand::value value, TranscriptLine &line)
{
    if (jsonStringIs(key, "type"))
        return readString(value, line.type);
    if (jsonStringIs(key, "uuid"))
        return readString(value, line.uuid);
    if (jsonStringIs(key, "timestamp"))
        return readString(value, line.timestamp);
    if (jsonStringIs(key, "gitBranch"))
        return readString(value, line.gitBranch);
    if (jsonStringIs(key, "cwd"))
        return readString(value, line.cwd);
    if (jsonStringIs(key, "isMeta"))
        return readFlag(value, line.isMeta);
    if (jsonStringIs(key, "isCompactSummary"))
        return readFlag(value, line.isCompactSummary);
    if (jsonStringIs(key, "isApiErrorMessage"))
        return readFlag(value, line.isApiErrorMessage);
    if (jsonStringIs(key, "message"))
        return readMessage(document, value, line.message);
    return simdjson::SUCCESS;
}

/// The inside of the string that stands next; another value is passed over and gives nothing.
std::optional<std::string_view> takeString(JsonReader &reader)
{
    if (reader.next() == JsonReader::Kind::String)
        return reader.readString();
    reader.readValue();
    return std::nullopt;
}

TranscriptBlock takeBlock(JsonReader &reader)
{
    TranscriptBlock block;
    reader.readObject([&](std::string_view key) {
        if (jsonStringIs(key, "type")) {
            block.type = takeString(reader);
        } else if (jsonStringIs(key, "text")) {
            block.text = takeString(reader);
        } else if (jsonStringIs(key, "name")) {
            block.name = takeString(reader);
        } else if (jsonStringIs(key, "id")) {
            block.id = takeString(reader);
        } else if (jsonStringIs(key, "input")) {
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

struct TranscriptLineReader::State
{
    ondemand::parser parser;
    ondemand::document document;
    std::string_view text;
};

TranscriptLineReader::TranscriptLineReader()
    : m_state(std::make_unique<State>())
{}

TranscriptLineReader::~TranscriptLineReader() = default;

std::optional<TranscriptLine> TranscriptLineReader::read(std::string_view text)
{
    auto &[parser, document, current] = *m_state;
    if (parser.capacity() > ordinaryLength && text.size() <= ordinaryLength)
        parser = ondemand::parser();
    current = trimmed(text);
    if (!current.starts_with('{') ||
        parser.iterate(current.data(), current.size(), current.size() + TranscriptLines::padding).get(document))
        return std::nullopt;
    ondemand::object object;
    if (document.get_object().get(object))
        return std::nullopt;
    TranscriptLine line;
    const auto error = forEachMember(
        object, [&](std::string_view key, ondemand::value value) { return readMember(document, key, value, line); });
    return error ? std::nullopt : std::optional(line);
}

bool TranscriptLineReader::isSound()
{
    auto &[parser, document, current] = *m_state;
    document.rewind();
    ondemand::value root;
    if (document.get_value().get(root))
        return false;
    std::string_view source;
    return !checkedSource(root, 0).get(source) && !checkNothingFollows(source, current);
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
    JsonReader reader(content.source);
    return reader.readString();
}

bool jsonStringIs(std::optional<std::string_view> inside, std::string_view text)
{
    // With an escape in it, the inside is longer than what it stands for.
    if (!inside || inside->size() <= text.size())
        return inside == text;
    return inside->find('\\') != std::string_view::npos && decodeJsonStringToUtf8(*inside) == text;
}

} // namespace vantry
