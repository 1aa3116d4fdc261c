#include "app/control/TranscriptOutput.h"

#include "support/ManualClock.h"

#include <gmock/gmock.h>

namespace vantry {
namespace {

using namespace Qt::StringLiterals;
using Role = TranscriptMessage::Role;

constexpr TextStyle pipe {};

TranscriptMessage message(Role role, const QString &text)
{
    return { u"id"_s, role, text, std::nullopt, std::nullopt, std::nullopt };
}

TranscriptMessage tool(const QString &name, const std::optional<QString> &summary)
{
    return { u"id"_s, Role::toolUse, {}, std::nullopt, name, summary };
}

TEST(MessagesOutput, hasThePromisedKeys)
{
    TranscriptMessage user = message(Role::user, u"Hello"_s);
    user.timestamp = test::ManualClock().now();

    EXPECT_EQ(jsonLine(messagesJson({ user, tool(u"Bash"_s, u"ls"_s) })),
              R"({"messages":[{"id":"id","role":"user","text":"Hello","timestamp":"2026-01-31T09:05:07.250Z",)"
              R"("toolName":null,"toolSummary":null},{"id":"id","role":"toolUse","text":"","timestamp":null,)"
              R"("toolName":"Bash","toolSummary":"ls"}]})");
    EXPECT_EQ(jsonLine(messagesJson({})), R"({"messages":[]})");
}

TEST(MessagesOutput, repairsWhatIsNoText)
{
    EXPECT_EQ(messagesJson({ message(Role::user, QString(QChar(0xD800))) }).at("messages").at(0).at("text"),
              "\xEF\xBF\xBD");
}

TEST(MessagesOutput, isAConversationForPeople)
{
    const QString text =
        messagesText({ message(Role::user, u"Mend\n\n  it"_s), message(Role::assistant, u"Yes."_s),
                       tool(u"Bash"_s, u"ls"_s), tool(u"/init"_s, std::nullopt), message(Role::assistant, u"Done."_s) },
                     pipe);

    EXPECT_EQ(text, u"You\n  Mend\n\n    it\n\nAgent\n  Yes.\n  [Bash] ls\n  [/init]\n\nAgent\n  Done.\n");
}

TEST(MessagesOutput, saysThatThereIsNone)
{
    EXPECT_EQ(messagesText({}, pipe), u"No messages.\n");
}

TEST(MessagesOutput, letsNothingSteerTheTerminal)
{
    const QString evil = u"a\x1b]0;x\x07\r\u202eb\u009bc\u0000d"_s;

    const QString text = messagesText({ message(Role::user, evil), tool(evil, evil) }, pipe);

    for (const QChar c : text)
        EXPECT_TRUE(c == u'\n' || (c.category() != QChar::Other_Control && c != QChar(0x202E))) << text.toStdString();
}

TEST(MessagesOutput, colours)
{
    EXPECT_TRUE(messagesText({ message(Role::user, u"a"_s) }, { .isColoured = true, .width = 80 }).contains(u'\u001b'));
}

QList<RecentProject> projects(const QString &home)
{
    const Date now = test::ManualClock().now();
    const RecentSession latest { u"0123456789"_s, now, u"Mend it"_s };
    const RecentSession other { u"abc"_s, now - std::chrono::hours(2), std::nullopt };
    return { { u"-home-a-shop"_s, home + u"/shop"_s, u"shop"_s, now, { latest, other } },
             { u"-srv"_s, home + u"-not"_s, u"srv"_s, now - std::chrono::hours(3), {} } };
}

TEST(ProjectsOutput, hasThePromisedKeys)
{
    EXPECT_EQ(jsonLine(projectsJson(projects(u"/home/a"_s).first(1))),
              R"({"projects":[{"id":"-home-a-shop","path":"/home/a/shop","name":"shop",)"
              R"("lastUsed":"2026-01-31T09:05:07.250Z","sessions":[)"
              R"({"id":"0123456789","lastUsed":"2026-01-31T09:05:07.250Z","firstMessage":"Mend it"},)"
              R"({"id":"abc","lastUsed":"2026-01-31T07:05:07.250Z","firstMessage":null}]}]})");
}

TEST(ProjectsOutput, isATableForPeople)
{
    const QString text = projectsText(projects(u"/home/a"_s), test::ManualClock().now(), u"/home/a"_s, pipe);

    EXPECT_TRUE(text.contains(u"~/shop")) << text.toStdString();
    EXPECT_TRUE(text.contains(u"01234567  "));
    EXPECT_TRUE(text.contains(u"Mend it\n"));
    EXPECT_TRUE(text.contains(u"/home/a-not")) << "another folder that begins like the home";
    EXPECT_TRUE(text.contains(u"3h ago"));
}

TEST(ProjectsOutput, saysThatThereIsNone)
{
    EXPECT_EQ(projectsText({}, test::ManualClock().now(), {}, pipe), u"No projects found.\n");
}

} // namespace
} // namespace vantry
