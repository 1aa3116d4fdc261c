#include "transcripts/PlainTranscript.h"
#include "transcripts/TranscriptMessageReader.h"
#include "transcripts/TranscriptScratch.h"

#include <gmock/gmock.h>

#include <random>
#include <thread>

namespace vantry::test {
namespace {

using testing::IsEmpty;

QByteArray numbered(int number)
{
    return R"({"type":"assistant","uuid":"u","message":{"content":[{"type":"text","text":"t)" +
           QByteArray::number(number) + R"("}]}})" + "\n";
}

QByteArray numbered(int begin, int end)
{
    QByteArray lines;
    for (int number = begin; number < end; ++number)
        lines += numbered(number);
    return lines;
}

/// Random transcripts of odd and ordinary lines.
class RandomTranscript
{
public:
    explicit RandomTranscript(unsigned seed)
        : m_random(seed)
    {}

    unsigned below(unsigned limit) { return static_cast<unsigned>(m_random() % limit); }

    QByteArray lines(unsigned most)
    {
        QByteArray lines;
        for (unsigned left = below(most + 1); left > 0; --left)
            lines += line() + (below(60) == 0 ? "\r\n" : "\n");
        return lines;
    }

private:
    QByteArray pick(const QByteArrayList &choices)
    {
        return choices.at(static_cast<qsizetype>(below(static_cast<unsigned>(choices.size()))));
    }

    QByteArray line()
    {
        if (below(12) == 0)
            return pick({ "", " ", "nonsense", "{", "[]", "{\"type\":\"user\"}", "\xE3\x80\x80{}", "\xEF\xBB\xBF{}" });
        QByteArrayList members { "\"type\":" + pick({ "\"user\"", "\"user\"", "\"assistant\"", "\"assistant\"",
                                                      "\"assistant\"", "\"summary\"", "5", "\"us\\u0065r\"" }),
                                 "\"message\":" + message() };
        if (below(5) != 0)
            members.append("\"uuid\":" + pick({ "\"u1\"", "\"u2\"", "null", "\"\"" }));
        if (below(2) != 0)
            members.append("\"timestamp\":" + pick({ "\"2026-11-21T12:00:00.5Z\"", "\"x\"", "1" }));
        if (below(8) == 0)
            members.append(pick({ "\"isMeta\":true", "\"isCompactSummary\":true", "\"isMeta\":1" }));
        if (below(8) == 0)
            members.append(pick({ "\"x\":nope", "\"x\":[1,]", "\"x\":{\"type\":\"user\"}", "\"x\":\"\\ud800\"",
                                  "\"type\":\"user\"", "\"message\":{}", "\"x\":1e400", "\"\\q\":1" }));
        std::ranges::shuffle(members, m_random);
        return "{" + members.join(',') + "}";
    }

    QByteArray message()
    {
        return pick({ "{\"content\":" + content() + "}",
                      "{\"content\":" + content() + R"(,"role":"user","x":{"content":"no"}})", "5", "{}",
                      "{\"content\":5,\"content\":" + content() + "}" });
    }

    QByteArray content()
    {
        if (below(3) == 0)
            return text();
        QByteArrayList blocks;
        for (unsigned left = below(5); left > 0; --left)
            blocks.append(below(30) == 0 ? QByteArray("5") : block());
        return "[" + blocks.join(',') + "]";
    }

    QByteArray block()
    {
        return pick({ R"({"type":"text","text":)" + text() + "}", R"({"text":)" + text() + R"(,"type":"text"})",
                      R"({"type":"tool_use","id":"i","name":"Bash","input":{"command":)" + text() + "}}",
                      R"({"type":"tool_use","input":{"file_path":)" + text() + R"(},"name":"Read"})",
                      R"({"type":"tool_use"})", R"({"type":"tool_result","content":[{"type":"text","text":"no"}]})",
                      R"({"type":"text","text":5})", R"({"type":5,"text":"no"})", "{}" });
    }

