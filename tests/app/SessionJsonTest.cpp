#include "app/control/SessionJson.h"

#include "support/ManualClock.h"

#include <QFile>
#include <QTemporaryDir>

#include <gmock/gmock.h>

namespace vantry {
namespace {

using namespace Qt::StringLiterals;
using ::testing::ElementsAre;

class SessionJson : public ::testing::Test
{
protected:
    test::ManualClock clock;
    VantrySession::Init init { .id = u"abc"_s,
                               .agentTool = AgentTool::claudeCode,
                               .terminalType = {},
                               .terminalSessionID = {},
                               .state = SessionState::working,
                               .projectName = {},
                               .cwd = {},
                               .lastPrompt = {},
                               .toolName = {},
                               .pid = {},
                               .pidStartTime = {},
                               .lastMessage = {},
                               .lastUpdated = clock.now(),
                               .startedAt = clock.now(),
                               .isAlive = true };

    [[nodiscard]] Json json(const VantrySession &session) const
    {
        return sessionJson(session, { .now = clock.now(), .home = u"/nonexistent"_s });
    }
    [[nodiscard]] Json json() const { return json(VantrySession(init)); }
};

TEST_F(SessionJson, hasThePromisedKeysInThePromisedOrder)
{
    std::vector<std::string> keys;
    const Json object = json();
    for (const auto &[key, value] : object.items())
        keys.push_back(key);

    EXPECT_THAT(keys, ElementsAre("id", "agentTool", "state", "statusText", "elapsedText", "isAlive", "needsAttention",
                                  "projectName", "cwd", "previewLine", "lastPrompt", "lastMessage", "toolName",
                                  "toolDetail", "questions", "heldPermissions", "hasAlwaysAllowSuggestions",
                                  "terminalType", "terminalSessionID", "pid", "shellPid", "pidStartTime",
                                  "transcriptPath", "gitBranch", "gitLinesAdded", "gitLinesRemoved", "contextPercent",
                                  "startedAt", "lastUpdated", "endedAt", "lastAttentionDate"));
}

TEST_F(SessionJson, isNullWhereAValueIsAbsent)
{
    const Json object = json();

    for (const char *key : { "projectName",
                             "cwd",
                             "previewLine",
                             "lastPrompt",
                             "lastMessage",
                             "toolName",
                             "toolDetail",
                             "questions",
                             "terminalType",
                             "terminalSessionID",
                             "pid",
                             "shellPid",
                             "pidStartTime",
                             "transcriptPath",
                             "gitBranch",
                             "gitLinesAdded",
                             "gitLinesRemoved",
                             "contextPercent",
                             "endedAt",
                             "lastAttentionDate" })
        EXPECT_TRUE(object.at(key).is_null()) << key;
}

TEST_F(SessionJson, tellsAnEmptyTextFromNone)
{
    init.toolName = u""_s;

    EXPECT_EQ(json().at("toolName"), "");
}

TEST_F(SessionJson, writesDatesInTheStoresForm)
{
    VantrySession session(init);
    session.setEndedAt(clock.now());
    session.setLastAttentionDate(clock.now());

    const Json object = json(session);

    for (const char *key : { "startedAt", "lastUpdated", "endedAt", "lastAttentionDate" })
        EXPECT_EQ(object.at(key), "2026-01-31T09:05:07.250Z") << key;
}

TEST_F(SessionJson, writesTheStoredStringOfEachState)
{
    init.state = SessionState::needsPermission;
    init.toolName = u"Bash"_s;

    EXPECT_EQ(json().at("state"), "needs_permission");
    EXPECT_EQ(json().at("statusText"), "Needs permission: Bash");
    EXPECT_EQ(json().at("needsAttention"), true);
}

TEST_F(SessionJson, keepsLargeNumbersWhole)
{
    VantrySession session(init);
    session.setPid(9'223'372'036'854'775'807);
    session.setPidStartTime(1'769'850'307.123456);

    const Json object = json(session);

    EXPECT_EQ(object.at("pid").get<std::int64_t>(), 9'223'372'036'854'775'807);
    EXPECT_EQ(object.at("pidStartTime").get<double>(), 1'769'850'307.123456);
}

TEST_F(SessionJson, writesQuestionsWithAllTheirKeys)
{
    VantrySession session(init);
    HookEvent::Question plain;
    plain.question = u"Go on?"_s;
    HookEvent::Question whole;
    whole.question = u"Which?"_s;
    whole.header = u"Choice"_s;
    whole.multiSelect = true;
    whole.options = { { u"A"_s, u"the first"_s }, { u"B"_s, {} } };
    session.setQuestions(std::vector { plain, whole });

    EXPECT_EQ(jsonLine(json(session).at("questions")),
              R"([{"question":"Go on?","header":null,"multiSelect":null,"options":null},)"
              R"({"question":"Which?","header":"Choice","multiSelect":true,)"
              R"("options":[{"label":"A","description":"the first"},{"label":"B","description":null}]}])");
}

TEST_F(SessionJson, tellsWhatStandsBesideTheRecord)
{
    const Json object =
        sessionJson(VantrySession(init),
                    { .now = clock.now(), .home = {}, .heldPermissions = 2, .hasAlwaysAllowSuggestions = true });

    EXPECT_EQ(object.at("heldPermissions"), 2);
    EXPECT_EQ(object.at("hasAlwaysAllowSuggestions"), true);
}

TEST_F(SessionJson, namesTheTranscriptThatExists)
{
    const QTemporaryDir home;
    QFile file(home.filePath(u"abc.jsonl"_s));
    ASSERT_TRUE(file.open(QFile::WriteOnly));
    VantrySession session(init);
    session.setTranscriptPath(file.fileName());

    EXPECT_EQ(json(session).at("transcriptPath"), file.fileName().toStdString());
    file.remove();
    EXPECT_TRUE(json(session).at("transcriptPath").is_null());
}

TEST_F(SessionJson, replacesLoneSurrogates)
{
    init.lastMessage = u"a\xD800z \xDC00 \U0001F600"_s;

    EXPECT_EQ(json().at("lastMessage"), "a\uFFFDz \uFFFD \U0001F600");
}

TEST_F(SessionJson, replacesASurrogateAtTheVeryEnd)
{
    EXPECT_EQ(jsonString(u"a\xD83D"_s), "a\uFFFD");
}

TEST_F(SessionJson, staysOnOneLineWhateverTheTextHolds)
{
    init.lastPrompt = u"one\ntwo\r\x1B[31m\u2028\0end"_s;

    const std::string line = jsonLine(json());

    EXPECT_EQ(line.find('\n'), std::string::npos);
    EXPECT_EQ(line.find('\x1B'), std::string::npos);
    EXPECT_EQ(Json::parse(line).at("lastPrompt").get<std::string>(), init.lastPrompt->toStdString());
}

TEST(StatusJson, isTheDocumentForNothingRunning)
{
    EXPECT_EQ(jsonLine(statusJson(false, false, 49152, {})),
              R"({"running":false,"listening":false,"port":49152,"sessions":[]})");
}

TEST(StatusJson, holdsTheSessionsInTheirOrder)
{
    const Json document = statusJson(true, true, 49152, { Json { { "id", "b" } }, Json { { "id", "a" } } });

    EXPECT_EQ(jsonLine(document),
              R"({"running":true,"listening":true,"port":49152,"sessions":[{"id":"b"},{"id":"a"}]})");
}

TEST_F(SessionJson, holdsResultsWithRankAndSnippet)
{
    const auto session = std::make_shared<VantrySession>(init);
    const QList<SessionSearchResult> results { { session, -1.5, u"Fixed it"_s }, { session, 0, {} } };

    const Json array = resultsJson(results, clock.now(), u"/nonexistent"_s).at("results");

    ASSERT_EQ(array.size(), 2U);
    EXPECT_EQ(array[0].at("session"), json());
    EXPECT_EQ(array[0].at("rank"), -1.5);
    EXPECT_EQ(array[0].at("snippet"), "Fixed it");
    EXPECT_TRUE(array[1].at("snippet").is_null());
}

TEST(ResultsJson, isAnEmptyListWhenNothingWasFound)
{
    EXPECT_EQ(jsonLine(resultsJson({}, {}, {})), R"({"results":[]})");
}

TEST(WatchJson, hasOneFormForEachEvent)
{
    EXPECT_EQ(jsonLine(changedJson(Json { { "id", "a" } })), R"({"event":"changed","session":{"id":"a"}})");
    EXPECT_EQ(jsonLine(removedJson(u"a"_s)), R"({"event":"removed","id":"a"})");
    EXPECT_EQ(jsonLine(listeningJson(true)), R"({"event":"listening","listening":true})");
}

} // namespace
} // namespace vantry
