#include "transcripts/TranscriptReader.h"

#include "sessions/SessionManagerFixture.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gmock/gmock.h>

#include <sys/stat.h>

#include <string>

namespace vantry {
namespace {

using testing::Eq;
using testing::Optional;
using State = SessionState;

std::string fixture(const std::string &name)
{
    QFile file(QString::fromStdString(std::string(VANTRY_FIXTURES) + "/transcripts/" + name));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << name;
    return file.readAll().toStdString();
}

std::string usageLine(const std::string &usage)
{
    return R"({"message":{"usage":)" + usage + R"(,"stop_reason":"tool_use"},"type":"assistant"})" + "\n";
}

std::string inputTokens(std::int64_t count)
{
    return usageLine(R"({"input_tokens":)" + std::to_string(count) + "}");
}

std::string assistantLine(const std::string &stopReason)
{
    return R"({"type":"assistant","message":{"stop_reason":")" + stopReason + "\"}}\n";
}

std::string userLine(const std::string &content)
{
    return R"({"type":"user","message":{"role":"user","content":)" + content + "}}\n";
}

const std::string progressLine = "{\"type\":\"progress\",\"data\":{}}\n";
const std::string modeLine = "{\"type\":\"mode\",\"mode\":\"normal\"}\n";
const std::string interruption = R"("[Request interrupted by user]")";

constexpr auto contextFreePercent = TranscriptReader::contextFreePercent;
constexpr auto transcriptLooksIdle = TranscriptReader::transcriptLooksIdle;
constexpr auto transcriptLooksInterrupted = TranscriptReader::transcriptLooksInterrupted;

// The free share of the context

TEST(ContextFreePercent, isWhatTheTokensLeaveOf200000)
{
    EXPECT_THAT(contextFreePercent(inputTokens(0)), Optional(100));
    EXPECT_THAT(contextFreePercent(inputTokens(1'999)), Optional(100));
    EXPECT_THAT(contextFreePercent(inputTokens(2'000)), Optional(99));
    EXPECT_THAT(contextFreePercent(inputTokens(100'000)), Optional(50));
    EXPECT_THAT(contextFreePercent(inputTokens(199'999)), Optional(1));
    EXPECT_THAT(contextFreePercent(inputTokens(200'000)), Optional(0));
    EXPECT_THAT(contextFreePercent(inputTokens(400'000)), Optional(0));
}

TEST(ContextFreePercent, addsTheThreeKindsOfInput)
{
    EXPECT_THAT(contextFreePercent(usageLine(R"({"input_tokens":10000,"cache_creation_input_tokens":20000,
                                                "cache_read_input_tokens":30000,"output_tokens":90000})")),
                Eq(std::nullopt))
        << "a line feed ends a line";
    EXPECT_THAT(contextFreePercent(usageLine(R"({"input_tokens":10000,"cache_creation_input_tokens":20000,)"
                                             R"("cache_read_input_tokens":30000,"output_tokens":90000})")),
                Optional(70));
}

TEST(ContextFreePercent, countsWhatIsNoIntegerAsNothing)
{
    EXPECT_THAT(contextFreePercent(usageLine("{}")), Optional(100));
    EXPECT_THAT(contextFreePercent(usageLine(
                    R"({"input_tokens":"90000","cache_creation_input_tokens":null,"cache_read_input_tokens":50000})")),
                Optional(75));
    EXPECT_THAT(contextFreePercent(usageLine(R"({"input_tokens":50000.5,"cache_read_input_tokens":[1]})")),
                Optional(100));
    EXPECT_THAT(contextFreePercent(usageLine(R"({"input_tokens":true,"cache_read_input_tokens":1e5})")), Optional(50));
}

TEST(ContextFreePercent, staysWithinItsBoundsForAbsurdFigures)
{
    EXPECT_THAT(contextFreePercent(inputTokens(INT64_MAX)), Optional(0));
    EXPECT_THAT(contextFreePercent(inputTokens(INT64_MIN)), Optional(100));
    EXPECT_THAT(contextFreePercent(usageLine(
                    R"({"input_tokens":9223372036854775807,"cache_creation_input_tokens":9223372036854775807,)"
                    R"("cache_read_input_tokens":9223372036854775807})")),
                Optional(0));
    EXPECT_THAT(contextFreePercent(usageLine(R"({"input_tokens":1e999})")), Optional(100));
}

TEST(ContextFreePercent, comesFromTheNewestLineWithUsage)
{
    EXPECT_THAT(contextFreePercent(inputTokens(20'000) + inputTokens(40'000) + userLine("\"x\"") + modeLine),
                Optional(80));
    EXPECT_THAT(contextFreePercent(inputTokens(40'000) + R"({"type":"assistant","message":{"content":[]}})" + "\n" +
                                   R"({"type":"assistant","message":"usage"})" + "\n" +
                                   R"({"type":"assistant","message":{"usage":7}})" + "\n" +
                                   R"({"type":"user","message":{"usage":{"input_tokens":1}}})" + "\n" +
                                   R"({"type":1,"message":{"usage":{"input_tokens":1}}})" + "\n" +
                                   R"({"type":"assistant","usage":{"input_tokens":1}})" + "\n" +
                                   R"([{"type":"assistant","message":{"usage":{}}}])" + "\n"),
                Optional(80));
}

TEST(ContextFreePercent, skipsLinesThatAreNotSound)
{
    const std::string good = inputTokens(40'000);
    for (const std::string &line :
         { std::string(R"({"type":"assistant","message":{"usage":{"input_tokens":1}})"),
           std::string(R"({"type":"assistant","message":{"usage":{"input_tokens":1}}} x)"),
           std::string(R"({"type":"assistant","message":{"usage":{"input_tokens":1}},"a":tru})"),
           std::string(R"({"type":"assistant","message":{"usage":{"input_tokens":01}}})"),
           std::string(R"({"type":"assistant","message":{"usage":{"input_tokens":1,}}})"),
           std::string(R"({"type":"assistant","message":{"usage":{"input_tokens":1}},"a":"\q"})"),
           std::string(R"("message":{"usage":{"input_tokens":1}},"type":"assistant"})"),
           std::string("{\"type\":\"assistant\",\"message\":{\"usage\":{}},\"a\":\"\x01\"}"), std::string("usage"),
           std::string("\"usage\"") })
        EXPECT_THAT(contextFreePercent(good + line), Optional(80)) << line;
}

TEST(ContextFreePercent, isAbsentWithoutAnyUsage)
{
    EXPECT_EQ(contextFreePercent(""), std::nullopt);
    EXPECT_EQ(contextFreePercent("\n\n"), std::nullopt);
    EXPECT_EQ(contextFreePercent(userLine("\"x\"") + modeLine), std::nullopt);
    EXPECT_EQ(contextFreePercent(std::string(3, '\0')), std::nullopt);
}

TEST(ContextFreePercent, readsAnyWayInWhichTheLineMayBeWritten)
{
    EXPECT_THAT(contextFreePercent("\r\n { \"type\" : \"assistant\" , \"message\" : { \"usage\" : "
                                   "{ \"input_tokens\" : 1e5 } } } \r\n\r\n"),
                Optional(50));
    EXPECT_THAT(contextFreePercent(R"({"type":"\u0061ssistant","message":{"\u0075sage":{"input_tokens":100000}}})"),
                Optional(50));
    EXPECT_THAT(contextFreePercent(R"({"type":"assistant","message":{"usage":{"input_tokens":100000}},"x":"\ud800"})"),
                Optional(50));
}

TEST(ContextFreePercent, takesTheLastOfADoubledKey)
{
    EXPECT_THAT(contextFreePercent(R"({"type":"user","type":"assistant","message":1,"message":{"usage":)"
                                   R"({"input_tokens":1,"input_tokens":100000}}})"),
                Optional(50));
    EXPECT_EQ(contextFreePercent(R"({"type":"assistant","message":{"usage":{}},"message":1})"), std::nullopt);
}

// The end of a turn

TEST(TranscriptLooksIdle, afterTheEndOfATurn)
{
    EXPECT_TRUE(transcriptLooksIdle(assistantLine("end_turn")));
    EXPECT_TRUE(transcriptLooksIdle("{\"type\":\"result\"}"));
    EXPECT_TRUE(transcriptLooksIdle(assistantLine("tool_use") + "{\"type\":\"result\",\"message\":7}\n"));
}

TEST(TranscriptLooksIdle, notInTheMiddleOfATurn)
{
    EXPECT_FALSE(transcriptLooksIdle(assistantLine("tool_use")));
    EXPECT_FALSE(transcriptLooksIdle(assistantLine("end_turn") + userLine("\"go on\"")));
    EXPECT_FALSE(transcriptLooksIdle(assistantLine("end_turn") + modeLine)) << "any other line decides, too";
    EXPECT_FALSE(transcriptLooksIdle(R"({"type":"assistant","message":{"stop_reason":null}})"));
    EXPECT_FALSE(transcriptLooksIdle(R"({"type":"assistant","stop_reason":"end_turn"})"));
    EXPECT_FALSE(transcriptLooksIdle(R"({"type":"assistant","message":"end_turn"})"));
    EXPECT_FALSE(transcriptLooksIdle(R"({"type":"Result"})"));
}

TEST(TranscriptLooksIdle, passesOverProgressAndWhatIsNoLine)
{
    EXPECT_TRUE(transcriptLooksIdle(assistantLine("end_turn") + progressLine + progressLine));
    EXPECT_TRUE(transcriptLooksIdle(assistantLine("end_turn") + "\n\n" + R"({"type":7})" + "\n[]\n{}\nnonsense\n" +
                                    R"({"type":"user","mess)"));
    EXPECT_FALSE(transcriptLooksIdle(assistantLine("tool_use") + progressLine));
}

TEST(TranscriptLooksIdle, notWithoutADecidingLine)
{
    EXPECT_FALSE(transcriptLooksIdle(""));
    EXPECT_FALSE(transcriptLooksIdle("\n"));
    EXPECT_FALSE(transcriptLooksIdle(progressLine));
    EXPECT_FALSE(transcriptLooksIdle(R"(sistant","message":{"stop_reason":"end_turn"}})"));
}

TEST(TranscriptLooksInterrupted, afterAnInterruptionsMark)
{
    EXPECT_TRUE(transcriptLooksInterrupted(userLine(interruption)));
    EXPECT_TRUE(transcriptLooksInterrupted(userLine(R"("[Request interrupted by user for tool use]")")));
    EXPECT_TRUE(transcriptLooksInterrupted(userLine(R"([{"type":"text","text":"[Request interrupted by user]"}])")));
    EXPECT_TRUE(transcriptLooksInterrupted(assistantLine("tool_use") + userLine(interruption) + modeLine +
                                           progressLine + "\nhalf a \"user\" line"));
}

TEST(TranscriptLooksInterrupted, afterAnErrorOfTheAgentsService)
{
    const std::string error = R"({"type":"assistant","isApiErrorMessage":true,"message":{"content":[]}})";
    EXPECT_TRUE(transcriptLooksInterrupted(error));
    EXPECT_TRUE(transcriptLooksInterrupted(userLine("\"x\"") + error + "\n" + modeLine));
    EXPECT_FALSE(transcriptLooksInterrupted(error + "\n" + userLine("\"again\"")));
    EXPECT_FALSE(transcriptLooksInterrupted(R"({"type":"assistant","isApiErrorMessage":false,"message":{}})"));
    EXPECT_FALSE(transcriptLooksInterrupted(R"({"type":"assistant","isApiErrorMessage":"true","message":{}})"));
    EXPECT_FALSE(transcriptLooksInterrupted(R"({"type":"user","isApiErrorMessage":true,"message":{}})"));
}

TEST(TranscriptLooksInterrupted, notWhenTheConversationWentOn)
{
    EXPECT_FALSE(transcriptLooksInterrupted(userLine(interruption) + userLine("\"go on\"")));
    EXPECT_FALSE(transcriptLooksInterrupted(userLine(interruption) + assistantLine("end_turn")));
    EXPECT_FALSE(transcriptLooksInterrupted(""));
    EXPECT_FALSE(transcriptLooksInterrupted(modeLine));
}

TEST(TranscriptLooksInterrupted, onlyByTheMarkAlone)
{
    EXPECT_FALSE(transcriptLooksInterrupted(userLine(R"("Why [Request interrupted by user]?")")));
    EXPECT_FALSE(
        transcriptLooksInterrupted(userLine(R"([{"type":"tool_result","content":"[Request interrupted by user]"}])")));
    EXPECT_FALSE(transcriptLooksInterrupted(userLine(R"([{"type":"text","text":"[Request interrupted by user]"},7])")));
    EXPECT_FALSE(transcriptLooksInterrupted(R"({"type":"user","message":"[Request interrupted by user]"})"));
    EXPECT_FALSE(
        transcriptLooksInterrupted(R"({"type":"system","message":{"content":"[Request interrupted by user]"}})"));
}

/// What the agent's own transcripts say.
struct Recorded
{
    std::string file;
    int percent;
    bool looksInterrupted;
};

class RecordedTranscript : public testing::TestWithParam<Recorded>
{};

TEST_P(RecordedTranscript, isUnderstood)
{
    const std::string text = fixture(GetParam().file);

    EXPECT_THAT(contextFreePercent(text), Optional(GetParam().percent));
    EXPECT_EQ(transcriptLooksInterrupted(text), GetParam().looksInterrupted);
    EXPECT_FALSE(transcriptLooksIdle(text)) << "book-keeping follows the last answer";
}

INSTANTIATE_TEST_SUITE_P(All, RecordedTranscript,
                         testing::Values(Recorded { "api-error.short.jsonl", 100, true },
                                         Recorded { "ask-user-question.short.jsonl", 92, false },
                                         Recorded { "bash-allowed.jsonl", 93, false },
                                         Recorded { "bash-denied-interrupt.short.jsonl", 93, true },
                                         Recorded { "bash-denied.short.jsonl", 93, false },
                                         Recorded { "compact-then-clear.1.short.jsonl", 92, false },
                                         Recorded { "ends-with-question.jsonl", 92, false },
                                         Recorded { "escape-during-command.short.jsonl", 92, true },
                                         Recorded { "print-mode.short.jsonl", 93, false }));

// The tick

class TranscriptReaderTest : public test::SessionManagerFixture
{
protected:
    TranscriptReaderTest() { reader.sessionManager = &manager; }

    [[nodiscard]] QString path(const QString &name = QStringLiteral("t.jsonl")) const { return home.filePath(name); }
    QString write(const std::string &text, const QString &name = QStringLiteral("t.jsonl")) const
    {
        EXPECT_TRUE(QDir().mkpath(QFileInfo(path(name)).path()));
        QFile file(path(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text.data(), static_cast<qint64>(text.size()));
        return path(name);
    }
    /// A session "s" in this state, whose transcript holds this text and whose last event is a while ago.
    SessionPtr sessionWith(const std::string &text, State state = State::working)
    {
        const SessionPtr session = sessionIn(state);
        session->setTranscriptPath(write(text));
        clock.advance(Seconds { 60 });
        log.clear();
        return session;
    }

    QTemporaryDir home;
    TranscriptReader reader { home.path(), scheduler, clock, log };
};

TEST_F(TranscriptReaderTest, ticksAtOnceAndThenAtItsInterval)
{
    const QString tick = QStringLiteral("TranscriptReader: checking 0 alive sessions");

    reader.start(Seconds { 15.0 });
    EXPECT_EQ(log.lines(), QStringList { tick });
    scheduler.advance(Seconds { 14.9 });
    EXPECT_EQ(log.lines().size(), 1);
    scheduler.advance(Seconds { 30.1 });
    EXPECT_EQ(log.lines(), (QStringList { tick, tick, tick, tick }));
}

TEST_F(TranscriptReaderTest, secondStartTakesThePlaceOfTheFirst)
{
    reader.start(Seconds { 15.0 });
    reader.start(Seconds { 10.0 });
    log.clear();

    scheduler.advance(Seconds { 20 });

    EXPECT_EQ(scheduler.activeTimers(), 1U);
    EXPECT_EQ(log.lines().size(), 2);
}

TEST_F(TranscriptReaderTest, stopsWithItsEnd)
{
    {
        TranscriptReader other(home.path(), scheduler, clock, log);
        other.start(Seconds { 15.0 });
        EXPECT_EQ(scheduler.activeTimers(), 1U);
    }
    EXPECT_EQ(scheduler.activeTimers(), 0U);
}

TEST_F(TranscriptReaderTest, saysWhenTheSessionManagerHasGone)
{
    {
        SessionManager shortLived(store, processes, git, held, clock, log);
        reader.sessionManager = &shortLived;
    }

    reader.checkSessions();

    EXPECT_EQ(log.lines(), QStringList { QStringLiteral("TranscriptReader: no sessionManager") });
}

TEST_F(TranscriptReaderTest, readsNothingForSessionsThatHaveFinished)
{
    const SessionPtr session = sessionWith(inputTokens(100'000));
    session->setAlive(false);

    reader.checkSessions();

    EXPECT_EQ(log.lines(), QStringList { QStringLiteral("TranscriptReader: checking 0 alive sessions") });
    EXPECT_EQ(session->contextPercent(), std::nullopt);
}

TEST_F(TranscriptReaderTest, logsWhatItFinds)
{
    handle(test::EventBuilder(HookEventType::sessionStart).session(QStringLiteral("0123456789")));
    session(QStringLiteral("0123456789"))->setTranscriptPath(write(inputTokens(100'000)));
    log.clear();

    reader.checkSessions();

    EXPECT_EQ(log.lines(), (QStringList { QStringLiteral("TranscriptReader: checking 1 alive sessions"),
                                          QStringLiteral("TranscriptReader: session=01234567 transcriptPath=%1 "
                                                         "resolved=%1")
                                              .arg(path()),
                                          QStringLiteral("TranscriptReader: session=01234567 contextPercent=50%") }));
}

TEST_F(TranscriptReaderTest, logsASessionWithoutTranscript)
{
    sessionIn(State::working);
    log.clear();

    reader.checkSessions();

    EXPECT_EQ(log.lines(),
              (QStringList { QStringLiteral("TranscriptReader: checking 1 alive sessions"),
                             QStringLiteral("TranscriptReader: session=s transcriptPath=nil resolved=nil") }));
}

TEST_F(TranscriptReaderTest, fallsBackOnTheAgentsFolderWhenTheToldFileHasGone)
{
    const SessionPtr session = sessionIn(State::ready);
    session->setTranscriptPath(path(QStringLiteral("gone")));
    session->setCwd(QStringLiteral("/src/vantry"));
    const QString file = write(inputTokens(100'000), QStringLiteral(".claude/projects/-src-vantry/s.jsonl"));
    log.clear();

    reader.checkSessions();

    EXPECT_TRUE(log.contains(QStringLiteral("TranscriptReader: session=s transcriptPath=%1 resolved=%2")
                                 .arg(path(QStringLiteral("gone")), file)));
    EXPECT_THAT(session->contextPercent(), Optional(50));
}

TEST_F(TranscriptReaderTest, contextAloneIsNeitherSavedNorPublished)
{
    const SessionPtr session = sessionWith(inputTokens(100'000));
    const Date before = session->lastUpdated();

    reader.checkSessions();

    EXPECT_THAT(session->contextPercent(), Optional(50));
    EXPECT_EQ(session->state(), State::working);
    EXPECT_EQ(session->lastUpdated(), before);
    EXPECT_TRUE(store.journal.isEmpty());
}

TEST_F(TranscriptReaderTest, contextKeepsItsValueWithoutANewFigure)
{
    const SessionPtr session = sessionWith(modeLine);
    session->setContextPercent(42);

    reader.checkSessions();

    EXPECT_THAT(session->contextPercent(), Optional(42));
    EXPECT_EQ(log.lines().size(), 2);
}

TEST_F(TranscriptReaderTest, movesAWorkingSessionWhoseTurnIsOver)
{
    const SessionPtr session = sessionWith(assistantLine("end_turn"));

    reader.checkSessions();

    EXPECT_EQ(session->state(), State::ready);
    EXPECT_EQ(session->lastUpdated(), clock.now());
    EXPECT_EQ(log.lines().last(), QStringLiteral("TranscriptReader: session=s detected idle from transcript"));
    EXPECT_EQ(store.journal, (QStringList { QStringLiteral("save s"), QStringLiteral("publish") }));
    EXPECT_EQ(attentionCalls(), 0);
}

TEST_F(TranscriptReaderTest, movesAWorkingSessionThatWasInterrupted)
{
    const SessionPtr session = sessionWith(fixture("escape-during-command.short.jsonl"));

    reader.checkSessions();

    EXPECT_EQ(session->state(), State::ready);
    EXPECT_EQ(session->lastUpdated(), clock.now());
    EXPECT_THAT(session->contextPercent(), Optional(92));
    EXPECT_EQ(log.lines().last(), QStringLiteral("TranscriptReader: session=s detected interruption from transcript"));
    EXPECT_EQ(store.journal, (QStringList { QStringLiteral("save s"), QStringLiteral("publish") }));
}

TEST_F(TranscriptReaderTest, waitsTwoSecondsAfterAnEventBeforeItBelievesInAnInterruption)
{
    const SessionPtr session = sessionWith(userLine(interruption));
    handle(test::EventBuilder(HookEventType::userPromptSubmit).prompt(QStringLiteral("go on")));

    reader.checkSessions();
    clock.advance(Seconds { 1.999 });
    reader.checkSessions();
    EXPECT_EQ(session->state(), State::working);

    clock.advance(Seconds { 0.001 });
    reader.checkSessions();
    EXPECT_EQ(session->state(), State::ready);
}

TEST_F(TranscriptReaderTest, endOfATurnNeedsNoWaiting)
{
    const SessionPtr session = sessionWith(assistantLine("end_turn"));
    session->setLastUpdated(clock.now());

    reader.checkSessions();

    EXPECT_EQ(session->state(), State::ready);
}

TEST_F(TranscriptReaderTest, clockThatWasSetBackDoesNotHideAnInterruption)
{
    const SessionPtr session = sessionWith(userLine(interruption));
    session->setLastUpdated(clock.now() + std::chrono::hours { 1 });

    reader.checkSessions();

    EXPECT_EQ(session->state(), State::ready);
}

TEST_F(TranscriptReaderTest, touchesNoOtherStateThanWorking)
{
    for (const State state : { State::launching, State::needsPermission, State::hasQuestion, State::ready }) {
        for (const std::string &end : { assistantLine("end_turn"), userLine(interruption) }) {
            const SessionPtr session = sessionWith(inputTokens(100'000) + end, state);
            session->setContextPercent(std::nullopt);

            reader.checkSessions();

            EXPECT_EQ(session->state(), state);
            EXPECT_THAT(session->contextPercent(), Optional(50));
            EXPECT_TRUE(store.journal.isEmpty());
        }
    }
}

TEST_F(TranscriptReaderTest, usageOfAnUnfinishedTurnCounts)
{
    const SessionPtr session = sessionWith(inputTokens(100'000) + userLine("\"x\""));

    reader.checkSessions();

    EXPECT_EQ(session->state(), State::working);
    EXPECT_THAT(session->contextPercent(), Optional(50));
}

TEST_F(TranscriptReaderTest, textThatIsNotUtf8LosesTheTick)
{
    const SessionPtr session = sessionWith(inputTokens(100'000) + assistantLine("end_turn") + "\xC3");

    reader.checkSessions();
    EXPECT_EQ(session->contextPercent(), std::nullopt);
    EXPECT_EQ(session->state(), State::working);
    EXPECT_EQ(log.lines().size(), 2);

    write(inputTokens(100'000) + assistantLine("end_turn") + "\xC3\xA9");
    reader.checkSessions();
    EXPECT_THAT(session->contextPercent(), Optional(50));
    EXPECT_EQ(session->state(), State::ready);
}

TEST_F(TranscriptReaderTest, cutWithinACharacterLosesTheTick)
{
    std::string characters;
    while (characters.size() < 20'000)
        characters += "é";
    const std::string usage = inputTokens(100'000);
    const auto textWithCharactersInTail = [&](std::size_t bytes) {
        return characters + "\n" + usage + std::string(32'768 - bytes - 1 - usage.size(), ' ');
    };
    const SessionPtr session = sessionWith(textWithCharactersInTail(5'001));

    reader.checkSessions();
    EXPECT_EQ(session->contextPercent(), std::nullopt);

    write(textWithCharactersInTail(5'000));
    reader.checkSessions();
    EXPECT_THAT(session->contextPercent(), Optional(50));
}

TEST_F(TranscriptReaderTest, findsUsageBehindLongLines)
{
    const std::string attachment = R"({"type":"attachment","attachment":")" + std::string(79'000, 'x') + "\"}\n";
    const SessionPtr session = sessionWith(inputTokens(100'000) + attachment + attachment + modeLine);

    reader.checkSessions();

    EXPECT_THAT(session->contextPercent(), Optional(50));
}

TEST_F(TranscriptReaderTest, findsAnInterruptionBeforeALongLine)
{
    const std::string attachment = R"({"type":"attachment","attachment":")" + std::string(79'000, 'x') + "\"}\n";
    const SessionPtr session = sessionWith(userLine(interruption) + attachment + modeLine);

    reader.checkSessions();

    EXPECT_EQ(session->state(), State::ready);
}

TEST_F(TranscriptReaderTest, readsARealTranscriptThatEndsInALongLine)
{
    const SessionPtr session = sessionWith(fixture("ends-with-question.jsonl"));

    reader.checkSessions();

    EXPECT_THAT(session->contextPercent(), Optional(92));
    EXPECT_EQ(session->state(), State::working);
}

TEST_F(TranscriptReaderTest, leavesAloneWhatIsNoReadableFile)
{
    const SessionPtr session = sessionWith("");
    const QString fifo = path(QStringLiteral("fifo"));
    ASSERT_EQ(::mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);

    for (const QString &odd : { fifo, home.path(), QStringLiteral("/dev/zero"), QStringLiteral("/proc/self/mem"),
                                path(QStringLiteral("missing")), path() }) {
        session->setTranscriptPath(odd);
        reader.checkSessions();
        EXPECT_EQ(session->contextPercent(), std::nullopt) << odd.toStdString();
        EXPECT_EQ(session->state(), State::working);
    }
}

TEST_F(TranscriptReaderTest, oneSessionsTroubleDoesNotReachTheNext)
{
    handle(test::EventBuilder(HookEventType::sessionStart).session(QStringLiteral("first")));
    session(QStringLiteral("first"))->setTranscriptPath(write("\xFF\xFF", QStringLiteral("first.jsonl")));
    const SessionPtr second = sessionWith(inputTokens(100'000));

    reader.checkSessions();

    EXPECT_THAT(second->contextPercent(), Optional(50));
}

TEST_F(TranscriptReaderTest, placeholderIsMovedButNotStored)
{
    handle(test::EventBuilder(HookEventType::sessionStart).session(QStringLiteral("pending-1")));
    const SessionPtr placeholder = session(QStringLiteral("pending-1"));
    placeholder->setState(State::working);
    placeholder->setTranscriptPath(write(assistantLine("end_turn")));
    store.journal.clear();

    reader.checkSessions();

    EXPECT_EQ(placeholder->state(), State::ready);
    EXPECT_EQ(store.journal, QStringList { QStringLiteral("publish") });
}

TEST_F(TranscriptReaderTest, endedTurnLeavesHeldRequestsAlone)
{
    const SessionPtr session = sessionWith(assistantLine("end_turn"));
    handle(test::EventBuilder(HookEventType::permissionRequest).tool(QStringLiteral("Bash")));
    ASSERT_EQ(session->state(), State::needsPermission);

    reader.checkSessions();

    EXPECT_EQ(session->state(), State::needsPermission);
    EXPECT_EQ(session->toolName(), QStringLiteral("Bash"));
}

} // namespace
} // namespace vantry
