#include "transcripts/TranscriptRecord.h"

#include "base/JsonReader.h"
#include "base/JsonScalars.h"
#include "base/JsonText.h"

#include <QStringList>

#include <string>

namespace vantry {
namespace {

/// Whether a string's inside, escapes as they stand, means this text.
bool means(std::string_view inside, std::string_view text)
{
    if (inside == text)
        return true;
    return inside.find('\\') != std::string_view::npos && decodeJsonStringToUtf8(inside) == text;
}

JsonReader::Kind kindOf(std::string_view source)
{
    return JsonReader(source).next();
}

std::optional<QString> textOf(std::string_view source)
{
    if (kindOf(source) != JsonReader::Kind::String)
        return std::nullopt;
    return decodeJsonString(JsonReader(source).readString());
}

} // namespace

std::optional<TranscriptRecord> TranscriptRecord::parse(std::string_view line)
{
    if (kindOf(line) != JsonReader::Kind::Object || jsonDefect(line))
        return std::nullopt;
    return TranscriptRecord(line);
}

std::string_view TranscriptRecord::value(std::string_view key) const
{
    std::string_view found;
    JsonReader reader(m_object);
    reader.readObject([&](std::string_view name) {
        const std::string_view source = reader.readValue();
        if (means(name, key))
            found = source;
    });
    return found;
}

std::optional<QString> TranscriptRecord::string(std::string_view key) const
{
    return textOf(value(key));
}

std::optional<TranscriptRecord> TranscriptRecord::object(std::string_view key) const
{
    const std::string_view source = value(key);
    if (kindOf(source) != JsonReader::Kind::Object)
        return std::nullopt;
    return TranscriptRecord(source);
}

std::optional<std::int64_t> TranscriptRecord::integer(std::string_view key) const
{
    const std::string_view source = value(key);
    return isJsonNumber(source) ? exactJsonInteger(source) : std::nullopt;
}

bool TranscriptRecord::isTrue(std::string_view key) const
{
    return value(key) == "true";
}

QString TranscriptRecord::contentText() const
{
    const std::string_view content = value("content");
    if (const std::optional<QString> text = textOf(content))
        return *text;
    if (kindOf(content) != JsonReader::Kind::Array)
        return {};
    QStringList texts;
    bool holdsObjectsAlone = true;
    JsonReader reader(content);
    reader.readArray([&] {
        holdsObjectsAlone = holdsObjectsAlone && reader.next() == JsonReader::Kind::Object;
        const TranscriptRecord block(reader.readValue());
        if (!holdsObjectsAlone || block.string("type") != u"text")
            return;
        if (std::optional<QString> text = block.string("text"))
            texts.append(*std::move(text));
    });
    return holdsObjectsAlone ? texts.join(u'\n') : QString();
}

} // namespace vantry
