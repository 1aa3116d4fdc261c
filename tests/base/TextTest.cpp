#include "base/Text.h"

#include <QList>

#include <gtest/gtest.h>

namespace vantry {
namespace {

const QString family = QStringLiteral("\U0001F468\u200D\U0001F469\u200D\U0001F467");
const QString flag = QStringLiteral("\U0001F1E9\U0001F1EA");
const QString accented = QStringLiteral("e\u0301");

TEST(Text, countsAsciiByCodeUnits)
{
    EXPECT_FALSE(hasMoreCharactersThan(u"abc", 3));
    EXPECT_TRUE(hasMoreCharactersThan(u"abcd", 3));
    EXPECT_EQ(firstCharacters(u"abcd", 3), u"abc");
    EXPECT_EQ(firstCharacters(u"abcd", 4), u"abcd");
    EXPECT_EQ(firstCharacters(u"abcd", 5), u"abcd");
}

TEST(Text, countsCarriageReturnWithLineFeedAsOne)
{
    EXPECT_EQ(firstCharacters(u"a\r\nb", 2), u"a\r\n");
    EXPECT_FALSE(hasMoreCharactersThan(u"\r\n\r\n", 2));
    EXPECT_TRUE(hasMoreCharactersThan(u"\n\r", 1));
}

TEST(Text, keepsComposedCharactersTogether)
{
    for (const QString &character : { family, flag, accented }) {
        const QString text = QString(character + character + u'x');
        EXPECT_EQ(firstCharacters(text, 1), character);
        EXPECT_EQ(firstCharacters(text, 2), QString(character + character));
        EXPECT_FALSE(hasMoreCharactersThan(text, 3));
        EXPECT_TRUE(hasMoreCharactersThan(text, 2));
    }
}

TEST(Text, joinsAMarkToThePlainLetterBeforeIt)
{
    const QString text = QString(QStringLiteral("ab") + accented + u'c');
    EXPECT_EQ(firstCharacters(text, 3), QString(QStringLiteral("ab") + accented));
    EXPECT_EQ(firstCharacters(text, 2), u"ab");
}

TEST(Text, takesNoneForACountOfZeroOrLess)
{
    EXPECT_EQ(firstCharacters(u"abc", 0), u"");
    EXPECT_EQ(firstCharacters(family, 0), u"");
    EXPECT_EQ(firstCharacters(u"abc", -1), u"");
    EXPECT_TRUE(hasMoreCharactersThan(u"a", 0));
    EXPECT_FALSE(hasMoreCharactersThan(u"", 0));
}

TEST(Text, countsCharactersThatAreLongerThanAnyWindow)
{
    const QString tower = QString(u'a' + QString(10'000, QChar(0x0301)));
    const QString text = QString(tower + tower + u'b');

    EXPECT_EQ(firstCharacters(text, 1).size(), tower.size());
    EXPECT_EQ(firstCharacters(text, 2).size(), 2 * tower.size());
    EXPECT_TRUE(hasMoreCharactersThan(text, 2));
    EXPECT_FALSE(hasMoreCharactersThan(text, 3));
}

TEST(Text, splitsAtEveryCountAsABoundaryFinderWould)
{
    const QString text = QString(QStringLiteral("a\r\n") + family + QStringLiteral("b") + flag + flag + accented +
                                 QStringLiteral("\u1100\u1161\u11A8x\r") + QString(3, QChar(0xD800)) + u'z');
    // "a", CR LF, family, b, flag, flag, accented, a Hangul syllable, x, CR, three lone surrogates, z.
    const QList<qsizetype> lengths { 1, 2, family.size(), 1, 4, 4, 2, 3, 1, 1, 1, 1, 1, 1 };
    qsizetype end = 0;
    for (qsizetype count = 1; count <= lengths.size(); ++count) {
        end += lengths[count - 1];
        EXPECT_EQ(firstCharacters(text, count).size(), end) << count;
    }
    EXPECT_EQ(end, text.size());
}

TEST(Text, trimsUnicodeWhitespaceAtBothEnds)
{
    EXPECT_EQ(trimmedWhitespace(u" \t\r\n\v\f\u0085\u00A0\u2028\u2029\u3000a b\u2003\n"), u"a b");
    EXPECT_EQ(trimmedWhitespace(u"\u200Ba"), u"\u200Ba");
    EXPECT_EQ(trimmedWhitespace(u" \n "), u"");
    EXPECT_EQ(trimmedWhitespace(u""), u"");
}

TEST(Text, takesTheLastComponentOfAPath)
{
    EXPECT_EQ(lastPathComponent(u"/src/vantry"), u"vantry");
    EXPECT_EQ(lastPathComponent(u"/src/vantry//"), u"vantry");
    EXPECT_EQ(lastPathComponent(u"vantry"), u"vantry");
    EXPECT_EQ(lastPathComponent(u"/"), u"/");
    EXPECT_EQ(lastPathComponent(u"//"), u"/");
    EXPECT_EQ(lastPathComponent(u""), u"");
}

TEST(Text, leavesHarmlessTextAlone)
{
    EXPECT_EQ(escapeControlCharacters("plain ~ text"), "plain ~ text");
    EXPECT_EQ(escapeControlCharacters("gr\u00FC\u00DFe \U0001F600 \u00A0"), "gr\u00FC\u00DFe \U0001F600 \u00A0");
    EXPECT_EQ(escapeControlCharacters(""), "");
}

TEST(Text, escapesWhatBreaksLinesOrSteersTerminals)
{
    using namespace std::string_view_literals;
    EXPECT_EQ(escapeControlCharacters("a\nb\tc\rd"), "a\\nb\\tc\\rd");
    EXPECT_EQ(escapeControlCharacters("\0\x1B[31m\x7F"sv), "\\u{00}\\u{1b}[31m\\u{7f}");
    EXPECT_EQ(escapeControlCharacters("\u0085\u009B"), "\\u{85}\\u{9b}");
    EXPECT_EQ(escapeControlCharacters("\u2028\u2029"), "\\u{2028}\\u{2029}");
    EXPECT_EQ(escapeControlCharacters("\u202Eabc\u202C\u2066x\u2069"), "\\u{202e}abc\\u{202c}\\u{2066}x\\u{2069}");
}

TEST(Text, replacesBytesThatAreNotUtf8)
{
    constexpr auto replacement = "\uFFFD";
    EXPECT_EQ(escapeControlCharacters("\xFF"), replacement);
    EXPECT_EQ(escapeControlCharacters("a\xC3"), std::string("a") + replacement);
    EXPECT_EQ(escapeControlCharacters("\xC0\xAF"), std::string(replacement) + replacement);
    EXPECT_EQ(escapeControlCharacters("\xF4\x90\x80\x80\n"),
              std::string(replacement) + replacement + replacement + replacement + "\\n");
    // A surrogate's three bytes are no UTF-8 either.
    EXPECT_EQ(escapeControlCharacters("\xED\xA0\x80"), std::string(replacement) + replacement + replacement);
}

} // namespace
} // namespace vantry
