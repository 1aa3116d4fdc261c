#include "sessions/AttentionText.h"

#include <gtest/gtest.h>

namespace vantry {
namespace {

struct QuestionCase
{
    const char16_t *text;
    bool asks;
};

class EndsWithQuestion : public ::testing::TestWithParam<QuestionCase>
{};

TEST_P(EndsWithQuestion, looksAtTheLastThreeLines)
{
    EXPECT_EQ(endsWithQuestion(GetParam().text), GetParam().asks);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, EndsWithQuestion,
    ::testing::Values(QuestionCase { u"", false }, QuestionCase { u" \n\t\u00a0\u2028", false },
                      QuestionCase { u"?", true }, QuestionCase { u"Go on?", true },
                      QuestionCase { u"  Go on? \u00a0\n\n", true }, QuestionCase { u"Go on.", false },
                      QuestionCase { u"Why? Because.", false }, QuestionCase { u"Go on?\nA\nB", true },
                      QuestionCase { u"Go on?\nA\nB\nC", false }, QuestionCase { u"Go on?  \nA\nB", true },
                      QuestionCase { u"Go on?\n\nB", true }, QuestionCase { u"Go on?\n\n\nB", false },
                      QuestionCase { u"Go on?\r\nA\r\nB", true }, QuestionCase { u"Go on?\r\nA\r\nB\r\nC", false },
                      QuestionCase { u"Go on?\n\rA", true }, QuestionCase { u"Go on?\n\r\rA", false },
                      QuestionCase { u"Go on?\u2028A\u2029B", true },
                      QuestionCase { u"Go on?\u2028A\u2029B\u0085C", false }, QuestionCase { u"Go on\uff1f", false },
                      QuestionCase { u"**Go on?**", false }, QuestionCase { u"\nA\nB\nC?", true }));

struct ToolCase
{
    const char16_t *message;
    std::optional<QString> tool;
};

class ToolAskedFor : public ::testing::TestWithParam<ToolCase>
{};

TEST_P(ToolAskedFor, isTheWordBehindThePhrase)
{
    EXPECT_EQ(toolAskedFor(QString::fromUtf16(GetParam().message)), GetParam().tool);
}

INSTANTIATE_TEST_SUITE_P(
    Messages, ToolAskedFor,
    ::testing::Values(ToolCase { u"Claude needs your permission to use bash.", QStringLiteral("Bash") },
                      ToolCase { u"PERMISSION TO USE WebFetch", QStringLiteral("Webfetch") },
                      ToolCase { u"permission to use mcp__probe__echo", QStringLiteral("Mcp") },
                      ToolCase { u"permission to use bash\u00a0now", QStringLiteral("Bash") },
                      ToolCase { u"permission to use bash\u3002", QStringLiteral("Bash") },
                      ToolCase { u"permission to use a+b", QStringLiteral("A+b") },
                      ToolCase { u"permission to use \u00e9dit", QStringLiteral("\u00c9dit") },
                      ToolCase { u"permission to use \U00010428x", QStringLiteral("\U00010400x") },
                      ToolCase { u"permission to use x\U00010100y", QStringLiteral("X") },
                      ToolCase { u"permission to use ", std::nullopt },
                      ToolCase { u"permission to use  bash", std::nullopt },
                      ToolCase { u"permission to use .", std::nullopt },
                      ToolCase { u"permission to using bash", std::nullopt }, ToolCase { u"", std::nullopt }));

TEST(MentionsPermission, inEveryCaseOfLetters)
{
    EXPECT_TRUE(mentionsPermission(QStringLiteral("Claude needs your Permissions")));
    EXPECT_FALSE(mentionsPermission(QStringLiteral("Claude is waiting")));
}

} // namespace
} // namespace vantry
