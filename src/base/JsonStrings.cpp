#include "base/JsonStrings.h"

#include "base/JsonScalars.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace vantry::detail {
namespace {

/// Long strings are passed over in blocks, all bytes of a vector at once.
constexpr std::size_t blockSize = 128;

using Vector = unsigned char __attribute__((vector_size(32)));

// Compiled for processors with AVX2 and for all others: always inline, and no vector is passed by value.
[[gnu::always_inline]] inline void load(Vector &out, const char *from)
{
    std::memcpy(&out, from, sizeof out);
}

/// All ones where a character stands that is escaped for certain: behind one backslash, or (with `Deep`) behind three,
/// as a quote is in JSON within JSON, whatever stands before them.
template <bool Deep>
[[gnu::always_inline]] inline void findEscaped(Vector &out, const char *at)
{
    Vector first;
    Vector second;
    load(first, at - 1);
    load(second, at - 2);
    if constexpr (Deep) {
        Vector third;
        Vector fourth;
        load(third, at - 3);
        load(fourth, at - 4);
        out = reinterpret_cast<Vector>((first == '\\') & ((second != '\\') | ((third == '\\') & (fourth != '\\'))));
    } else {
        out = reinterpret_cast<Vector>((first == '\\') & (second != '\\'));
    }
}

[[gnu::always_inline]] inline bool isZero(const Vector &vector)
{
    std::array<std::uint64_t, sizeof(Vector) / sizeof(std::uint64_t)> words;
    std::memcpy(words.data(), &vector, sizeof vector);
    return (words[0] | words[1] | words[2] | words[3]) == 0;
}

/// Whether no quote of the block can be a closing one.
struct NoClosingQuote
{
    template <bool Deep>
    [[gnu::always_inline]] static bool isIn(const char *block)
    {
        Vector found {};
        for (const char *at = block; at < block + blockSize; at += sizeof(Vector)) {
            Vector characters;
            Vector escaped;
            load(characters, at);
            findEscaped<Deep>(escaped, at);
            found |= reinterpret_cast<Vector>(characters == '"') & ~escaped;
        }
        return isZero(found);
    }
};

/// Whether besides the block holds no control character, and every backslash in it stands before one of the characters
/// that are escaped most: then all its escapes are sound however the backslashes pair up.
struct NothingButUsualText
{
    template <bool Deep>
    [[gnu::always_inline]] static bool isIn(const char *block)
    {
        Vector found {};
        for (const char *at = block; at < block + blockSize; at += sizeof(Vector)) {
            Vector characters;
            Vector next;
            Vector escaped;
            load(characters, at);
            load(next, at + 1);
            findEscaped<Deep>(escaped, at);
            const auto usual = reinterpret_cast<Vector>((next == 'n') | (next == '"') | (next == '\\') | (next == 't') |
                                                        (next == 'r'));
            found |= (reinterpret_cast<Vector>(characters == '"') & ~escaped) |
                     (reinterpret_cast<Vector>(characters == '\\') & ~usual) |
                     reinterpret_cast<Vector>(characters < ' ');
        }
        return isZero(found);
    }
};

template <typename Nothing>
[[gnu::always_inline]] inline std::size_t skip(std::string_view text, std::size_t at)
{
    while (text.size() - at > blockSize) {
        const char *const block = text.data() + at;
        if (!Nothing::template isIn<false>(block) && !Nothing::template isIn<true>(block))
            break;
        at += blockSize;
    }
    return at;
}

#ifdef __x86_64__
template <typename Nothing>
[[gnu::target("avx2")]] std::size_t skipWithAvx2(std::string_view text, std::size_t at)
{
    return skip<Nothing>(text, at);
}
#endif

/// Passes over blocks in which there is nothing to stop at.
template <typename Nothing>
std::size_t skipBlocks(std::string_view text, std::size_t at)
{
#ifdef __x86_64__
    if (__builtin_cpu_supports("avx2"))
        return skipWithAvx2<Nothing>(text, at);
#endif
    return skip<Nothing>(text, at);
}

/// `at` is behind `begin`, and what stands between has been looked at.
bool isEscaped(std::string_view text, std::size_t begin, std::size_t at)
{
    std::size_t backslashes = 0;
    while (at - backslashes > begin && text[at - backslashes - 1] == '\\')
        ++backslashes;
    return backslashes % 2 == 1;
}

/// `lengthAt(std::size_t at)` gives the length of what stands where plain text ends, 0 to give up.
template <typename Nothing, typename LengthAt>
std::size_t closingQuoteWith(std::string_view text, std::size_t begin, std::size_t at, const LengthAt &lengthAt)
{
    while (at < text.size()) {
        const std::size_t end = std::min(at + blockSize, text.size());
        while (at < end) {
            at = endOfPlainText(text, at, end);
            if (at == end)
                break;
            if (text[at] == '"')
                return at;
            const std::size_t length = lengthAt(at);
            if (length == 0)
                return text.size();
            at += length;
        }
        if (at >= text.size())
            break;
        const std::size_t behind = skipBlocks<Nothing>(text, at);
        at = behind > at && isEscaped(text, begin, behind) ? behind + 1 : behind;
    }
    return text.size();
}

bool isUsualEscape(std::string_view text, std::size_t at)
{
    const char next = at + 1 < text.size() ? text[at + 1] : '\0';
    return next == 'n' || next == '"' || next == '\\' || next == 't' || next == 'r';
}

} // namespace

std::size_t closingQuoteFrom(std::string_view text, std::size_t begin, std::size_t at)
{
    return closingQuoteWith<NoClosingQuote>(text, begin, at,
                                            [text](std::size_t place) { return text[place] == '\\' ? 2U : 1U; });
}

std::size_t closingQuoteOfSoundFrom(std::string_view text, std::size_t begin, std::size_t at)
{
    return closingQuoteWith<NothingButUsualText>(text, begin, at, [text](std::size_t place) -> std::size_t {
        if (text[place] != '\\')
            return 0;
        if (isUsualEscape(text, place))
            return 2;
        const std::string_view escape = text.substr(place, text.substr(place, 2) == "\\u" ? 6 : 2);
        return hasSoundEscapes(escape) ? escape.size() : 0;
    });
}

} // namespace vantry::detail
