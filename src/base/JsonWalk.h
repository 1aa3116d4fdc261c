#pragma once

#include <simdjson.h>

#include <string_view>

namespace vantry {

// Walks over simdjson's on-demand values that look at everything, also at what nobody reads: on demand alone accepts
// nonsense in the parts that it skips. For .cpp files only: simdjson's header is large. Pure functions, any thread.

/// Consumes the value in full and checks it: grammar, literals, numbers, escapes, and nesting, where `depth` is how
/// many arrays and objects stand around the value. Lone surrogates are sound.
[[nodiscard]] simdjson::error_code checkValue(simdjson::ondemand::value value, int depth);
/// The same, and gives the value's source text, without blanks around it.
[[nodiscard]] simdjson::simdjson_result<std::string_view> checkedSource(simdjson::ondemand::value value, int depth);

/// A key's text between its quotes, escapes as they stand, checked. Valid as long as the document's buffer. Call it
/// before the field's value is consumed.
[[nodiscard]] simdjson::simdjson_result<std::string_view> checkedKey(simdjson::ondemand::field &field);
/// A string's text between its quotes, escapes as they stand, checked (see decodeJsonString). Consumes the value;
/// INCORRECT_TYPE for every other kind of value.
[[nodiscard]] simdjson::simdjson_result<std::string_view> checkedString(simdjson::ondemand::value value);
/// The source text of a scalar (a number, true, false, null), checked. INCORRECT_TYPE for a string, array or object.
[[nodiscard]] simdjson::simdjson_result<std::string_view> checkedScalar(simdjson::ondemand::value value);

/// Checks that nothing but blanks stands between the end of a document's value and the end of its text.
[[nodiscard]] simdjson::error_code checkNothingFollows(std::string_view value, std::string_view document);

/// One line that says what an error of these walks means, for the log.
[[nodiscard]] std::string_view describe(simdjson::error_code error);

} // namespace vantry