    QByteArray text()
    {
        QByteArray text;
        for (unsigned left = below(6); left > 0; --left)
            text += pick({ "a", " ", "\\n", "\\\"", "\xC3\xA9", "\\ud83d", "\\ude42", "\\u00a0", "<system-reminder>",
                           "</system-reminder>", "<command-name>", "</command-name>", "<local-command-stdout>", "/" });
        if (below(100) == 0) {
            text += pick({ "x", "\\n", "\\\\", "\\\"", "\\\\\\\"", "\\u001b", "\xC3\xA9" }).repeated(below(20'000));
            text += pick({ "", "", "", "\\q", "\x01", "\\u00g0" });
        }
        return "\"" + text + "\"";
    }

    std::mt19937 m_random;
};

std::vector<TranscriptMessage> lastOf(std::vector<TranscriptMessage> messages, std::size_t limit)
{
    if (messages.size() > limit)
        messages.erase(messages.begin(), messages.end() - static_cast<std::ptrdiff_t>(limit));
    return messages;
}

TEST(TranscriptGrowth, givesWhatReadingTheWholeGives)
{
    for (unsigned seed = 0; seed < 200; ++seed) {
        RandomTranscript random(seed);
        const QByteArray bytes = random.lines(60);
        const std::size_t limit = 1 + random.below(70);
        const auto plain = lastOf(PlainTranscript::messages(bytes), limit);
        const auto read = parseMessages(TranscriptScratch(bytes).path(), static_cast<qsizetype>(limit));
        ASSERT_TRUE(withoutMadeUpIDs(read) == plain) << "seed " << seed << "\n" << bytes.toStdString();
    }
}

TEST(TranscriptGrowth, givesTheSameHoweverTheFileGrew)
{
    for (unsigned seed = 0; seed < 60; ++seed) {
        RandomTranscript random(seed);
        const QByteArray bytes = random.lines(15);
        const qsizetype limit = 1 + random.below(40);
        const TranscriptScratch scratch("");
        TranscriptMessageReader reader(scratch.path(), limit);
        for (qsizetype written = 0; written < bytes.size();) {
            // Now and then in small pieces, so that lines and characters are cut.
            const auto piece = static_cast<qsizetype>(1 + random.below(random.below(3) == 0 ? 20 : 2'000));
            scratch.append(bytes.mid(written, piece));
            written = std::min(written + piece, bytes.size());
            ASSERT_TRUE(reader.read() == parseMessages(scratch.path(), limit)) << "seed " << seed;
        }
        const auto plain = lastOf(PlainTranscript::messages(bytes), static_cast<std::size_t>(limit));
        ASSERT_TRUE(withoutMadeUpIDs(reader.read()) == plain) << "seed " << seed;
    }
}

TEST(TranscriptGrowth, givesTheSameWhenTwoThreadsShareTheFile)
{
    constexpr std::uint64_t share = 1;
    for (unsigned seed = 0; seed < 200; ++seed) {
        RandomTranscript random(seed);
        QByteArray bytes = random.lines(60);
        if (random.below(3) == 0)
            bytes.chop(1 + random.below(10));
        if (random.below(20) == 0)
            bytes.insert(random.below(static_cast<unsigned>(bytes.size()) + 1), '\xFF');
        const qsizetype limit = 1 + random.below(70);
        const TranscriptScratch scratch(bytes);
        TranscriptMessageReader shared(scratch.path(), limit, share);
        ASSERT_TRUE(shared.read() == parseMessages(scratch.path(), limit)) << "seed " << seed;

        scratch.append("\n" + random.lines(30));
        ASSERT_TRUE(shared.read() == parseMessages(scratch.path(), limit)) << "seed " << seed;
    }
}

TEST(TranscriptGrowth, sharesAFileOfOneLongLine)
{
    const TranscriptScratch scratch(numbered(1).repeated(3) + QByteArray(100'000, ' ') + numbered(2));
    TranscriptMessageReader shared(scratch.path(), 50, 1);
    EXPECT_TRUE(shared.read() == parseMessages(scratch.path(), 50));
    EXPECT_EQ(shared.read().size(), 4U);
}

TEST(TranscriptGrowth, readsAgainWhatWasReplacedOrRewritten)
{
    const TranscriptScratch scratch(numbered(0, 100));
    TranscriptMessageReader reader(scratch.path(), 10);
    const auto isCurrent = [&] { return reader.read() == parseMessages(scratch.path(), 10); };
    ASSERT_TRUE(isCurrent());

    scratch.truncate(numbered(0).size() * 5);
    EXPECT_TRUE(isCurrent());
    EXPECT_EQ(reader.read().size(), 5U);
    scratch.write(numbered(300, 700));
    EXPECT_TRUE(isCurrent());
    scratch.replace(numbered(300, 701));
    EXPECT_TRUE(isCurrent());
    scratch.replace(numbered(0, 900));
    EXPECT_TRUE(isCurrent());
    scratch.write("");
    EXPECT_TRUE(isCurrent());
    EXPECT_THAT(reader.read(), IsEmpty());
    scratch.append(numbered(0, 3));
    EXPECT_TRUE(isCurrent());
    EXPECT_EQ(reader.read().size(), 3U);
}

TEST(TranscriptGrowth, noticesAChangeOfTheSameLength)
{
    const TranscriptScratch scratch(numbered(100, 900));
    TranscriptMessageReader reader(scratch.path(), 3);
    ASSERT_EQ(reader.read().size(), 3U);
    // The front and the end stay as they are.
    QByteArray bytes = numbered(100, 900);
    bytes.replace(numbered(500), numbered(500).replace("t500", "t5-0"));
    scratch.write(bytes);
    // A clock of the file system that stands still would hide it.
    QFile file(scratch.path());
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    ASSERT_TRUE(file.setFileTime(QDateTime::fromSecsSinceEpoch(1), QFileDevice::FileModificationTime));
    EXPECT_TRUE(reader.read() == parseMessages(scratch.path(), 3));
}

TEST(TranscriptGrowth, comesBackWithTheFile)
{
    const TranscriptScratch scratch;
    TranscriptMessageReader reader(scratch.path(), 10);
    EXPECT_THAT(reader.read(), IsEmpty());
    scratch.write(numbered(0, 2));
    EXPECT_EQ(reader.read().size(), 2U);
    ASSERT_TRUE(QFile::remove(scratch.path()));
    EXPECT_THAT(reader.read(), IsEmpty());
    scratch.write(numbered(0, 3));
    EXPECT_EQ(reader.read().size(), 3U);
}

TEST(TranscriptGrowth, isEmptyOnceALineIsNotUtf8)
{
    const TranscriptScratch scratch(numbered(0, 2));
    TranscriptMessageReader reader(scratch.path(), 10);
    ASSERT_EQ(reader.read().size(), 2U);
    scratch.append("\xFF");
    EXPECT_EQ(reader.read().size(), 2U);
    scratch.append("\n");
    EXPECT_THAT(reader.read(), IsEmpty());
    scratch.append(numbered(2, 4));
    EXPECT_THAT(reader.read(), IsEmpty());
}

TEST(TranscriptGrowth, readsAPieceThatIsCompletedLater)
{
    const TranscriptScratch scratch(numbered(0, 2) + numbered(2).chopped(1));
    TranscriptMessageReader reader(scratch.path(), 2);
    const auto before = reader.read();
    ASSERT_EQ(before.size(), 2U);
    EXPECT_EQ(before.back().text, QStringLiteral("t2"));
    scratch.append("\n");
    EXPECT_TRUE(reader.read() == before);
    scratch.append(numbered(3));
    EXPECT_EQ(reader.read().front(), before.back());
}

TEST(TranscriptGrowth, givesBackWhatVeryLongLinesNeededAtEachReading)
{
    const auto withText = [](int length) -> QByteArray {
        return R"({"type":"assistant","uuid":"u","message":{"content":[{"type":"text","text":")" +
               QByteArray(length, 'x') + R"("}]}})" + "\n";
    };
    constexpr int veryLong = 9'000'000;
    const TranscriptScratch scratch(withText(veryLong) + withText(veryLong));
    TranscriptMessageReader reader(scratch.path(), 2);
    // As with a pool, where each reading may have another thread.
    const auto lengths = [&reader] {
        QList<qsizetype> found;
        std::thread thread([&] {
            for (const TranscriptMessage &message : reader.read())
                found.append(message.text.size());
        });
        thread.join();
        return found;
    };
    const auto isAnotherLargeOneToBeHad = [] {
        TranscriptBuffer buffer;
        buffer.reserve(veryLong);
        return true;
    };
    EXPECT_EQ(lengths(), (QList<qsizetype> { veryLong, veryLong }));
    EXPECT_TRUE(isAnotherLargeOneToBeHad());

    scratch.append(withText(veryLong + 1));
    EXPECT_EQ(lengths(), (QList<qsizetype> { veryLong, veryLong + 1 }));
    EXPECT_TRUE(isAnotherLargeOneToBeHad());
}

} // namespace
} // namespace vantry::test
