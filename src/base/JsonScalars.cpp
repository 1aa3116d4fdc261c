#include "base/JsonScalars.h"

#include <algorithm>
#include <charconv>
#include <limits>

namespace vantry {
namespace {

constexpr bool isDigit(char character)
{
    return character >= '0' && character <= '9';
}

/// The four hexadecimal digits at the front of the text.
std::optional<char32_t> hexQuad(std::string_view text)
{
    if (text.size() < 4)
        return std::nullopt;
    unsigned value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + 4, value, 16);
    if (error != std::errc() || end != text.data() + 4)
        return std::nullopt;
    return value;
}

constexpr bool isHighSurrogate(char32_t unit)
{
    return unit >= 0xD800 && unit < 0xDC00;
}

constexpr bool isLowSurrogate(char32_t unit)
{
    return unit >= 0xDC00 && unit < 0xE000;
}

/// One escape: what it stands for and how many bytes it takes, the backslash included; length 0 when it is malformed.
struct Escape
{
    char32_t codePoint;
    std::size_t length;
};

Escape unicodeEscape(std::string_view text)
{
    const auto unit = hexQuad(text.substr(2));
    if (!unit)
        return { 0, 0 };
    if (isHighSurrogate(*unit) && text.substr(6, 2) == "\\u") {
        const auto second = hexQuad(text.substr(8));
        if (second && isLowSurrogate(*second))
            return { 0x10000 + ((*unit - 0xD800) << 10) + (*second - 0xDC00), 12 };
    }
    return { *unit, 6 };
}

/// `text` begins with a backslash.
Escape firstEscape(std::string_view text)
{
    if (text.size() < 2)
        return { 0, 0 };
    switch (text[1]) {
    case '"':
    case '\\':
    case '/':
        return { static_cast<char32_t>(text[1]), 2 };
    case 'b':
        return { U'\b', 2 };
    case 'f':
        return { U'\f', 2 };
    case 'n':
        return { U'\n', 2 };
    case 'r':
        return { U'\r', 2 };
    case 't':
        return { U'\t', 2 };
    case 'u':
        return unicodeEscape(text);
    default:
        return { 0, 0 };
    }
}

/// The next escape, from a place on that is not within one. Passes over whole blocks in which every backslash stands
/// before one of the characters that are escaped most: there, all is sound however the backslashes pair up. Long
/// strings are full of those, so a block is looked at in a way that a compiler turns into vector instructions.
std::size_t nextEscape(std::string_view text, std::size_t from)
{
    constexpr std::size_t blockSize = 256;
    std::size_t block = from;
    for (; block + blockSize < text.size(); block += blockSize) {
        unsigned char other = 0;
        for (std::size_t i = block; i < block + blockSize; ++i) {
            // Zero for each of the usual ones, by a minimum since that is an instruction for vectors.
            const auto next = static_cast<unsigned char>(text[i + 1]);
            const auto differs = [next](unsigned char usual) { return static_cast<unsigned char>(next ^ usual); };
            const unsigned char unusual =
                std::min(std::min(differs('n'), differs('"')), std::min(differs('\\'), differs('t')));
            const auto isEscape = static_cast<unsigned char>(text[i] == '\\' ? 0xFF : 0);
            other |= static_cast<unsigned char>(isEscape & unusual);
        }
        if (other != 0)
            break;
    }
    // An odd number of backslashes before the block: its first character belongs to an escape.
    std::size_t backslashes = 0;
    while (block - backslashes > from && text[block - backslashes - 1] == '\\')
        ++backslashes;
    return text.find('\\', block + backslashes % 2);
}

void appendUtf8(std::string &out, char32_t codePoint)
{
    const auto put = [&out](char32_t byte) { out += static_cast<char>(static_cast<unsigned char>(byte)); };
    if (codePoint < 0x80) {
        put(codePoint);
    } else if (codePoint < 0x800) {
        put(0xC0 | (codePoint >> 6));
        put(0x80 | (codePoint & 0x3F));
    } else if (codePoint < 0x10000) {
        put(0xE0 | (codePoint >> 12));
        put(0x80 | ((codePoint >> 6) & 0x3F));
        put(0x80 | (codePoint & 0x3F));
    } else {
        put(0xF0 | (codePoint >> 18));
        put(0x80 | ((codePoint >> 12) & 0x3F));
        put(0x80 | ((codePoint >> 6) & 0x3F));
        put(0x80 | (codePoint & 0x3F));
    }
}

enum class LoneSurrogate { Replaced, Kept };

std::optional<std::string> decode(std::string_view inside, LoneSurrogate policy)
{
    std::string out;
    out.reserve(inside.size());
    while (!inside.empty()) {
        const std::size_t plain = std::min(inside.find('\\'), inside.size());
        out += inside.substr(0, plain);
        inside.remove_prefix(plain);
        if (inside.empty())
            break;
        const auto [codePoint, length] = firstEscape(inside);
        if (length == 0)
            return std::nullopt;
        const bool isLone = isHighSurrogate(codePoint) || isLowSurrogate(codePoint);
        appendUtf8(out, isLone && policy == LoneSurrogate::Replaced ? U'\uFFFD' : codePoint);
        inside.remove_prefix(length);
    }
    return out;
}

/// QString::fromUtf8() takes a byte order mark at the front away; inside of a JSON string it is a character.
QString toUtf16(std::string_view utf8)
{
    constexpr std::string_view mark = "\xEF\xBB\xBF";
    QString front;
    while (utf8.starts_with(mark)) {
        front += QChar(QChar::ByteOrderMark);
        utf8.remove_prefix(mark.size());
    }
    return front + QString::fromUtf8(utf8.data(), static_cast<qsizetype>(utf8.size()));
}

/// A number taken apart: its significant digits, without zeros at either end, times ten to the exponent.
struct Decimal
{
    bool isNegative { false };
    std::string digits; ///< Empty for zero.
    std::int64_t exponent { 0 };
};

Decimal takeApart(std::string_view number)
{
    Decimal decimal;
    if (number.starts_with('-')) {
        decimal.isNegative = true;
        number.remove_prefix(1);
    }
    const std::size_t mark = std::min(number.find_first_of("eE"), number.size());
    std::string_view power = number.substr(std::min(mark + 1, number.size()));
    if (power.starts_with('+'))
        power.remove_prefix(1);
    if (!power.empty()) {
        // An exponent that doesn't fit has no equal among the texts that we are given: any huge one will do.
        constexpr std::int64_t huge = std::int64_t { 1 } << 60;
        const auto [end, error] = std::from_chars(power.data(), power.data() + power.size(), decimal.exponent);
        if (error == std::errc::result_out_of_range)
            decimal.exponent = huge;
        decimal.exponent = std::clamp(decimal.exponent, -huge, huge);
        if (error == std::errc::result_out_of_range && power.starts_with('-'))
            decimal.exponent = -huge;
    }
    const std::string_view mantissa = number.substr(0, mark);
    const std::size_t point = std::min(mantissa.find('.'), mantissa.size());
    const std::string_view fraction = mantissa.substr(std::min(point + 1, mantissa.size()));
    decimal.digits = std::string(mantissa.substr(0, point)) + std::string(fraction);
    decimal.exponent -= static_cast<std::int64_t>(fraction.size());

    const std::size_t last = decimal.digits.find_last_not_of('0');
    const std::size_t kept = last == std::string::npos ? 0 : last + 1;
    decimal.exponent += static_cast<std::int64_t>(decimal.digits.size() - kept);
    decimal.digits.resize(kept);
    decimal.digits.erase(0, std::min(decimal.digits.find_first_not_of('0'), kept));
    return decimal;
}

} // namespace

