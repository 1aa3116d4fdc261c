#pragma once

#include <QString>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vantry {

// The rules for JSON strings and numbers that hold wherever JSON from outside is read. Pure functions, any thread.

/// Whether each backslash in the inside of a JSON string (what stands between the quotes) begins a well-formed escape.
/// A lone surrogate is well-formed: JavaScript writes them.
[[nodiscard]] bool hasSoundEscapes(std::string_view inside);
/// Decodes the inside of a JSON string to UTF-16; a lone surrogate becomes U+FFFD. Nothing when an escape is malformed.
/// The bytes must be valid UTF-8.
[[nodiscard]] std::optional<QString> decodeJsonString(std::string_view inside);
/// The same to UTF-8.
[[nodiscard]] std::optional<std::string> decodeJsonStringToUtf8(std::string_view inside);
/// The same, but a lone surrogate is kept as the three bytes of its code point, which is not valid UTF-8.
[[nodiscard]] std::optional<std::string> decodeJsonStringKeepingSurrogates(std::string_view inside);

/// Whether the text is one number in JSON's grammar.
[[nodiscard]] bool isJsonNumber(std::string_view text);
/// The number's value if it is exactly an integer within 64 bits, however it is written: 3, 3.0 and 3e0 are 3.
/// Decided on the digits, so 9007199254740993.0 loses nothing. `number` is in JSON's grammar.
[[nodiscard]] std::optional<std::int64_t> exactJsonInteger(std::string_view number);
/// The nearest double; nothing when the number is beyond a double's range. `number` is in JSON's grammar.
[[nodiscard]] std::optional<double> nearestJsonDouble(std::string_view number);

} // namespace vantry
