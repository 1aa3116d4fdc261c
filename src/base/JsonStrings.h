#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <string_view>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace vantry {

// Where JSON strings end: fast, since nearly all of a large JSON text is the inside of strings. Most strings are short
// and found inline. Pure functions, any thread.

/// The place of the quote that closes the string whose inside begins at `begin`; text.size() when there is none. A
/// backslash hides what follows it, whatever that is.
[[nodiscard]] std::size_t closingQuote(std::string_view text, std::size_t begin);
/// The same, but text.size() also when the inside holds a control character or a malformed escape (see
/// hasSoundEscapes).
[[nodiscard]] std::size_t closingQuoteOfSound(std::string_view text, std::size_t begin);

namespace detail {

/// The same as the functions above, for strings that go on from `at`, which is not within an escape.
std::size_t closingQuoteFrom(std::string_view text, std::size_t begin, std::size_t at);
std::size_t closingQuoteOfSoundFrom(std::string_view text, std::size_t begin, std::size_t at);

constexpr bool endsPlainText(char character)
{
    return character == '"' || character == '\\' || static_cast<unsigned char>(character) < ' ';
}

#ifdef __SSE2__
/// One bit for each of 16 characters at which plain text ends.
inline unsigned endsOfPlainText(const char *characters)
{
    const __m128i piece = _mm_loadu_si128(reinterpret_cast<const __m128i *>(characters));
    const __m128i lastControl = _mm_set1_epi8(' ' - 1);
    const __m128i isMark =
        _mm_or_si128(_mm_cmpeq_epi8(piece, _mm_set1_epi8('"')), _mm_cmpeq_epi8(piece, _mm_set1_epi8('\\')));
    const __m128i isControl = _mm_cmpeq_epi8(_mm_max_epu8(piece, lastControl), lastControl);
    return static_cast<unsigned>(_mm_movemask_epi8(_mm_or_si128(isMark, isControl)));
}
#endif

/// The first quote, backslash or control character, or `end`.
inline std::size_t endOfPlainText(std::string_view text, std::size_t at, std::size_t end)
{
#ifdef __SSE2__
    // Two at a time: most strings end within the first, so that the processor guesses right.
    constexpr std::size_t width = 16;
    for (; end - at >= 2 * width; at += 2 * width) {
        const char *const characters = text.data() + at;
        if (const unsigned ends = endsOfPlainText(characters) | endsOfPlainText(characters + width) << width)
            return at + static_cast<std::size_t>(std::countr_zero(ends));
    }
#endif
    while (at < end && !endsPlainText(text[at]))
        ++at;
    return at;
}

/// Up to here a string counts as short.
inline std::size_t shortEnd(std::string_view text, std::size_t begin)
{
    constexpr std::size_t longestShort = 64;
    return text.size() - begin > longestShort ? begin + longestShort : text.size();
}

} // namespace detail

inline std::size_t closingQuote(std::string_view text, std::size_t begin)
{
    const std::size_t at = detail::endOfPlainText(text, begin, detail::shortEnd(text, begin));
    return at < text.size() && text[at] == '"' ? at : detail::closingQuoteFrom(text, begin, at);
}

inline std::size_t closingQuoteOfSound(std::string_view text, std::size_t begin)
{
    const std::size_t at = detail::endOfPlainText(text, begin, detail::shortEnd(text, begin));
    return at < text.size() && text[at] == '"' ? at : detail::closingQuoteOfSoundFrom(text, begin, at);
}

} // namespace vantry
