#include "Eventually.h"
#include "Vantry.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>

#include <gmock/gmock.h>

#include <signal.h>

namespace vantry::test {
namespace {

using ::testing::HasSubstr;

const char sessionID[] = "6a0e7f8c-1111-4222-8333-944445555666";

/// A home in which an agent left a transcript of a project before Vantry was there.
class Transcripts : public ::testing::Test
{
protected:
    void SetUp() override
    {
        QDir(vantry.home()).mkpath("my-shop");
        QDir(vantry.home()).mkpath(folder());
        QFile file(path());
        ASSERT_TRUE(file.open(QFile::WriteOnly));
        file.write(line("user", R"("Mend the flux capacitor\nand \u001b[31mpaint it")"));
        file.write(line("assistant", R"([{"type":"text","text":"I'll look."},)"
                                     R"({"type":"tool_use","id":"t1","name":"Bash","input":{"command":"ls"}}])"));
    }

    [[nodiscard]] QString project() const { return vantry.home() + "/my-shop"; }
    [[nodiscard]] QString folder() const
    {
        return vantry.home() + "/.claude/projects/" + project().replace(QRegularExpression("[^A-Za-z0-9]"), "-");
    }
    [[nodiscard]] QString path() const { return folder() + '/' + sessionID + ".jsonl"; }
    [[nodiscard]] QByteArray line(const char *type, const char *content) const
    {
        return QStringLiteral(R"({"type":"%1","uuid":"u-%1","cwd":"%2","timestamp":"2026-01-31T09:05:07.250Z",)"
                              R"("message":{"role":"%1","content":%3}})")
                   .arg(type, project(), content)
                   .toUtf8() +
               '\n';
    }
    [[nodiscard]] bool isFound(const QString &word) const
    {
        return !vantry.runJson({ "search", word, "--json" }).at("results").empty();
    }

    Vantry vantry;
};

TEST_F(Transcripts, areFoundBySearchAMomentAfterTheStart)
{
    vantry.start();

    ASSERT_TRUE(eventually([this] { return isFound("capacitor"); }));

    const Json result = vantry.runJson({ "search", "flux", "--json" }).at("results").at(0);
    EXPECT_EQ(result.at("session").at("id"), sessionID);
    EXPECT_EQ(result.at("session").at("projectName"), "my-shop");
    EXPECT_EQ(vantry.logLinesWith("TranscriptIndexer: backfilled 1 sessions from transcript files"), 1);
}

TEST_F(Transcripts, areReadOnce)
{
    vantry.start();
    ASSERT_TRUE(eventually([this] { return isFound("capacitor"); }));
    ASSERT_EQ(vantry.end(SIGTERM), 0);

    vantry.start();
    vantry.post(event("SessionStart", "one"));
    ASSERT_TRUE(vantry.shows("one", "state", "ready"));

    EXPECT_EQ(vantry.end(SIGTERM), 0);
    EXPECT_EQ(vantry.logLinesWith("TranscriptIndexer: backfilled"), 1);
    EXPECT_EQ(vantry.query("SELECT count(*) FROM session_search"), std::vector<std::string> { "1" });
}

TEST_F(Transcripts, areReadWhileEveryoneCanWatch)
{
    const auto monitor =
        vantry.other("dbus-monitor", { "--address", vantry.environment().value("DBUS_SESSION_BUS_ADDRESS"),
                                       "type='signal',interface='com.vantry.Sessions',member='Backfill'" });
    // The monitor is told its own name once it listens.
    ASSERT_NE(monitor->nextLine(), "");

    vantry.start();

    std::string line = monitor->nextLine();
    while (!line.empty() && line.find("member=Backfill") == std::string::npos)
        line = monitor->nextLine();
    EXPECT_THAT(line, HasSubstr("member=Backfill"));
    EXPECT_THAT(monitor->nextLine(), HasSubstr("uint32"));
    EXPECT_THAT(monitor->nextLine(), HasSubstr("uint32 1"));
}

TEST_F(Transcripts, ofASessionAreShown)
{
    vantry.start();
    ASSERT_TRUE(eventually([this] { return isFound("capacitor"); }));
    ASSERT_EQ(vantry.end(SIGTERM), 0);

    const Json document = vantry.runJson({ "messages", "6a0e", "--json" });

    const Json &messages = document.at("messages");
    ASSERT_EQ(messages.size(), 3);
    EXPECT_EQ(messages.at(0).dump(), R"({"id":"u-user","role":"user","text":"Mend the flux capacitor\nand )"
                                     "\\u001b"
                                     R"([31mpaint it","timestamp":"2026-01-31T09:05:07.250Z",)"
                                     R"("toolName":null,"toolSummary":null})");
    EXPECT_EQ(messages.at(1).at("role"), "assistant");
    EXPECT_EQ(messages.at(2).at("role"), "toolUse");
    EXPECT_EQ(messages.at(2).at("toolName"), "Bash");
    EXPECT_EQ(messages.at(2).at("toolSummary"), "ls");
    EXPECT_EQ(vantry.runJson({ "messages", "6a0e", "--limit", "1", "--json" }).at("messages").size(), 1);
}

TEST_F(Transcripts, ofALiveSessionAreShown)
{
    vantry.start();
    vantry.post(event("SessionStart", "live", { { "transcript_path", path().toStdString() } }));
    ASSERT_TRUE(vantry.shows("live", "state", "ready"));

    EXPECT_EQ(vantry.runJson({ "messages", "live", "--json" }).at("messages").size(), 3);
}

TEST_F(Transcripts, ofAFileAreShownHarmlessly)
{
    const CommandResult shown = vantry.run({ "messages", path() });

    EXPECT_EQ(shown.exitCode, 0);
    EXPECT_THAT(shown.out, HasSubstr("  Mend the flux capacitor\n"));
    EXPECT_THAT(shown.out, HasSubstr("  [Bash] ls\n"));
    EXPECT_EQ(shown.out.find('\x1b'), std::string::npos);
}

TEST_F(Transcripts, thatAreNotThereAreRefused)
{
    for (const QString &source :
         { QStringLiteral("none"), QStringLiteral("./none"), vantry.home(), QStringLiteral("/dev/zero") }) {
        const CommandResult result = vantry.run({ "messages", source });
        EXPECT_EQ(result.exitCode, 1) << source.toStdString();
        EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
        EXPECT_EQ(result.out, "");
    }
}

TEST_F(Transcripts, tellWhereTheAgentWasUsed)
{
    const Json document = vantry.runJson({ "projects", "--json" });

    ASSERT_EQ(document.at("projects").size(), 1);
    const Json &found = document.at("projects").at(0);
    EXPECT_EQ(found.at("path"), project().toStdString());
    EXPECT_EQ(found.at("name"), "my-shop");
    EXPECT_EQ(found.size(), 5);
    ASSERT_EQ(found.at("sessions").size(), 1);
    EXPECT_EQ(found.at("sessions").at(0).at("id"), sessionID);
    EXPECT_TRUE(found.at("sessions").at(0).at("lastUsed").is_string());
    EXPECT_THAT(std::string(found.at("sessions").at(0).at("firstMessage")), HasSubstr("Mend the flux capacitor"));
    EXPECT_THAT(vantry.run({ "projects" }).out, HasSubstr("~/my-shop"));
}

} // namespace
} // namespace vantry::test
