#include "panels/MarkdownInline.h"

#include "panels/EmphasisExpression.h"

#include <gtest/gtest.h>

#include <random>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;
using Kind = InlinePart::Kind;
using Parts = std::vector<InlinePart>;
using Matches = std::vector<EmphasisScanner::Match>;

Matches scan(const QString &text)
{
    Matches matches;
    EmphasisScanner scanner(text);
    while (const auto match = scanner.next())
        matches.push_back(*match);
    return matches;
}

TEST(EmphasisScanner, findsWhatTheExpressionMatches)
{
    const std::vector<QString> alphabet { u"*"_s,      u"*"_s,      u"*"_s,          u"`"_s,      u"\n"_s,
                                          u"\r"_s,     u"a"_s,      u"a"_s,          u" "_s,      u"\t"_s,
                                          u"\u00a0"_s, u"\u0085"_s, u"é"_s,          u"\u2028"_s, u"\u200b"_s,
                                          u"\u3000"_s, u"\u000b"_s, u"\U0001F600"_s, u"**"_s,     u"\u180e"_s };
    std::mt19937 random(7);
    for (int round = 0; round < 60'000; ++round) {
        // Half of the texts are of stars, a letter and a blank alone: they have the most matches.
        const std::size_t kinds = round % 2 == 0 ? alphabet.size() : 9;
        QString text;
        for (auto length = random() % 28; length > 0; --length)
            text += alphabet[random() % kinds];
        ASSERT_EQ(scan(text), matchEmphasis(text)) << qPrintable(text) << " in round " << round;
    }
}

TEST(EmphasisScanner, findsWhatTheExpressionMatchesInEveryShortText)
{
    constexpr std::array<char16_t, 5> letters { u'*', u'a', u' ', u'`', u'\n' };
    for (int code = 0; code < 5 * 5 * 5 * 5 * 5 * 5 * 5; ++code) {
        QString text;
        for (int rest = code; rest > 0; rest /= 5)
            text += QChar(letters.at(static_cast<std::size_t>(rest % 5)));
        ASSERT_EQ(scan(text), matchEmphasis(text)) << qPrintable(text);
    }
}

TEST(EmphasisScanner, looksAtEachCharacterAFewTimes)
{
    for (const QString &piece : { u"*a *a "_s, u"`"_s, u"*"_s, u"**"_s, u"***a "_s, u"* "_s, u"(((("_s, u"*a\n"_s,
                                  u"**a\n*b "_s, u"`a\n"_s, u"*a **b ***c "_s, u"``a"_s, u"a.a."_s }) {
        const QString text = piece.repeated(1'000'000 / piece.size());
        EmphasisScanner scanner(text);
        while (scanner.next()) {
        }
        EXPECT_LE(scanner.steps(), 6 * text.size()) << qPrintable(piece);
    }
}

TEST(MarkdownInline, yieldsPlainTextAsOnePart)
{
    EXPECT_EQ(splitInline(u"one two"_s), (Parts { { Kind::plain, u"one two"_s } }));
    EXPECT_EQ(splitInline({}), (Parts { { Kind::plain, {} } }));
}

TEST(MarkdownInline, readsEachStyle)
{
    EXPECT_EQ(splitInline(u"a `b` *c* **d** ***e*** f"_s), (Parts { { Kind::plain, u"a "_s },
                                                                    { Kind::code, u"b"_s },
                                                                    { Kind::plain, u" "_s },
                                                                    { Kind::italic, u"c"_s },
                                                                    { Kind::plain, u" "_s },
                                                                    { Kind::bold, u"d"_s },
                                                                    { Kind::plain, u" "_s },
                                                                    { Kind::boldItalic, u"e"_s },
                                                                    { Kind::plain, u" f"_s } }));
}

TEST(MarkdownInline, keepsStarsInACodeSpan)
{
    EXPECT_EQ(splitInline(u"`a ** b`"_s), (Parts { { Kind::code, u"a ** b"_s } }));
    EXPECT_EQ(splitInline(u"`**`"_s), (Parts { { Kind::code, u"**"_s } }));
}

