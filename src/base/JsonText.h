#pragma once

#include "base/AnyCodable.h"
#include "base/JsonScalars.h"

#include <QString>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vantry {

/// How deep arrays and objects may nest in JSON from outside; deeper text is refused.
inline constexpr int maximumJsonDepth = 512;

/// Whether the text is one sound JSON value, looked at in full: nothing when it is, else one line that says why not.
/// Arrays and objects nest at most maximumJsonDepth deep. Lone surrogates are sound, a byte order mark is not. The text
/// needs no padding. Any thread.
[[nodiscard]] std::optional<std::string> jsonDefect(std::string_view text);

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
    class Format;

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

} // namespace vantry
