#include "base/JsonText.h"

#include "base/JsonReader.h"
#include "base/JsonWalk.h"

#include <QtGlobal>

#include <algorithm>
#include <unordered_map>

namespace vantry {
namespace {

/// Checks a document that is an array or object, and gives its text without blanks around it.
simdjson::error_code checkCompound(const simdjson::padded_string &text, std::string_view &source)
{
    simdjson::ondemand::parser parser;
    simdjson::ondemand::document document;
    if (const auto error = parser.iterate(text).get(document))
        return error;
    simdjson::ondemand::value root;
    if (const auto error = document.get_value().get(root))
        return error;
    if (const auto error = checkedSource(root, 0).get(source))
        return error;
    return checkNothingFollows(source, text);
}

simdjson::error_code checkDocument(std::string_view text)
{
    const std::size_t begin = text.find_first_not_of(" \t\r\n");
    if (begin == std::string_view::npos)
        return simdjson::EMPTY;
    std::string_view source;
    if (text[begin] == '{' || text[begin] == '[')
        return checkCompound(simdjson::padded_string(text), source);

    // On demand gives no value for a document that is a scalar: it is looked at as the only element of an array.
    std::string element = "[";
    element.append(text).append("]");
    const simdjson::padded_string array(element);
    if (const auto error = checkCompound(array, source))
        return error;
    std::size_t elements = 0;
    JsonReader reader(source);
    reader.readArray([&] {
        static_cast<void>(reader.readValue());
        ++elements;
    });
    return elements == 1 ? simdjson::SUCCESS : simdjson::TRAILING_CONTENT;
}

/// The three bytes of a surrogate's code point, as keys keep them.
bool beginsWithSurrogate(std::string_view text)
{
    return text.size() >= 3 && text[0] == '\xED' && static_cast<unsigned char>(text[1]) >= 0xA0;
}

void appendHexEscape(std::string &out, unsigned unit)
{
    constexpr std::string_view digits = "0123456789abcdef";
    out += "\\u";
    for (int shift = 12; shift >= 0; shift -= 4)
        out += digits[(unit >> shift) & 0xF];
}

/// The text as a JSON string, in quotes.
std::string stringLiteral(std::string_view text)
{
    std::string out = "\"";
    out.reserve(text.size() + 2);
    while (!text.empty()) {
        const auto byte = static_cast<unsigned char>(text.front());
        if (beginsWithSurrogate(text)) {
            appendHexEscape(out, 0xD000U | ((static_cast<unsigned char>(text[1]) & 0x3FU) << 6) |
                                     (static_cast<unsigned char>(text[2]) & 0x3FU));
            text.remove_prefix(3);
            continue;
        }
        if (byte == '"' || byte == '\\')
            (out += '\\') += text.front();
        else if (byte == '\n')
            out += "\\n";
        else if (byte == '\t')
            out += "\\t";
        else if (byte == '\r')
            out += "\\r";
        else if (byte < 0x20)
            appendHexEscape(out, byte);
        else
            out += text.front();
        text.remove_prefix(1);
    }
    return out += '"';
}

/// The text itself, or with U+FFFD for what isn't UTF-8.
std::string validUtf8(std::string_view text)
{
    if (simdjson::validate_utf8(text.data(), text.size()))
        return std::string(text);
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())).toStdString();
}

} // namespace

std::optional<std::string> jsonDefect(std::string_view text)
{
    if (const auto error = checkDocument(text))
        return std::string(describe(error));
    return std::nullopt;
}

/// Builds values from checked text and writes them; no deeper than the text was checked for.
class JsonText::Format
{
public:
    static JsonText read(JsonReader &reader);
    static void write(std::string &out, const JsonText &value, std::size_t depth);

private:
    static JsonText readObject(JsonReader &reader);
    static void writeObject(std::string &out, const JsonText &value, std::size_t depth);
    static void breakLine(std::string &out, std::size_t depth) { out.append(1, '\n').append(2 * depth, ' '); }
};

JsonText JsonText::Format::read(JsonReader &reader)
{
    switch (reader.next()) {
    case JsonReader::Kind::Object:
        return readObject(reader);
    case JsonReader::Kind::Array: {
        JsonText array = JsonText::array();
        reader.readArray([&] { array.m_elements.push_back(read(reader)); });
        return array;
    }
    default: {
        JsonText scalar;
        scalar.m_kind = Kind::Scalar;
        scalar.m_scalar = reader.readValue();
        return scalar;
    }
    }
}

