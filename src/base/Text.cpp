#include "base/Text.h"

#include <QTextBoundaryFinder>

#include <algorithm>
#include <array>

namespace vantry {
namespace {

constexpr bool isPlain(QChar character)
{
    return character.unicode() < 0x80;
}

/// Where the first `count` characters end, or the text's length when there are fewer. ASCII is counted by hand, CR LF
/// as one; a stretch that holds anything else is left to Unicode's rules, from the last sure boundary on.
qsizetype endOfCharacters(QStringView text, qsizetype count)
{
    qsizetype position = 0;
    while (count > 0 && position < text.size()) {
        const bool isPair = text[position] == u'\r' && position + 1 < text.size() && text[position + 1] == u'\n';
        const qsizetype next = position + (isPair ? 2 : 1);
        // What follows may join the character before it, so that has to be plain, too.
        const bool isSure = isPlain(text[position]) && (next == text.size() || isPlain(text[next]));
        if (!isSure)
            break;
        position = next;
        --count;
    }
    if (count <= 0 || position == text.size())
        return position;
    // The finder analyses all that it is given; a window that grows keeps a look at the front of a long text cheap.
    for (qsizetype window = 4 * count + 64;; window *= 4) {
        const QStringView part = text.sliced(position, std::min(window, text.size() - position));
        const bool isAll = part.size() == text.size() - position;
        QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, part.data(), part.size());
        qsizetype end = 0;
        qsizetype left = count;
        while (left > 0) {
            const qsizetype next = finder.toNextBoundary();
            // The window's own end is no boundary of the text.
            if (next < 0 || (!isAll && next == part.size()))
                break;
            end = next;
            --left;
        }
        if (left == 0 || isAll)
            return position + (left == 0 ? end : part.size());
    }
}

/// Length of the well-formed UTF-8 sequence at the front of the bytes and its code point; length 0 when there is none.
struct Sequence
{
    std::size_t length;
    char32_t codePoint;
};

Sequence firstSequence(std::string_view bytes)
{
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
    const unsigned char lead = byte(0);
    if (lead < 0x80)
        return { 1, lead };
    const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || bytes.size() < length)
        return { 0, 0 };
    char32_t codePoint = lead & (0xFFU >> (length + 1));
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80)
            return { 0, 0 };
        codePoint = (codePoint << 6) | (byte(i) & 0x3F);
    }
    constexpr std::array<char32_t, 5> smallest { 0, 0, 0x80, 0x800, 0x10000 };
    const bool isSurrogate = codePoint >= 0xD800 && codePoint <= 0xDFFF;
    if (codePoint < smallest.at(length) || codePoint > 0x10FFFF || isSurrogate)
        return { 0, 0 };
    return { length, codePoint };
}

/// What would break a line, steer a terminal, or turn the reading direction so that a line reads as another.
constexpr bool mustBeEscaped(char32_t codePoint)
{
    return codePoint < 0x20 || (codePoint >= 0x7F && codePoint < 0xA0) || codePoint == 0x2028 || codePoint == 0x2029 ||
           (codePoint >= 0x202A && codePoint <= 0x202E) || (codePoint >= 0x2066 && codePoint <= 0x2069);
}

void appendEscape(std::string &out, char32_t codePoint)
{
    switch (codePoint) {
    case U'\n':
        out += "\\n";
        return;
    case U'\t':
        out += "\\t";
        return;
    case U'\r':
        out += "\\r";
        return;
    default:
        break;
    }
    constexpr std::string_view digits = "0123456789abcdef";
    out += "\\u{";
    bool begun = false;
    for (int shift = 20; shift >= 0; shift -= 4) {
        const auto digit = static_cast<std::size_t>((codePoint >> shift) & 0xF);
        // At least two digits, as in \u{0a}.
        begun = begun || digit != 0 || shift <= 4;
        if (begun)
            out += digits[digit];
    }
    out += '}';
}

} // namespace

bool hasMoreCharactersThan(QStringView text, qsizetype limit)
{
    // No character is shorter than one code unit.
    if (text.size() <= limit)
        return false;
    return endOfCharacters(text, std::max<qsizetype>(limit, 0)) < text.size();
}

QStringView firstCharacters(QStringView text, qsizetype count)
{
    return text.first(endOfCharacters(text, count));
}

QStringView trimmedWhitespace(QStringView text)
{
    // QChar::isSpace() is Unicode's White_Space and covers all line breaks; they are all in the basic plane.
    qsizetype begin = 0;
    qsizetype end = text.size();
    while (begin < end && text[begin].isSpace())
        ++begin;
    while (end > begin && text[end - 1].isSpace())
        --end;
    return text.sliced(begin, end - begin);
}

QString lastPathComponent(QStringView path)
{
    while (path.size() > 1 && path.endsWith(u'/'))
        path.chop(1);
    return path.size() == 1 ? path.toString() : path.sliced(path.lastIndexOf(u'/') + 1).toString();
}

std::string escapeControlCharacters(std::string_view utf8)
{
    const auto isHarmless = [](char character) {
        const auto byte = static_cast<unsigned char>(character);
        return byte >= 0x20 && byte < 0x7F;
    };
    const auto firstOther = std::ranges::find_if_not(utf8, isHarmless);
    std::string out(utf8.begin(), firstOther);
    if (firstOther == utf8.end())
        return out;

    std::string_view rest = utf8.substr(out.size());
    out.reserve(utf8.size() + 16);
    while (!rest.empty()) {
        const auto [length, codePoint] = firstSequence(rest);
        if (length == 0)
            out += "\xEF\xBF\xBD";
        else if (mustBeEscaped(codePoint))
            appendEscape(out, codePoint);
        else
            out += rest.substr(0, length);
        rest.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return out;
}

} // namespace vantry
