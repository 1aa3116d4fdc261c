#include "base/JsonStrings.h"

#include "base/JsonScalars.h"

#include <gtest/gtest.h>

#include <array>
#include <random>
#include <string>

namespace vantry {
namespace {

std::size_t plainClosingQuote(std::string_view text, std::size_t begin)
{
    std::size_t at = begin;
    while (at < text.size() && text[at] != '"')
        at += text[at] == '\\' ? 2 : 1;
    return std::min(at, text.size());
}

std::size_t plainClosingQuoteOfSound(std::string_view text, std::size_t begin)
{
    const std::size_t quote = plainClosingQuote(text, begin);
    const std::string_view inside = text.substr(begin, quote - begin);
    const bool hasControl = std::ranges::any_of(inside, [](unsigned char character) { return character < ' '; });
    return hasControl || !hasSoundEscapes(inside) ? text.size() : quote;
}

void compare(std::string_view text)
{
    for (std::size_t begin = 0; begin <= text.size(); begin += 1 + text.size() / 8) {
        ASSERT_EQ(closingQuote(text, begin), plainClosingQuote(text, begin)) << begin << " in " << text;
        ASSERT_EQ(closingQuoteOfSound(text, begin), plainClosingQuoteOfSound(text, begin)) << begin << " in " << text;
    }
}

TEST(JsonStrings, endWhereReadingThemOneByOneEnds)
{
    constexpr std::array<std::string_view, 16> pieces { "x",        "plain text of some length ",
                                                        "\\n",      "\\\"",
                                                        "\\\\",     "\\\\\\\"",
                                                        "\\\\\\\\", "\\u001b",
                                                        "\\r",      "\\/",
                                                        "\xC3\xA9", "\"",
                                                        "\\",       "\\q",
                                                        "\x1F",     "\\u00g0" };
    std::mt19937 random(1);
    for (int round = 0; round < 4'000; ++round) {
        // Mostly of a few kinds, so that long stretches are alike, with at most a few of what ends them.
        const std::size_t kinds = 1 + random() % 11;
        const std::size_t first = random() % 11;
        std::string text;
        for (auto left = random() % 120; left > 0; --left)
            text += random() % 200 == 0 ? pieces.at(11 + random() % 5) : pieces.at((first + random() % kinds) % 11);
        compare(text);
        compare(text + '"');
        compare(text + "\", \"next\"" + std::string(random() % 300, ' '));
        if (HasFatalFailure())
            return;
    }
}

TEST(JsonStrings, endAtTheirQuoteHoweverManyBackslashesStandBeforeItAndWhereverTheyStand)
{
    for (std::size_t before = 0; before < 600; before += 7) {
        for (std::size_t backslashes = 0; backslashes < 10; ++backslashes)
            compare(std::string(before, 'x') + std::string(backslashes, '\\') + "\"" + std::string(200, 'y') + "\"");
        compare(std::string(before, '\\') + "\"" + std::string(300, 'y') + "\"");
    }
}

TEST(JsonStrings, noticeEveryControlCharacter)
{
    for (std::size_t before = 0; before < 400; before += 13) {
        for (char control = 0; control < ' '; ++control)
            compare(std::string(before, 'x') + control + std::string(200, 'x') + '"');
        compare(std::string(before, '\x7F') + std::string(200, '\xFF') + '"');
    }
}

} // namespace
} // namespace vantry
