#pragma once

#include <nlohmann/json.hpp>

#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace vantry {

/// One dynamically typed JSON value: bool, signed 64-bit integer, double, string, array, map or null. Arrays and maps
/// hold plain values at every depth.
struct AnyCodableValue
{
    nlohmann::json value;

    friend bool operator==(const AnyCodableValue &, const AnyCodableValue &) = default;
};

/// A map of string to AnyCodableValue, kept as the source text of a JSON object that has been checked in full. Values
/// are made when they are asked for, and the source goes out again as it came in, digit for digit. Cheap to copy.
/// Of a key that occurs twice the last one counts. A number that is exactly an integer within 64 bits is an integer
/// (3.0 and 3e0, too), any other a double; one beyond a double's range, like 1e400, is null. A lone surrogate in a
/// string becomes U+FFFD. Any thread, as any value.
class AnyCodableMap
{
public:
    AnyCodableMap() = default;
    /// The text must be a checked JSON object (see checkedSource and jsonDefect), with no blanks around it.
    explicit AnyCodableMap(std::string checkedSource);

    /// Checks the text and makes the map; nothing when it isn't one sound JSON object.
    [[nodiscard]] static std::optional<AnyCodableMap> fromText(std::string_view text);

    [[nodiscard]] bool isEmpty() const;
    /// The value under the key; nothing when the key is absent.
    [[nodiscard]] std::optional<AnyCodableValue> value(std::string_view key) const;
    /// All of it as one JSON object.
    [[nodiscard]] nlohmann::json toJson() const;
    /// The object's text as it came, "{}" for an empty map.
    [[nodiscard]] std::string_view sourceText() const;

    /// Equal when their values are.
    friend bool operator==(const AnyCodableMap &a, const AnyCodableMap &b) { return a.toJson() == b.toJson(); }

private:
    std::shared_ptr<const std::string> m_source;
};

} // namespace vantry