JsonText JsonText::Format::readObject(JsonReader &reader)
{
    JsonText object;
    std::unordered_map<std::string, std::size_t> places;
    reader.readObject([&](std::string_view inside) {
        std::string key = decodeJsonStringKeepingSurrogates(inside).value_or(std::string());
        JsonText value = read(reader);
        const auto [place, isNew] = places.try_emplace(key, object.m_members.size());
        if (isNew)
            object.m_members.push_back({ std::move(key), std::move(value) });
        else
            object.m_members[place->second].value = std::move(value);
    });
    return object;
}

void JsonText::Format::write(std::string &out, const JsonText &value, std::size_t depth)
{
    if (value.m_kind == Kind::Scalar) {
        out += value.m_scalar;
    } else if (value.m_kind == Kind::Object) {
        writeObject(out, value, depth);
    } else if (value.m_elements.empty()) {
        out += "[]";
    } else {
        char separator = '[';
        for (const JsonText &element : value.m_elements) {
            out += separator;
            breakLine(out, depth + 1);
            write(out, element, depth + 1);
            separator = ',';
        }
        breakLine(out, depth);
        out += ']';
    }
}

void JsonText::Format::writeObject(std::string &out, const JsonText &value, std::size_t depth)
{
    if (value.m_members.empty()) {
        out += "{}";
        return;
    }
    std::vector<const Member *> sorted;
    sorted.reserve(value.m_members.size());
    for (const Member &member : value.m_members)
        sorted.push_back(&member);
    std::ranges::sort(sorted, {}, &Member::key);
    char separator = '{';
    for (const Member *member : sorted) {
        out += separator;
        breakLine(out, depth + 1);
        out.append(stringLiteral(member->key)).append(": ");
        write(out, member->value, depth + 1);
        separator = ',';
    }
    breakLine(out, depth);
    out += '}';
}

std::optional<JsonText> JsonText::parse(std::string_view text, QString *error)
{
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    if (text.starts_with(byteOrderMark))
        text.remove_prefix(byteOrderMark.size());
    if (const auto defect = jsonDefect(text)) {
        if (error)
            *error = QString::fromStdString(*defect);
        return std::nullopt;
    }
    JsonReader reader(text);
    return Format::read(reader);
}

JsonText JsonText::array()
{
    JsonText value;
    value.m_kind = Kind::Array;
    return value;
}

JsonText JsonText::object()
{
    return {};
}

JsonText JsonText::string(std::string_view utf8)
{
    JsonText value;
    value.m_kind = Kind::Scalar;
    value.m_scalar = stringLiteral(validUtf8(utf8));
    return value;
}

JsonText JsonText::boolean(bool value)
{
    JsonText text;
    text.m_kind = Kind::Scalar;
    text.m_scalar = value ? "true" : "false";
    return text;
}

std::optional<std::string> JsonText::asString() const
{
    if (m_kind != Kind::Scalar || !m_scalar.starts_with('"'))
        return std::nullopt;
    return decodeJsonStringToUtf8(std::string_view(m_scalar).substr(1, m_scalar.size() - 2));
}

std::optional<bool> JsonText::asBoolean() const
{
    if (m_kind != Kind::Scalar || (m_scalar != "true" && m_scalar != "false"))
        return std::nullopt;
    return m_scalar == "true";
}

const JsonText *JsonText::find(std::string_view key) const
{
    const auto found = std::ranges::find(m_members, key, &Member::key);
    return found == m_members.end() ? nullptr : &found->value;
}

void JsonText::set(std::string_view key, JsonText value)
{
    Q_ASSERT(isObject());
    const auto found = std::ranges::find(m_members, key, &Member::key);
    if (found != m_members.end())
        found->value = std::move(value);
    else
        m_members.push_back({ std::string(key), std::move(value) });
}

void JsonText::remove(std::string_view key)
{
    std::erase_if(m_members, [key](const Member &member) { return member.key == key; });
}

std::string JsonText::toPrettyText() const
{
    std::string out;
    Format::write(out, *this, 0);
    return out += '\n';
}

} // namespace vantry
