#include "transcripts/HistoricalSessionReader.h"

#include "base/Cancellation.h"
#include "transcripts/TranscriptProjects.h"

#include <gmock/gmock.h>

#include <sys/stat.h>

#include <algorithm>
#include <string>

namespace vantry::test {
namespace {

using ::testing::Optional;

const QString folder = QStringLiteral("-home-u-my-app");
const QString session = QStringLiteral("0f1c-5e2a");

class HistoricalSessionReaderTest : public TranscriptProjectsTest
{
protected:
    [[nodiscard]] std::optional<HistoricalSession> read() const
    {
        return readHistoricalSession({ projects(), folder, session }, m_buffer);
    }
    [[nodiscard]] std::optional<HistoricalSession> read(const QByteArray &bytes) const
    {
        put(folder, session, bytes);
        return read();
    }
    /// The prompts of these bytes; "(none)" when there is no result.
    [[nodiscard]] std::string prompts(const QByteArray &bytes) const
    {
        const auto result = read(bytes);
        return result ? result->prompts.toStdString() : "(none)";
    }
    static QByteArray content(const QByteArray &json)
    {
        return R"({"type":"user","message":{"content":)" + json + "}}\n";
    }
    static QByteArray assistant(const QByteArray &json)
    {
        return R"({"message":{"content":)" + json +
               R"(},"type":"assistant"})"
               "\n";
    }

private:
    mutable TranscriptBuffer m_buffer; ///< For all that a test reads.
};

TEST_F(HistoricalSessionReaderTest, gathersWhatTheLinesTell)
{
    const auto result = read(
        R"({"type":"summary","timestamp":"2026-01-01T10:00:00.000Z"})"
        "\n"
        R"({"type":"user","message":{"content":" first prompt "},"cwd":"/home/u/my-app","gitBranch":"main"})"
        "\n" +
        assistant(
            R"([{"type":"tool_use","name":"Bash"},{"type":"text","text":"x"},{"type":"tool_use","name":"Read"}])") +
        assistant(R"([{"type":"tool_use","name":"Bash"},{"type":"tool_use"},{"type":"tool_use","name":5}])") +
        content(R"([{"type":"text","text":"second"},{"type":"image"},{"type":"text","text":""},)"
                R"({"type":"text","text":"third"}])") +
        R"({"type":"system","timestamp":"2026-01-01T11:00:00.000Z","cwd":"/elsewhere","gitBranch":"other"})"
        "\n");

    ASSERT_TRUE(result);
    EXPECT_EQ(result->id, session);
    EXPECT_EQ(result->projectDir, QStringLiteral("/home/u/my-app"));
    EXPECT_EQ(result->projectName, QStringLiteral("my-app"));
    EXPECT_EQ(result->gitBranch, QStringLiteral("main"));
    EXPECT_EQ(result->prompts, QStringLiteral("first prompt\nsecond\nthird"));
    EXPECT_EQ(result->toolHistory, QStringLiteral("Bash Read Bash"));
    EXPECT_EQ(result->summary, QStringLiteral("first prompt"));
    EXPECT_EQ(result->firstTimestamp, QStringLiteral("2026-01-01T10:00:00.000Z"));
    EXPECT_EQ(result->lastTimestamp, QStringLiteral("2026-01-01T11:00:00.000Z"));
    EXPECT_EQ(result->transcriptPath, path(folder, session));
}

TEST_F(HistoricalSessionReaderTest, fallsBackOnTheDecodedFolderName)
{
    const auto result = read(content(R"("prompt")"));

    ASSERT_TRUE(result);
    EXPECT_EQ(result->projectDir, QStringLiteral("/home/u/my/app"));
    EXPECT_EQ(result->projectName, QStringLiteral("app"));
    EXPECT_EQ(result->gitBranch, std::nullopt);
    EXPECT_EQ(result->firstTimestamp, std::nullopt);
    EXPECT_EQ(result->lastTimestamp, std::nullopt);
    EXPECT_EQ(result->toolHistory, QString());
}

TEST_F(HistoricalSessionReaderTest, takesADetachedHeadForNoBranch)
{
    EXPECT_EQ(read(R"({"gitBranch":"HEAD"})"
                   "\n" +
                   content(R"("prompt")"))
                  ->gitBranch,
              std::nullopt);
    EXPECT_EQ(read(R"({"gitBranch":"HEAD"})"
                   "\n" +
                   content(R"("prompt")") + R"({"gitBranch":"HEADS"})")
                  ->gitBranch,
              QStringLiteral("HEADS"));
}

TEST_F(HistoricalSessionReaderTest, passesOverFieldsOfOtherTypes)
{
    const auto result = read(R"({"gitBranch":5,"cwd":["/x"],"timestamp":12,"type":"user","message":"text"})"
                             "\n"
                             R"({"type":7,"message":{"content":"not of a user"},"gitBranch":null,"cwd":"/y"})"
                             "\n" +
                             content(R"("prompt")"));

    ASSERT_TRUE(result);
    EXPECT_EQ(result->prompts, QStringLiteral("prompt"));
    EXPECT_EQ(result->projectDir, QStringLiteral("/y"));
    EXPECT_EQ(result->gitBranch, std::nullopt);
    EXPECT_EQ(result->firstTimestamp, std::nullopt);
}

TEST_F(HistoricalSessionReaderTest, cutsAPromptAfter500Characters)
{
    const QByteArray longest(500, 'x');
    EXPECT_EQ(prompts(content('"' + longest + '"')), longest.toStdString());
    EXPECT_EQ(prompts(content('"' + longest + "y\"")), longest.toStdString());
    // User-perceived ones: each of these is two code points.
    const QByteArray accents = QByteArray("e\xCC\x81").repeated(501);
    EXPECT_EQ(prompts(content('"' + accents + '"')), QByteArray("e\xCC\x81").repeated(500).toStdString());
    EXPECT_EQ(read(content('"' + longest + "y\""))->summary, QString::fromUtf8(longest));
}

TEST_F(HistoricalSessionReaderTest, countsNoPromptOfMachineWrittenTagsOnly)
{
    EXPECT_EQ(prompts(content(R"("<system-reminder>be good</system-reminder>\n")")), "(none)");
    EXPECT_EQ(prompts(content(R"("<task-notification>done</task-notification>")")), "(none)");
    EXPECT_EQ(prompts(content(R"([{"type":"text","text":"<ide_selection>x</ide_selection> a "},)"
                              R"({"type":"text","text":" \n\t "},{"type":"text","text":"b"}])")),
              "a\nb");
    // Far behind what is kept of it.
    const QByteArray reminder = "<system-reminder>" + QByteArray(100'000, 'x') + "</system-reminder>";
    EXPECT_EQ(prompts(content('"' + reminder + " words\"")), "words");
}

TEST_F(HistoricalSessionReaderTest, takesNoPromptFromLinesThatNoPersonWrote)
{
    const QByteArray meta = R"({"isMeta":true,"type":"user","message":{"content":"meta"},"cwd":"/m"})"
                            "\n";
    const QByteArray compact = R"({"isCompactSummary":true,"type":"user","message":{"content":"what was"}})"
                               "\n";
    EXPECT_EQ(prompts(meta + compact), "(none)");
    EXPECT_EQ(prompts(meta + compact + content(R"("typed")")), "typed");
}

TEST_F(HistoricalSessionReaderTest, givesNothingForAFileWithoutPrompts)
{
    EXPECT_FALSE(read());
    EXPECT_FALSE(read(""));
    EXPECT_FALSE(read("\n\n\n"));
    EXPECT_FALSE(read(assistant(R"([{"type":"tool_use","name":"Bash"}])")));
    EXPECT_FALSE(read(content(R"("")") + content("[]") + content("null") + content("7") + content("{}")));
    EXPECT_FALSE(read(content(R"([{"type":"tool_result","content":"result"}])")));
    EXPECT_FALSE(read(content(R"([{"type":"text","text":"word"},"stray"])"))) << "not objects throughout";
}

TEST_F(HistoricalSessionReaderTest, skipsLinesThatAreNoSoundObject)
{
    EXPECT_EQ(prompts("nonsense\n[1,2]\n\"text\"\n5\n" + content(R"("a")") +
                      R"({"type":"user","message":{"content":"b"},"timestamp":"2020","x":nope})"
                      "\n"
                      R"({"type":"user","message":{"content":"c"}} behind)"
                      "\n" +
                      content(R"("broken \q escape")") + content(R"("half a pair \ud83d")")),
              "a\nhalf a pair \xEF\xBF\xBD");
    EXPECT_EQ(read(R"({"timestamp":"2026","x":nope})"
                   "\n" +
                   content(R"("a")") +
                   R"({"timestamp":"2027","x":nope})"
                   "\n")
                  ->lastTimestamp,
              std::nullopt);
}

TEST_F(HistoricalSessionReaderTest, takesTheLastDateOfASoundLine)
{
    const auto dated = [](const QByteArray &date, const QByteArray &rest) -> QByteArray {
        return R"({"timestamp":")" + date + "\"" + rest + "}\n";
    };
    const auto last = [&](const QByteArray &lines) {
        const auto result = read(dated("1", "") + content(R"("prompt")") + lines);
        return result ? result->lastTimestamp : std::nullopt;
    };
    EXPECT_EQ(last(""), QStringLiteral("1"));
    EXPECT_EQ(last(dated("2", "") + "{}\n"), QStringLiteral("2"));
    EXPECT_EQ(last(dated("2", "") + dated("3", R"(,"x":nope)") + content(R"("more")")), QStringLiteral("2"));
    EXPECT_EQ(last(dated("2", R"(,"x":nope)") + dated("3", R"(,"x":nope)")), QStringLiteral("1"));
    EXPECT_EQ(last(dated("2", R"(,"x":nope)") + dated("3", "")), QStringLiteral("3"));
    EXPECT_EQ(last(dated("2", "").chopped(1)), QStringLiteral("2"));
    EXPECT_EQ(last(dated("2", "").chopped(2)), QStringLiteral("1"));
}

TEST_F(HistoricalSessionReaderTest, takesALastLineWithoutLineFeedWhenItIsWhole)
{
    EXPECT_EQ(prompts(content(R"("a")") + content(R"("b")").chopped(1)), "a\nb");
    EXPECT_EQ(prompts(content(R"("a")") + content(R"("b")").chopped(3)), "a");
    EXPECT_EQ(prompts(content(R"("a")").replace("\n", "\r\n") + content(R"("b")")), "a\nb");
}

TEST_F(HistoricalSessionReaderTest, givesNothingForAFileThatIsNotUtf8)
{
    EXPECT_EQ(prompts(content(R"("a")") + "{\"x\":\"\xFF\"}\n"), "(none)");
    EXPECT_EQ(prompts("\xFF\xFE\n" + content(R"("a")")), "(none)");
    EXPECT_EQ(prompts(content(R"("a")") + "{\"x\":\"\xC3"), "a") << "cut off while being written";
}

TEST_F(HistoricalSessionReaderTest, opensRegularFilesOnly)
{
    put(folder, QStringLiteral("other"), content(R"("a")"));
    ASSERT_EQ(mkfifo(QFile::encodeName(path(folder, session)).constData(), 0600), 0);
    EXPECT_FALSE(read());
    ASSERT_TRUE(QFile::remove(path(folder, session)));
    ASSERT_TRUE(QDir().mkpath(path(folder, session)));
    EXPECT_FALSE(read());
}

TEST_F(HistoricalSessionReaderTest, endsWhenTheThreadsWorkIsCancelled)
{
    put(folder, session, content(R"("a")"));
    Cancellation cancellation;
    const Cancellation::Scope scope(cancellation);
    EXPECT_TRUE(read());

    cancellation.cancel();

    EXPECT_FALSE(read());
}

TEST_F(HistoricalSessionReaderTest, readsAHundredThousandLines)
{
    constexpr int lines = 100'000;
    QByteArray bytes;
    for (int i = 0; i < lines; i += 2) {
        bytes += content('"' + QByteArray::number(i) + '"');
        bytes += assistant(R"([{"type":"tool_use","name":"Bash"}])");
    }

    const auto result = read(bytes);

    ASSERT_TRUE(result);
    EXPECT_EQ(result->prompts.count(u'\n'), lines / 2 - 1);
    EXPECT_EQ(result->toolHistory.count(u' '), lines / 2 - 1);
    EXPECT_EQ(result->summary, QStringLiteral("0"));
}

struct Recorded
{
    const char *name;
    const char *prompts; ///< "(none)" when the file gives nothing.
    const char *tools;
};

class RecordedTranscripts : public HistoricalSessionReaderTest, public ::testing::WithParamInterface<Recorded>
{};

TEST_P(RecordedTranscripts, tellPromptsAndTools)
{
    QFile file(QStringLiteral(VANTRY_FIXTURES "/transcripts/") + QString::fromUtf8(GetParam().name) +
               QStringLiteral(".jsonl"));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));

