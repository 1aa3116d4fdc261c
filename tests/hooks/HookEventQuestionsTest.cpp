#include "hooks/HookEventSupport.h"

#include <gmock/gmock.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;

std::optional<std::vector<HookEvent::Question>> questionsIn(std::string_view questions)
{
    return eventFromJson(recordWith(R"("tool_input":{"questions":)" + std::string(questions) + "}")).questions();
}

TEST(HookEventQuestions, keepWhatCanBeRead)
{
    const auto questions = questionsIn(R"([{"question":"a"},{"header":"b"},{}])");

    ASSERT_TRUE(questions);
    EXPECT_EQ(*questions, (std::vector<HookEvent::Question> { { u"a"_s, {}, {}, {} } }));
}

TEST(HookEventQuestions, readEveryField)
{
    const auto questions = questionsIn(
        R"([{"question":"q","header":"h","multiSelect":true,"options":[{"label":"l","description":"d"},{"label":"m"}]}])");

    const HookEvent::Question expected { u"q"_s, u"h"_s,
                                         std::vector<HookEvent::QuestionOption> { { u"l"_s, u"d"_s }, { u"m"_s, {} } },
                                         true };
    ASSERT_TRUE(questions);
    EXPECT_EQ(*questions, std::vector<HookEvent::Question> { expected });
}

TEST(HookEventQuestions, areAbsentWhenOneElementIsNoMap)
{
    EXPECT_FALSE(questionsIn(R"([{"question":"a"},"b"])"));
    EXPECT_FALSE(questionsIn(R"("a")"));
    EXPECT_FALSE(questionsIn("{}"));
    EXPECT_FALSE(questionsIn("null"));
}

TEST(HookEventQuestions, areAbsentWithoutAList)
{
    EXPECT_FALSE(eventFromJson(R"({"session_id":"s"})").questions());
    EXPECT_FALSE(eventFromJson(recordWith(R"("tool_input":{})")).questions());
    EXPECT_FALSE(eventFromJson(recordWith(R"("tool_input":{"question":"a"})")).questions());
}

TEST(HookEventQuestions, areEmptyForAnEmptyList)
{
    const auto questions = questionsIn("[]");

    ASSERT_TRUE(questions);
    EXPECT_TRUE(questions->empty());
}

TEST(HookEventQuestions, treatPartsOfAnotherTypeAsAbsent)
{
    const auto questions = questionsIn(
        R"([{"question":1},{"question":"a","header":2,"multiSelect":"x","options":{"label":"l"}},{"question":"b","options":["l"]}])");

    ASSERT_TRUE(questions);
    EXPECT_EQ(*questions, (std::vector<HookEvent::Question> { { u"a"_s, {}, {}, {} }, { u"b"_s, {}, {}, {} } }));
}

TEST(HookEventQuestions, dropOptionsWithoutALabel)
{
    const auto questions = questionsIn(
        R"([{"question":"a","options":[{"description":"d"},{},{"label":3},{"label":"l","description":4}]}])");

    ASSERT_TRUE(questions);
    EXPECT_EQ(*questions->front().options, (std::vector<HookEvent::QuestionOption> { { u"l"_s, {} } }));
}

TEST(HookEventQuestions, keepAnEmptyListOfOptions)
{
    const auto questions = questionsIn(R"([{"question":"a","options":[]}])");

    ASSERT_TRUE(questions);
    ASSERT_TRUE(questions->front().options);
    EXPECT_TRUE(questions->front().options->empty());
}

/// What a strict decoder refuses of what agents really send: responses that are no map, and a kind of notification that
/// changes nothing here.

} // namespace
} // namespace vantry::test
