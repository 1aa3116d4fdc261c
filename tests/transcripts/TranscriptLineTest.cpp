#include "transcripts/TranscriptLine.h"

#include <gmock/gmock.h>

#include <string>

namespace vantry::test {
namespace {

using Kind = TranscriptContent::Kind;
using testing::Eq;
using testing::Optional;

/// Reads one line and keeps what its views point to.
class Read
{
public:
    explicit Read(std::string text)
        : m_text(std::move(text))
        , m_line(m_reader.read(m_text))
    {}

    const std::optional<TranscriptLine> &line() const { return m_line; }
    bool isSound() { return m_line && m_reader.isSound(); }

private:
    std::string m_text;
    TranscriptLineReader m_reader;
    std::optional<TranscriptLine> m_line;
};

TEST(TranscriptLine, findsKeysInAnyOrderAndAtTheTopLevelAlone)
{
    Read read(R"({"message":{"type":"message","uuid":"no","content":[]},"attachment":{"type":"user","cwd":"/no"},)"
              R"("uuid":"u","cwd":"/w","gitBranch":"main","timestamp":"t","isMeta":true,"type":"assistant"})");

    ASSERT_TRUE(read.line());
    EXPECT_THAT(read.line()->type, Optional(Eq("assistant")));
    EXPECT_THAT(read.line()->uuid, Optional(Eq("u")));
    EXPECT_THAT(read.line()->cwd, Optional(Eq("/w")));
    EXPECT_THAT(read.line()->gitBranch, Optional(Eq("main")));
    EXPECT_THAT(read.line()->timestamp, Optional(Eq("t")));
    EXPECT_TRUE(read.line()->isMeta);
    EXPECT_FALSE(read.line()->isCompactSummary);
    EXPECT_TRUE(read.isSound());
}

TEST(TranscriptLine, countsTheLastOfADoubledKey)
{
    Read read(R"({"type":"user","type":5,"uuid":"a","uuid":"b","message":{"content":"x"},"message":{"content":[]},)"
              R"("isMeta":true,"isMeta":1,"cwd":"/w","cwd":null})");

    ASSERT_TRUE(read.line());
    EXPECT_EQ(read.line()->type, std::nullopt);
    EXPECT_THAT(read.line()->uuid, Optional(Eq("b")));
    EXPECT_EQ(read.line()->cwd, std::nullopt);
    EXPECT_FALSE(read.line()->isMeta);
    ASSERT_TRUE(read.line()->message);
    EXPECT_EQ(read.line()->message->kind, Kind::blocks);

    Read dropped(R"({"message":{"content":"x"},"message":"y"})");
    ASSERT_TRUE(dropped.line());
    EXPECT_FALSE(dropped.line()->message);
}

TEST(TranscriptLine, readsKeysAndTypesThatAreWrittenWithEscapes)
{
    Read read(R"({"\u0074ype":"us\u0065r","m\u0065ssage":{"cont\u0065nt":[{"typ\u0065":"t\u0065xt","text":"x"}]}})");

    ASSERT_TRUE(read.line());
    EXPECT_TRUE(jsonStringIs(read.line()->type, "user"));
    ASSERT_TRUE(read.line()->message);
    EXPECT_TRUE(read.line()->message->hasTextBlock);
}

TEST(TranscriptLine, tellsWhatAMessageHolds)
{
    const auto contentOf = [](const std::string &content) {
        Read read(R"({"message":{"content":)" + content + R"(,"role":"user"}})");
        return read.line() && read.line()->message ? *read.line()->message : TranscriptContent();
    };

    EXPECT_EQ(contentOf("\"x\"").kind, Kind::string);
    EXPECT_EQ(contentOf("5").kind, Kind::none);
    EXPECT_EQ(contentOf("null").kind, Kind::none);
    EXPECT_EQ(contentOf("{}").kind, Kind::none);
    EXPECT_EQ(contentOf("[]").kind, Kind::blocks);
    EXPECT_EQ(contentOf(R"([{"type":"text"},"x"])").kind, Kind::none);
    EXPECT_FALSE(contentOf(R"([{"type":"text"},"x"])").hasTextBlock);
    EXPECT_EQ(contentOf(R"([[],{"type":"text"}])").kind, Kind::none);
    EXPECT_TRUE(contentOf(R"([{"x":{"type":"no"},"type":"text"}])").hasTextBlock);
    EXPECT_FALSE(contentOf(R"([{"type":"text","type":"tool_use"}])").hasTextBlock);
    EXPECT_TRUE(contentOf(R"([{"type":"image"}, {"type":"tool_use"}])").hasToolUseBlock);
    EXPECT_FALSE(contentOf(R"([{"type":"tool_result","content":[{"type":"text"}]}])").hasTextBlock);
}

TEST(TranscriptLine, givesBlocksInOrder)
{
    Read read(R"({"message":{"content": [ {"type":"text","text":"a\"b"} , {"type":"tool_use","id":"i","name":"n",)"
              R"("input":{"x":[1,{}]}}, {"type":5,"text":[],"id":{},"name":null,"input":"x","text":"]"} ] }})");

    ASSERT_TRUE(read.line());
    ASSERT_TRUE(read.isSound());
    const auto blocks = blocksOf(*read.line()->message);
    ASSERT_EQ(blocks.size(), 3U);
    EXPECT_THAT(blocks[0].text, Optional(Eq(R"(a\"b)")));
    EXPECT_THAT(blocks[1].id, Optional(Eq("i")));
    EXPECT_THAT(blocks[1].name, Optional(Eq("n")));
    EXPECT_THAT(blocks[1].input, Optional(Eq(R"({"x":[1,{}]})")));
    EXPECT_EQ(blocks[2].type, std::nullopt);
    EXPECT_EQ(blocks[2].id, std::nullopt);
    EXPECT_EQ(blocks[2].input, std::nullopt);
    EXPECT_THAT(blocks[2].text, Optional(Eq("]")));
}

TEST(TranscriptLine, isSoundOnlyWhenEveryPartIs)
{
    EXPECT_TRUE(Read(R"( {"a":[1e400,{"b":"\ud800"}]} )").isSound());
    EXPECT_TRUE(Read("\xC2\xA0{}\xE3\x80\x80\r").isSound());
    for (const auto *text : { "",
                              " ",
                              "[]",
                              "5",
                              "\"x\"",
                              "{",
                              "{}}",
                              "{}{}",
                              "{} x",
                              R"({"a":nope})",
                              R"({"a":01})",
                              R"({"a":"\x"})",
                              R"({"a":1,})",
                              R"({"a" 1})",
                              R"({"a":[1,2})",
                              R"({"a":{"b":tru}})",
                              R"({"message":{"content":[{]}})",
                              "{\"a\":\"\x01\"}",
                              R"({"type":"user)",
                              "\xEF\xBB\xBF{}" })
        EXPECT_FALSE(Read(text).isSound()) << text;
    EXPECT_FALSE(Read(R"({"a":)" + std::string(600, '[') + std::string(600, ']') + "}").isSound());
}

TEST(TranscriptLine, isSoundOnlyWhenEveryPartOfALongLineIs)
{
    for (const std::string_view end : { R"(\n","type":"user"})", R"(","type":"user","y":nope})",
                                        R"(\q","type":"user"})", "\x01\",\"type\":\"user\"}" }) {
        for (const std::size_t length : { 10U, 100U, 1'000U, 10'000U, 100'000U }) {
            const std::string text = R"({"x":")" + std::string(length, 'x').append(end);
            EXPECT_EQ(Read(text).isSound(), end.starts_with("\\n")) << length << end;
        }
    }
}

} // namespace
} // namespace vantry::test