    const auto result = read(file.readAll());

    ASSERT_TRUE(result);
    EXPECT_EQ(result->prompts.toStdString(), GetParam().prompts);
    EXPECT_EQ(result->toolHistory.toStdString(), GetParam().tools);
    EXPECT_EQ(result->gitBranch, std::nullopt) << "recorded outside of any repository";
    EXPECT_TRUE(result->projectDir.startsWith(u"/home/user/")) << result->projectDir.toStdString();
    ASSERT_TRUE(result->firstTimestamp && result->lastTimestamp);
    EXPECT_LE(*result->firstTimestamp, *result->lastTimestamp);
}

INSTANTIATE_TEST_SUITE_P(
    All, RecordedTranscripts,
    ::testing::Values(Recorded { "api-error.short", "SCENARIO:api-400 please", "" },
                      Recorded { "ask-user-question.short", "SCENARIO:ask please", "AskUserQuestion" },
                      Recorded { "background-bash.short", "SCENARIO:bash-bg please", "Bash" },
                      Recorded { "bash-allowed", "SCENARIO:bash please", "Bash" },
                      Recorded { "bash-denied-interrupt.short",
                                 "SCENARIO:bash please\n[Request interrupted by user for tool use]", "Bash" },
                      Recorded { "bash-denied.short", "SCENARIO:bash please", "Bash" },
                      Recorded { "compact-then-clear.1.short", "SCENARIO:bash-readonly please", "Bash" },
                      Recorded { "edit.short", "SCENARIO:edit please", "Read Edit" },
                      Recorded { "ends-with-question", "SCENARIO:question-end please", "" },
                      Recorded { "escape-during-command.short",
                                 "SCENARIO:bash-long please\n[Request interrupted by user for tool use]", "Bash" },
                      Recorded { "plan-approved.short", "SCENARIO:plan please", "Write ExitPlanMode" },
                      Recorded { "print-mode.short", "SCENARIO:bash x", "Bash" },
                      Recorded { "resumed.1.short", "SCENARIO:bash-readonly x\nSCENARIO:question-end again", "Bash" },
                      Recorded { "slash-commands-and-bash-mode.short", "SCENARIO:plain please", "" },
                      Recorded { "task-list.short", "SCENARIO:tasks please", "TaskCreate TaskUpdate TaskUpdate" }),
    [](const auto &recorded) {
        std::string name = recorded.param.name;
        std::ranges::replace_if(
            name, [](char c) { return c == '-' || c == '.'; }, '_');
        return name;
    });

} // namespace
} // namespace vantry::test
