#include "transcripts/TranscriptMessageReader.h"

#include "base/Dates.h"
#include "transcripts/PlainTranscript.h"
#include "transcripts/TranscriptScratch.h"

#include <QUuid>

#include <gmock/gmock.h>

#include <sys/stat.h>

namespace vantry::test {
namespace {

using Role = TranscriptMessage::Role;
using testing::ElementsAre;
using testing::IsEmpty;

std::vector<TranscriptMessage> messagesIn(const QByteArray &bytes, qsizetype limit = 50)
{
    return parseMessages(TranscriptScratch(bytes).path(), limit);
}

QByteArray user(const QByteArray &content, const QByteArray &more = {})
{
    return R"({"type":"user","uuid":"u","message":{"content":)" + content + "}" + more + "}\n";
}

QByteArray assistant(const QByteArray &content)
{
    return R"({"message":{"role":"assistant","content":)" + content + R"(},"uuid":"a","type":"assistant"})" + "\n";
}

/// "role id|text|toolName|toolSummary", "-" for what is absent.
std::string shown(const TranscriptMessage &message)
{
    const auto orDash = [](const std::optional<QString> &text) { return text.value_or(QStringLiteral("-")); };
    const QString role = message.role == Role::user        ? QStringLiteral("user")
                         : message.role == Role::assistant ? QStringLiteral("assistant")
                                                           : QStringLiteral("toolUse");
    return QString(role + u' ' + message.id + u'|' + message.text + u'|' + orDash(message.toolName) + u'|' +
                   orDash(message.toolSummary))
        .toStdString();
}

std::vector<std::string> shownIn(const QByteArray &bytes, qsizetype limit = 50)
{
    std::vector<std::string> texts;
    for (const TranscriptMessage &message : messagesIn(bytes, limit))
        texts.push_back(shown(message));
    return texts;
}

TEST(TranscriptMessageReader, givesNothingForAFileThatIsEmptyOrMissing)
{
    EXPECT_THAT(messagesIn(""), IsEmpty());
    EXPECT_THAT(messagesIn("\n\n \n"), IsEmpty());
    EXPECT_THAT(parseMessages(QStringLiteral("/nonexistent/t.jsonl"), 50), IsEmpty());
    EXPECT_THAT(parseMessages(QString(), 50), IsEmpty());
    EXPECT_THAT(parseMessages(QStringLiteral("/dev/zero"), 50), IsEmpty());
    EXPECT_THAT(parseMessages(QStringLiteral("/"), 50), IsEmpty());
}

TEST(TranscriptMessageReader, givesTheTextsOfPersonAndAgent)
{
    EXPECT_THAT(shownIn(user(R"(" hello\n")") + assistant(R"([{"type":"text","text":"\n hi "}])")),
                ElementsAre("user u|hello|-|-", "assistant a-text-1|hi|-|-"));
    EXPECT_THAT(shownIn(user(R"([{"type":"text","text":"a"},{"type":"image"},{"type":"text","text":"b"},)"
                             R"({"type":"text","text":5}])")),
                ElementsAre("user u|a\nb|-|-"));
}

TEST(TranscriptMessageReader, skipsLinesOfOtherTypesAndShapes)
{
    EXPECT_THAT(messagesIn(R"({"type":"summary","uuid":"x","message":{"content":"no"}})"
                           "\n"
                           R"({"type":"User","message":{"content":"no"}})"
                           "\n"
                           R"({"type":5,"message":{"content":"no"}})"
                           "\n"
                           R"({"message":{"content":"no"}})"
                           "\n"
                           R"({"type":"user","message":"no"})"
                           "\n"
                           R"({"type":"user"})"
                           "\n"
                           R"([{"type":"user","message":{"content":"no"}}])"
                           "\n"
                           "5\nnull\nnonsense\n{\n"),
                IsEmpty());
}

TEST(TranscriptMessageReader, skipsALineWithAnyMalformedPart)
{
    EXPECT_THAT(shownIn(user(R"("a")", R"(,"x":[nope])") + user(R"("b")", R"(,"x":"\q")") + user(R"("c")", ",") +
                        R"({"x":1} {"type":"user","message":{"content":"d"}})" + "\n" + user(R"("e")")),
                ElementsAre("user u|e|-|-"));
}

TEST(TranscriptMessageReader, givesNothingForMachineWrittenText)
{
    EXPECT_THAT(messagesIn(user(R"("<system-reminder>x</system-reminder>")")), IsEmpty());
    EXPECT_THAT(messagesIn(user(R"(" <task-notification>x</task-notification>\n")")), IsEmpty());
    EXPECT_THAT(messagesIn(user(R"("a <local-command-stdout>x")")), IsEmpty());
    EXPECT_THAT(messagesIn(user(R"("a")", R"(,"isMeta":true)")), IsEmpty());
    EXPECT_THAT(messagesIn(user(R"("a")", R"(,"isCompactSummary":true)")), IsEmpty());
    EXPECT_THAT(messagesIn(user(R"([{"type":"tool_result","content":[{"type":"text","text":"a"}]}])")), IsEmpty());
    EXPECT_THAT(messagesIn(user(R"([{"type":"text","text":"a"},5])")), IsEmpty());
    EXPECT_THAT(messagesIn(user(R"("")")), IsEmpty());
    EXPECT_THAT(messagesIn(user("[]")), IsEmpty());
}

TEST(TranscriptMessageReader, keepsWhatOnlyLooksMachineWritten)
{
    EXPECT_THAT(shownIn(user(R"("<system-reminder>x")")), ElementsAre("user u|<system-reminder>x|-|-"));
    EXPECT_THAT(shownIn(user(R"("a")", R"(,"isMeta":false,"isCompactSummary":"true")")), ElementsAre("user u|a|-|-"));
    EXPECT_THAT(shownIn(user(R"("a<bash-input>ls</bash-input> b")")), ElementsAre("user u|a b|-|-"));
}

TEST(TranscriptMessageReader, showsASlashCommandAsARowOfItsOwn)
{
    EXPECT_THAT(shownIn(user(R"("<command-name>/compact</command-name>\n<command-args>a</command-args>")")),
                ElementsAre("toolUse u||/compact|-"));
    EXPECT_THAT(shownIn(user(R"("<command-name>/a</command-name><local-command-stdout>x</local-command-stdout>")")),
                ElementsAre("toolUse u||/a|-"));
}

TEST(TranscriptMessageReader, partsTextsAtTheCallsOfTools)
{
    EXPECT_THAT(shownIn(assistant(R"([{"type":"text","text":"a"},{"type":"tool_use","id":"t1","name":"Bash",)"
                                  R"("input":{"command":"ls"}},{"type":"text","text":"b"},{"type":"thinking"},)"
                                  R"({"type":"text","text":"c"}])")),
                ElementsAre("assistant a-text-0|a|-|-", "toolUse t1||Bash|ls", "assistant a-text-2|b\nc|-|-"));
}

TEST(TranscriptMessageReader, fillsInWhatACallLacks)
{
    EXPECT_THAT(shownIn(assistant(R"([{"type":"tool_use"},{"type":"tool_use","name":7,"id":8,"input":[]},)"
                                  R"({"type":"tool_use","name":"X","input":{}}])")),
                ElementsAre("toolUse a-tool-0||Tool|Tool", "toolUse a-tool-1||Tool|Tool", "toolUse a-tool-2||X|"));
}

TEST(TranscriptMessageReader, givesNoTextThatIsBlank)
{
    EXPECT_THAT(shownIn(assistant(R"([{"type":"text","text":" \n"},{"type":"tool_use","id":"t"},)"
                                  R"({"type":"text","text":""},{"type":"text","text":"\u00a0"}])")),
                ElementsAre("toolUse t||Tool|Tool"));
    EXPECT_THAT(messagesIn(assistant(R"("text")")), IsEmpty());
    EXPECT_THAT(messagesIn(assistant(R"([{"type":"text","text":"a"},"b"])")), IsEmpty());
}

TEST(TranscriptMessageReader, readsTimestampsWithAFraction)
{
    const auto timestampOf = [](const QByteArray &timestamp) {
        const auto messages = messagesIn(user(R"("a")", R"(,"timestamp":)" + timestamp));
        EXPECT_EQ(messages.size(), 1U);
        return messages.empty() ? std::nullopt : messages.front().timestamp;
    };
    EXPECT_EQ(timestampOf(R"("2026-11-21T12:00:00.250Z")"), parseIsoDate(u"2026-11-21T12:00:00.250Z"));
    EXPECT_NE(timestampOf(R"("2026-11-21T12:00:00.250Z")"), std::nullopt);
    EXPECT_EQ(timestampOf(R"("2026-11-21T12:00:00Z")"), std::nullopt);
    EXPECT_EQ(timestampOf(R"("yesterday")"), std::nullopt);
    EXPECT_EQ(timestampOf("5"), std::nullopt);
}

TEST(TranscriptMessageReader, replacesLoneSurrogates)
{
    EXPECT_THAT(shownIn(user(R"("a\ud83d b \ud83d\ude42")")), ElementsAre("user u|a\xEF\xBF\xBD b 🙂|-|-"));
}

TEST(TranscriptMessageReader, keepsTheLastOnes)
{
    QByteArray bytes;
    for (int i = 0; i < 200; ++i)
        bytes += user("\"" + QByteArray::number(i) + "\"");
    const auto messages = messagesIn(bytes);
    ASSERT_EQ(messages.size(), 50U);
    EXPECT_EQ(messages.front().text, QStringLiteral("150"));
    EXPECT_EQ(messages.back().text, QStringLiteral("199"));
    EXPECT_EQ(messagesIn(bytes, 200).size(), 200U);
    EXPECT_EQ(messagesIn(bytes, 1'000'000).size(), 200U);
    EXPECT_THAT(messagesIn(bytes, 0), IsEmpty());
    EXPECT_THAT(messagesIn(bytes, -1), IsEmpty());
}

TEST(TranscriptMessageReader, cutsWithinALine)
{
    const QByteArray line = assistant(R"([{"type":"text","text":"a"},{"type":"tool_use","id":"t"},)"
                                      R"({"type":"text","text":"b"}])");
    EXPECT_THAT(shownIn(line + line, 2), ElementsAre("toolUse t||Tool|Tool", "assistant a-text-5|b|-|-"));
}

TEST(TranscriptMessageReader, takesALastLineWithoutLineFeedOnlyWhenItIsWhole)
{
    EXPECT_THAT(shownIn(user(R"("a")") + user(R"("b")").chopped(1)), ElementsAre("user u|a|-|-", "user u|b|-|-"));
    EXPECT_THAT(shownIn(user(R"("a")") + user(R"("b")").chopped(2)), ElementsAre("user u|a|-|-"));
    EXPECT_THAT(shownIn(user(R"("a")") + R"({"type":"user","message":{"content":"h)" + '\xC3'),
                ElementsAre("user u|a|-|-"));
}

TEST(TranscriptMessageReader, givesNothingOfAFileThatIsNotUtf8)
{
    EXPECT_THAT(messagesIn(user(R"("a")") + "{\"x\":\"\xFF\"}\n" + user(R"("b")")), IsEmpty());
    EXPECT_THAT(messagesIn(user(R"("a")") + "\xED\xA0\x80\n"), IsEmpty());
}

TEST(TranscriptMessageReader, makesUpIdsThatStay)
{
    const QByteArray line = R"({"type":"user","message":{"content":"a"}})"
                            "\n"
                            R"({"type":"user","uuid":7,"message":{"content":"a"}})"
                            "\n"
                            R"({"type":"assistant","message":{"content":[{"type":"text","text":"a"}]}})"
                            "\n";
    const TranscriptScratch scratch(line);
    const auto first = parseMessages(scratch.path(), 50);
    scratch.append(line);
    const auto second = parseMessages(scratch.path(), 50);

    ASSERT_EQ(first.size(), 3U);
    ASSERT_EQ(second.size(), 6U);
    for (std::size_t i = 0; i < first.size(); ++i)
        EXPECT_EQ(first[i], second[i]);
    EXPECT_FALSE(QUuid::fromString(second[0].id).isNull());
    EXPECT_NE(second[0].id, second[3].id);
    EXPECT_TRUE(second[2].id.endsWith(QStringLiteral("-text-2")));
}

TEST(TranscriptMessageReader, passesOverDirectoriesAndFifos)
{
    const QTemporaryDir folder;
    const QString fifo = folder.filePath(QStringLiteral("t.jsonl"));
    ASSERT_EQ(mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);
    EXPECT_THAT(parseMessages(fifo, 50), IsEmpty());
    EXPECT_THAT(parseMessages(folder.path(), 50), IsEmpty());
}

TEST(TranscriptMessageReader, readsWhatARealAgentWrote)
{
    const auto shownOf = [](const char *name) {
        QFile file(QStringLiteral(VANTRY_FIXTURES "/transcripts/") + QString::fromLatin1(name));
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        std::vector<std::string> texts;
        for (TranscriptMessage &message : messagesIn(file.readAll())) {
            EXPECT_TRUE(message.timestamp) << name;
            message.id.clear();
            message.text.truncate(40);
            texts.push_back(shown(message));
        }
        return texts;
    };
    EXPECT_THAT(shownOf("compact-then-clear.1.short.jsonl"),
                ElementsAre("user |SCENARIO:bash-readonly please|-|-", "toolUse ||Bash|List files",
                            "assistant |All done.|-|-", "toolUse ||/compact|-"));
    EXPECT_THAT(shownOf("slash-commands-and-bash-mode.short.jsonl"),
                ElementsAre("user |SCENARIO:plain please|-|-", "assistant |Hello there, all is well.|-|-",
                            "assistant |Done.|-|-"));
    EXPECT_THAT(shownOf("edit.short.jsonl"), ElementsAre("user |SCENARIO:edit please|-|-",
                                                         "toolUse ||Read|edit/seed.txt", "assistant |Now the edit.|-|-",
                                                         "toolUse ||Edit|edit/seed.txt", "assistant |All done.|-|-"));
    EXPECT_THAT(shownOf("bash-denied-interrupt.short.jsonl"),
                ElementsAre("user |SCENARIO:bash please|-|-", "assistant |I will write the file.|-|-",
                            "toolUse ||Bash|Write hi to out.txt",
                            "user |[Request interrupted by user for tool us|-|-"));
}

} // namespace
} // namespace vantry::test
