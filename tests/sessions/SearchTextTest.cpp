#include "sessions/SearchText.h"

#include <gtest/gtest.h>

namespace vantry::test {
namespace {

TEST(SearchText, quotesEachPieceAndMatchesBeginnings)
{
    EXPECT_EQ(matchExpression(QStringLiteral("fix main.rs")), QStringLiteral("\"fix\"* \"main.rs\"*"));
}

TEST(SearchText, dropsSyntaxAndNulsAndPartsAtDashesAndStars)
{
    EXPECT_EQ(matchExpression(QStringLiteral("\"a(b)c{d}e:f^g") + QChar(u'\0') + QStringLiteral("h")),
              QStringLiteral("\"abcdefgh\"*"));
    EXPECT_EQ(matchExpression(QStringLiteral("-well-known*  words*")),
              QStringLiteral("\"well\"* \"known\"* \"words\"*"));
}

TEST(SearchText, isEmptyWhereNothingIsLeft)
{
    EXPECT_EQ(matchExpression(QString()), QString());
    EXPECT_EQ(matchExpression(QStringLiteral("\"(){}:^ -*- \t\r\n")), QString());
    EXPECT_EQ(matchExpression(QString(QChar(u'\0'))), QString());
}

TEST(SearchText, wantsAllWordsOfSeveralLines)
{
    EXPECT_EQ(matchExpression(QStringLiteral("one\ttwo\r\nthree\n four")),
              QStringLiteral("\"one\" \"two\" \"three\"* \"four\"*"));
}

TEST(SearchText, keepsWithinBoundsOnEndlessText)
{
    EXPECT_EQ(matchExpression(QStringLiteral("word ").repeated(100'000)).count(u'*'), 64);
    EXPECT_EQ(matchExpression(QStringLiteral("a\t").repeated(100'000)).count(u'a'), 64);
    EXPECT_EQ(matchExpression(QString(1'000'000, u'x')).size(), 4096 + 3);
}

TEST(SearchText, looksOnlyForIdentifiersThatTheIndexKnows)
{
    EXPECT_EQ(identifierExpression(QStringLiteral("a\"b")), QStringLiteral("session_id : \"a\"\"b\""));
    EXPECT_EQ(identifierExpression(QString()), std::nullopt);
    EXPECT_EQ(identifierExpression(QStringLiteral("--")), std::nullopt);
    EXPECT_EQ(identifierExpression(QStringLiteral("a") + QChar(u'\0')), std::nullopt);
}

} // namespace
} // namespace vantry::test