TEST(MarkdownInline, keepsACodeSpanOverALineEnd)
{
    EXPECT_EQ(splitInline(u"`a\nb`"_s), (Parts { { Kind::code, u"a\nb"_s } }));
}

TEST(MarkdownInline, leavesStarsWithBlanksInsidePlain)
{
    EXPECT_EQ(splitInline(u"** word **"_s), (Parts { { Kind::plain, u"** word **"_s } }));
    EXPECT_EQ(splitInline(u"2 * 3 * 4"_s), (Parts { { Kind::plain, u"2 * 3 * 4"_s } }));
    EXPECT_EQ(splitInline(u"2 ** 3 ** 4"_s), (Parts { { Kind::plain, u"2 ** 3 ** 4"_s } }));
    EXPECT_EQ(splitInline(u"* a\n* b"_s), (Parts { { Kind::plain, u"* a\n* b"_s } }));
}

TEST(MarkdownInline, readsThreeStarsAsBoldItalic)
{
    EXPECT_EQ(splitInline(u"***word***"_s), (Parts { { Kind::boldItalic, u"word"_s } }));
}

TEST(MarkdownInline, losesNoTextToStarsThatAreNoPair)
{
    for (const QString &text : { u"***"_s, u"*****"_s, u"**a*"_s, u"***a**"_s, u"***a b ***"_s, u"*"_s, u"**"_s })
        EXPECT_EQ(splitInline(text), (Parts { { Kind::plain, text } })) << qPrintable(text);
}

TEST(MarkdownInline, endsEmphasisAtALineEnd)
{
    EXPECT_EQ(splitInline(u"*a\nb*"_s), (Parts { { Kind::plain, u"*a\nb*"_s } }));
    EXPECT_EQ(splitInline(u"**a\u2028b**"_s), (Parts { { Kind::plain, u"**a\u2028b**"_s } }));
}

TEST(MarkdownInline, keepsOneStarWithinTwo)
{
    EXPECT_EQ(splitInline(u"**a*b**"_s), (Parts { { Kind::bold, u"a*b"_s } }));
    EXPECT_EQ(splitInline(u"*a**b*"_s), (Parts { { Kind::italic, u"a"_s }, { Kind::italic, u"b"_s } }));
}

TEST(MarkdownInline, stopsALinkAtEmphasisInItsPath)
{
    EXPECT_EQ(splitInline(u"http://x.org/a*b*c"_s),
              (Parts { { Kind::link, u"http://x.org/a"_s, QUrl(u"http://x.org/a"_s) },
                       { Kind::italic, u"b"_s },
                       { Kind::plain, u"c"_s } }));
}

TEST(MarkdownInline, leavesLinksInCodeAndEmphasisAsText)
{
    EXPECT_EQ(splitInline(u"`http://x.org`"_s), (Parts { { Kind::code, u"http://x.org"_s } }));
    EXPECT_EQ(splitInline(u"**http://x.org**"_s), (Parts { { Kind::bold, u"http://x.org"_s } }));
}

TEST(MarkdownInline, putsALinkBetweenItsTexts)
{
    EXPECT_EQ(splitInline(u"see example.org, please"_s),
              (Parts { { Kind::plain, u"see "_s },
                       { Kind::link, u"example.org"_s, QUrl(u"http://example.org"_s) },
                       { Kind::plain, u", please"_s } }));
}

TEST(MarkdownInline, keepsTheWholeText)
{
    const std::vector<QString> pieces { u"*"_s, u"**"_s, u"`"_s, u"a"_s, u" "_s, u"http://a.io/"_s,
                                        u"("_s, u")"_s,  u"\n"_s };
    std::mt19937 random(11);
    for (int round = 0; round < 20'000; ++round) {
        QString text;
        for (auto length = random() % 20; length > 0; --length)
            text += pieces[random() % pieces.size()];
        QString kept;
        for (const InlinePart &part : splitInline(text))
            kept += part.text;
        QString letters = text;
        letters.removeIf([](QChar c) { return c == u'*' || c == u'`'; });
        kept.removeIf([](QChar c) { return c == u'*' || c == u'`'; });
        ASSERT_EQ(kept, letters) << qPrintable(text);
    }
}

} // namespace
} // namespace vantry::test
