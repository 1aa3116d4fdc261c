#include "transcripts/TranscriptMessage.h"

#include "base/JsonReader.h"
#include "base/JsonScalars.h"
#include "base/Text.h"

#include <QStringList>

namespace vantry {
namespace {

QString shortened(const QString &text)
{
    constexpr qsizetype longest = 60;
    constexpr qsizetype kept = 57;
    if (!hasMoreCharactersThan(text, longest))
        return text;
    return firstCharacters(text, kept) + QStringLiteral("...");
}

QString firstLine(const QString &text)
{
    const qsizetype feed = text.indexOf(u'\n');
    const QString line = feed < 0 ? text : text.first(feed);
    return line.endsWith(u'\r') ? line.chopped(1) : line;
}

/// The string under a key of an object; nothing when it is missing or of another kind.
std::optional<QString> stringUnder(std::string_view key, std::string_view object)
{
    std::optional<std::string_view> found;
    JsonReader reader(object);
    reader.readObject([&](std::string_view inside) {
        const bool isString = reader.next() == JsonReader::Kind::String;
        const std::string_view source = isString ? reader.readString() : reader.readValue();
        if (jsonStringIs(inside, key))
            found = isString ? std::optional(source) : std::nullopt;
    });
    return found ? decodeJsonString(*found) : std::nullopt;
}

} // namespace

QString extractText(const TranscriptContent &message)
{
    if (const auto inside = stringOf(message))
        return decodeJsonString(*inside).value_or(QString());
    if (!message.hasTextBlock)
        return {};
    QStringList texts;
    for (const TranscriptBlock &block : blocksOf(message)) {
        if (jsonStringIs(block.type, "text") && block.text)
            texts.append(decodeJsonString(*block.text).value_or(QString()));
    }
    return texts.join(u'\n');
}

QString toolSummary(const QString &name, std::optional<std::string_view> input)
{
    if (!input)
        return name;
    const auto string = [&](std::string_view key) { return stringUnder(key, *input); };
    const auto orEmpty = [](const std::optional<QString> &text) { return text.value_or(QString()); };

    if (name == u"Read" || name == u"Write" || name == u"Edit") {
        const auto path = string("file_path");
        return path ? shortPath(*path) : QString();
    }
    if (name == u"Bash") {
        const QString description = orEmpty(string("description"));
        return description.isEmpty() ? shortened(firstLine(orEmpty(string("command")))) : description;
    }
    if (name == u"Glob")
        return orEmpty(string("pattern"));
    if (name == u"Grep") {
        const auto pattern = string("pattern");
        return pattern ? QString(u'"' + *pattern + u'"') : QString();
    }
    if (name == u"Task")
        return orEmpty(string("description"));
    if (name == u"WebSearch" || name == u"WebFetch") {
        const auto query = string("query");
        return shortened(orEmpty(query ? query : string("url")));
    }
    return {};
}

QString shortPath(const QString &path)
{
    const qsizetype last = path.lastIndexOf(u'/');
    const qsizetype before = last > 0 ? path.lastIndexOf(u'/', last - 1) : -1;
    return path.sliced(before + 1);
}

} // namespace vantry
