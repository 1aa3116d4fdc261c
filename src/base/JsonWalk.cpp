#include "base/JsonWalk.h"

#include "base/JsonScalars.h"
#include "base/JsonText.h"

#include <utility>

namespace vantry {
namespace {

using namespace simdjson;

constexpr std::string_view blanks = " \t\r\n";

std::string_view withoutBlanksBehind(std::string_view token)
{
    return token.substr(0, token.find_last_not_of(blanks) + 1);
}

std::string_view between(const char *begin, const char *end)
{
    return { begin, static_cast<std::size_t>(end - begin) };
}

/// simdjson's result takes only what can be moved from.
simdjson_result<std::string_view> found(std::string_view text)
{
    return simdjson_result<std::string_view>(std::move(text));
}

const char *endOf(std::string_view text)
{
    return text.data() + text.size();
}

/// Where the closing bracket stands behind the last element of a sound array or object, plus one.
const char *behindBracket(const char *position)
{
    while (*position == ' ' || *position == '\t' || *position == '\r' || *position == '\n')
        ++position;
    return position + 1;
}

error_code walk(ondemand::value value, int depth, const char *&end);

error_code walkArray(ondemand::value value, int depth, const char *&end)
{
    end = value.raw_json_token().data() + 1;
    ondemand::array array;
    if (const auto error = value.get_array().get(array))
        return error;
    for (simdjson_result<ondemand::value> element : array) {
        ondemand::value inner;
        if (const auto error = std::move(element).get(inner))
            return error;
        if (const auto error = walk(inner, depth + 1, end))
            return error;
    }
    end = behindBracket(end);
    return SUCCESS;
}

error_code walkObject(ondemand::value value, int depth, const char *&end)
{
    end = value.raw_json_token().data() + 1;
    ondemand::object object;
    if (const auto error = value.get_object().get(object))
        return error;
    for (simdjson_result<ondemand::field> member : object) {
        ondemand::field field;
        if (const auto error = std::move(member).get(field))
            return error;
        if (const auto error = checkedKey(field).error())
            return error;
        if (const auto error = walk(field.value(), depth + 1, end))
            return error;
    }
    end = behindBracket(end);
    return SUCCESS;
}

error_code walk(ondemand::value value, int depth, const char *&end)
{
    ondemand::json_type type {};
    if (const auto error = value.type().get(type))
        return error;
    switch (type) {
    case ondemand::json_type::array:
        return depth < maximumJsonDepth ? walkArray(value, depth, end) : DEPTH_ERROR;
    case ondemand::json_type::object:
        return depth < maximumJsonDepth ? walkObject(value, depth, end) : DEPTH_ERROR;
    case ondemand::json_type::string: {
        std::string_view inside;
        if (const auto error = checkedString(value).get(inside))
            return error;
        end = endOf(inside) + 1;
        return SUCCESS;
    }
    default: {
        std::string_view scalar;
        if (const auto error = checkedScalar(value).get(scalar))
            return error;
        end = endOf(scalar);
        return SUCCESS;
    }
    }
}

} // namespace

error_code checkValue(ondemand::value value, int depth)
{
    const char *end = nullptr;
    return walk(value, depth, end);
}

simdjson_result<std::string_view> checkedSource(ondemand::value value, int depth)
{
    const char *const begin = value.raw_json_token().data();
    const char *end = nullptr;
    if (const auto error = walk(value, depth, end))
        return error;
    return found(between(begin, end));
}

simdjson_result<std::string_view> checkedKey(ondemand::field &field)
{
    // On demand gives no length for a key; but between it and its value stand a quote, blanks and a colon alone.
    const char *const begin = field.key().raw();
    const char *end = field.value().raw_json_token().data();
    do
        --end;
    while (*end != '"');
    const std::string_view inside = between(begin, end);
    if (!hasSoundEscapes(inside))
        return STRING_ERROR;
    return found(inside);
}

simdjson_result<std::string_view> checkedString(ondemand::value value)
{
    const std::string_view token = withoutBlanksBehind(value.raw_json_token());
    if (!token.starts_with('"'))
        return INCORRECT_TYPE;
    // The value has to be taken: on demand would take a string that it skips, before a stray colon, for a key.
    if (const auto error = value.get_raw_json_string().error())
        return error;
    if (token.size() < 2 || !token.ends_with('"'))
        return UNCLOSED_STRING;
    const std::string_view inside = token.substr(1, token.size() - 2);
    if (!hasSoundEscapes(inside))
        return STRING_ERROR;
    return found(inside);
}

simdjson_result<std::string_view> checkedScalar(ondemand::value value)
{
    const std::string_view token = withoutBlanksBehind(value.raw_json_token());
    if (token.empty() || token.front() == '"' || token.front() == '[' || token.front() == '{')
        return INCORRECT_TYPE;
    switch (token.front()) {
    case 't':
        return token == "true" ? found(token) : T_ATOM_ERROR;
    case 'f':
        return token == "false" ? found(token) : F_ATOM_ERROR;
    case 'n':
        return token == "null" ? found(token) : N_ATOM_ERROR;
    default:
        return isJsonNumber(token) ? found(token) : NUMBER_ERROR;
    }
}

error_code checkNothingFollows(std::string_view value, std::string_view document)
{
    const std::string_view rest = between(endOf(value), endOf(document));
    return rest.find_first_not_of(blanks) == std::string_view::npos ? SUCCESS : TRAILING_CONTENT;
}

std::string_view describe(error_code error)
{
    switch (error) {
    case EMPTY:
        return "the text is empty";
    case UTF8_ERROR:
        return "the text is not UTF-8";
    case DEPTH_ERROR:
        return "arrays and objects are nested too deeply";
    case UNESCAPED_CHARS:
        return "a string holds an unescaped control character";
    case UNCLOSED_STRING:
        return "a string is not closed";
    case STRING_ERROR:
        return "a string holds a malformed escape";
    case T_ATOM_ERROR:
    case F_ATOM_ERROR:
    case N_ATOM_ERROR:
        return "a literal is neither true, false nor null";
    case NUMBER_ERROR:
        return "a number is malformed";
    case TAPE_ERROR:
    case INCOMPLETE_ARRAY_OR_OBJECT:
        return "a comma, colon, key, value or bracket is missing or out of place";
    case TRAILING_CONTENT:
        return "something follows the value";
    case INCORRECT_TYPE:
        return "a value has the wrong type";
    default:
        return error_message(error);
    }
}

} // namespace vantry
