#pragma once

#include <nlohmann/json.hpp>

#include <QByteArray>
#include <QString>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vantry {

/// How deep arrays and objects may nest in JSON from outside; deeper text is refused.
inline constexpr int maximumJsonDepth = 512;

/// One dynamically typed JSON value: bool, signed 64-bit integer, double, string, array, map or null. Arrays and maps
/// hold plain values at every depth.
struct AnyCodableValue
{
    nlohmann::json value;

    friend bool operator==(const AnyCodableValue &, const AnyCodableValue &) = default;
};

/// A map of string to AnyCodableValue, kept as the source text of a JSON object that has been checked in full. Values
/// are made when they are asked for, and the source goes out again as it came in, digit for digit. Cheap to copy.
/// Of a key that occurs twice the last one counts. A number that is exactly an integer within 64 bits is an integer (3.0
/// and 3e0, too), any other a double; one beyond a double's range, like 1e400, is null. A lone surrogate in a string
/// becomes U+FFFD. Any thread, as any value.
class AnyCodableMap
{
public:
    AnyCodableMap() = default;
    /// The text must be a checked JSON object (see checkJson).
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

/// One JSON value whose scalars keep their source text, so that a file is written back with no digit and no escape
/// changed. For the user's own files; not for bulk.
class JsonText
{
public:
    enum class Kind { Scalar, Array, Object };
    struct Member;

    /// An empty object.
    JsonText() = default;

    /// Parses a whole text, a byte order mark in front allowed. On failure gives nothing and says why in `error`.
    [[nodiscard]] static std::optional<JsonText> parse(std::string_view text, QString *error = nullptr);
    [[nodiscard]] static JsonText array();
    [[nodiscard]] static JsonText object();
    [[nodiscard]] static JsonText string(std::string_view utf8);
    [[nodiscard]] static JsonText boolean(bool value);

    [[nodiscard]] bool isObject() const { return m_kind == Kind::Object; }
    [[nodiscard]] bool isArray() const { return m_kind == Kind::Array; }
    /// The text of a string value; nothing for every other kind.
    [[nodiscard]] std::optional<std::string> asString() const;
    /// The value of a JSON true or false; nothing for every other kind.
    [[nodiscard]] std::optional<bool> asBoolean() const;

    /// An array's elements; empty for the other kinds.
    [[nodiscard]] const std::vector<JsonText> &elements() const { return m_elements; }
    [[nodiscard]] std::vector<JsonText> &elements() { return m_elements; }
    /// An object's members in source order, each key once (the last of a doubled key counts); empty for other kinds.
    [[nodiscard]] const std::vector<Member> &members() const { return m_members; }
    /// The member of this key, or null.
    [[nodiscard]] const JsonText *find(std::string_view key) const;
    /// Sets or adds a member; makes no sense on another kind than an object.
    void set(std::string_view key, JsonText value);
    void remove(std::string_view key);

    /// Indented by two blanks, keys in the order of their bytes, a line feed at the end.
    [[nodiscard]] std::string toPrettyText() const;

    friend bool operator==(const JsonText &, const JsonText &) = default;

private:
    Kind m_kind { Kind::Object };
    std::string m_scalar; ///< Source text of a scalar, quotes and escapes included.
    std::vector<JsonText> m_elements;
    std::vector<Member> m_members;
};

struct JsonText::Member
{
    std::string key; ///< Decoded, UTF-8; a lone surrogate is kept as the three bytes of its code point.
    JsonText value;

    friend bool operator==(const Member &, const Member &) = default;
};

/// Decodes the inside of a JSON string (what stands between the quotes) to UTF-16; a lone surrogate becomes U+FFFD.
/// Nothing when an escape is malformed. The bytes must be valid UTF-8.
[[nodiscard]] std::optional<QString> decodeJsonString(std::string_view inside);

} // namespace vantry
