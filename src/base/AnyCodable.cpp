#include "base/AnyCodable.h"

#include "base/JsonReader.h"
#include "base/JsonScalars.h"
#include "base/JsonText.h"

namespace vantry {
namespace {

nlohmann::json scalarFrom(std::string_view text)
{
    if (text == "true" || text == "false")
        return text == "true";
    if (!isJsonNumber(text))
        return nullptr;
    if (const auto integer = exactJsonInteger(text))
        return *integer;
    if (const auto number = nearestJsonDouble(text))
        return *number;
    return nullptr;
}

nlohmann::json stringFrom(std::string_view inside)
{
    return decodeJsonStringToUtf8(inside).value_or(std::string());
}

/// No deeper than the text was checked for.
nlohmann::json readJson(JsonReader &reader)
{
    switch (reader.next()) {
    case JsonReader::Kind::Object: {
        auto object = nlohmann::json::object();
        reader.readObject([&](std::string_view key) { object[stringFrom(key).get<std::string>()] = readJson(reader); });
        return object;
    }
    case JsonReader::Kind::Array: {
        auto array = nlohmann::json::array();
        reader.readArray([&] { array.push_back(readJson(reader)); });
        return array;
    }
    case JsonReader::Kind::String:
        return stringFrom(reader.readString());
    case JsonReader::Kind::Scalar:
        return scalarFrom(reader.readScalar());
    case JsonReader::Kind::Nothing:
        break;
    }
    return nullptr;
}

bool keyIs(std::string_view inside, std::string_view key)
{
    return inside.find('\\') == std::string_view::npos ? inside == key : decodeJsonStringToUtf8(inside) == key;
}

} // namespace

AnyCodableMap::AnyCodableMap(std::string checkedSource)
    : m_source(std::make_shared<const std::string>(std::move(checkedSource)))
{}

std::optional<AnyCodableMap> AnyCodableMap::fromText(std::string_view text)
{
    if (jsonDefect(text))
        return std::nullopt;
    JsonReader reader(text);
    if (reader.next() != JsonReader::Kind::Object)
        return std::nullopt;
    return AnyCodableMap(std::string(reader.readValue()));
}

bool AnyCodableMap::isEmpty() const
{
    return sourceText().find('"') == std::string_view::npos;
}

std::optional<AnyCodableValue> AnyCodableMap::value(std::string_view key) const
{
    std::optional<std::string_view> found;
    JsonReader reader(sourceText());
    reader.readObject([&](std::string_view inside) {
        const std::string_view source = reader.readValue();
        if (keyIs(inside, key))
            found = source;
    });
    if (!found)
        return std::nullopt;
    JsonReader valueReader(*found);
    return AnyCodableValue { readJson(valueReader) };
}

nlohmann::json AnyCodableMap::toJson() const
{
    JsonReader reader(sourceText());
    return readJson(reader);
}

std::string_view AnyCodableMap::sourceText() const
{
    return m_source ? std::string_view(*m_source) : std::string_view("{}");
}

} // namespace vantry