bool hasSoundEscapes(std::string_view inside)
{
    for (std::size_t at = inside.find('\\'); at != std::string_view::npos; at = nextEscape(inside, at)) {
        const std::size_t length = firstEscape(inside.substr(at)).length;
        if (length == 0)
            return false;
        at += length;
    }
    return true;
}

std::optional<QString> decodeJsonString(std::string_view inside)
{
    if (inside.find('\\') == std::string_view::npos)
        return toUtf16(inside);
    const auto utf8 = decode(inside, LoneSurrogate::Replaced);
    return utf8 ? std::optional(toUtf16(*utf8)) : std::nullopt;
}

std::optional<std::string> decodeJsonStringToUtf8(std::string_view inside)
{
    return decode(inside, LoneSurrogate::Replaced);
}

std::optional<std::string> decodeJsonStringKeepingSurrogates(std::string_view inside)
{
    return decode(inside, LoneSurrogate::Kept);
}

bool isJsonNumber(std::string_view text)
{
    const auto takeDigits = [&text] {
        const auto end = std::ranges::find_if_not(text, isDigit);
        const auto count = static_cast<std::size_t>(end - text.begin());
        text.remove_prefix(count);
        return count;
    };
    if (text.starts_with('-'))
        text.remove_prefix(1);
    const bool beginsWithZero = text.starts_with('0');
    const std::size_t whole = takeDigits();
    if (whole == 0 || (beginsWithZero && whole > 1))
        return false;
    if (text.starts_with('.')) {
        text.remove_prefix(1);
        if (takeDigits() == 0)
            return false;
    }
    if (text.starts_with('e') || text.starts_with('E')) {
        text.remove_prefix(1);
        if (text.starts_with('+') || text.starts_with('-'))
            text.remove_prefix(1);
        if (takeDigits() == 0)
            return false;
    }
    return text.empty();
}

std::optional<std::int64_t> exactJsonInteger(std::string_view number)
{
    std::int64_t value = 0;
    const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), value);
    if (end == number.data() + number.size())
        return error == std::errc() ? std::optional(value) : std::nullopt;

    Decimal decimal = takeApart(number);
    if (decimal.digits.empty())
        return 0;
    constexpr auto mostDigits = static_cast<std::int64_t>(std::numeric_limits<std::int64_t>::digits10 + 1);
    if (decimal.exponent < 0 || decimal.exponent >= mostDigits)
        return std::nullopt;
    if (static_cast<std::int64_t>(decimal.digits.size()) + decimal.exponent > mostDigits)
        return std::nullopt;
    decimal.digits.append(static_cast<std::size_t>(decimal.exponent), '0');
    if (decimal.isNegative)
        decimal.digits.insert(0, 1, '-');
    return exactJsonInteger(decimal.digits);
}

std::optional<double> nearestJsonDouble(std::string_view number)
{
    double value = 0;
    const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), value);
    if (error != std::errc::result_out_of_range)
        return value;
    // Out of range on the small side is zero; only one that is too large has no double.
    const Decimal decimal = takeApart(number);
    if (decimal.exponent + static_cast<std::int64_t>(decimal.digits.size()) > 0)
        return std::nullopt;
    return decimal.isNegative ? -0.0 : 0.0;
}

} // namespace vantry
