#include "app/control/StatusText.h"

#include <gmock/gmock.h>

namespace vantry {
namespace {

using namespace Qt::StringLiterals;

constexpr TextStyle pipe {};
constexpr TextStyle terminal { .isColoured = false, .width = 100 };

Json session(const std::string &id, const std::string &state, const Json &more = Json::object())
{
    Json object { { "id", id },
                  { "state", state },
                  { "statusText", state },
                  { "elapsedText", "5m ago" },
                  { "isAlive", true },
                  { "needsAttention", state == "needs_permission" || state == "has_question" },
                  { "projectName", "shop" },
                  { "lastUpdated", "2026-01-31T09:05:07.250Z" } };
    object.update(more);
    return object;
}

StatusDocument document(const Json::array_t &sessions, bool listening = true)
{
    return StatusDocument::fromText(QString::fromStdString(statusJson(true, listening, 49152, sessions).dump()))
        .value();
}

/// The first words of the table's lines, behind the sign.
QStringList shownIDs(const QString &text)
{
    QStringList ids;
    for (const QString &line : text.split(u'\n').mid(2)) {
        if (!line.isEmpty())
            ids.append(line.mid(2).section(u' ', 0, 0));
    }
    return ids;
}

TEST(ShortIDs, areEightCharactersOrTheWhole)
{
    const auto shown = shortIDs({ u"0123456789"_s, u"abc"_s });

    EXPECT_EQ(shown.value(u"0123456789"_s), u"01234567");
    EXPECT_EQ(shown.value(u"abc"_s), u"abc");
}

TEST(ShortIDs, areLongEnoughToFitOneSessionOnly)
{
    const auto shown = shortIDs({ u"0123456789ab-1"_s, u"0123456789cd-1"_s, u"zz"_s });

    EXPECT_EQ(shown.value(u"0123456789ab-1"_s), u"0123456789a");
    EXPECT_EQ(shown.value(u"0123456789cd-1"_s), u"0123456789c");
}

TEST(ShortIDs, showTheWholeOfAnIDThatAnotherOneBeginsWith)
{
    const auto shown = shortIDs({ u"0123456789"_s, u"0123456789-b"_s });

    EXPECT_EQ(shown.value(u"0123456789"_s), u"0123456789");
    EXPECT_EQ(shown.value(u"0123456789-b"_s), u"0123456789-");
}

TEST(ShortIDs, takeADoubledIDOnce)
{
    EXPECT_EQ(shortIDs({ u"0123456789"_s, u"0123456789"_s }).value(u"0123456789"_s), u"01234567");
}

TEST(ShortIDs, splitNoSurrogatePair)
{
    const QString id = u"1234567\U0001F600\U0001F600"_s;

    EXPECT_EQ(shortIDs({ id }).value(id), u"1234567\U0001F600");
}

TEST(StatusText, saysThatThereIsNoSession)
{
    EXPECT_EQ(statusText(document({}), pipe), u"No sessions.\n");
}

TEST(StatusText, saysThatNothingCanComeIn)
{
    EXPECT_TRUE(statusText(document({}, false), pipe).startsWith(u"Not listening on port 49152"));
}

TEST(StatusText, showsWhatNeedsAnAnswerFirst)
{
    const QString text =
        statusText(document({ session("finished", "ready", { { "isAlive", false } }), session("working1", "working"),
                              session("ready111", "ready"), session("question", "has_question"),
                              session("permissi", "needs_permission") }),
                   pipe);

    EXPECT_EQ(shownIDs(text),
              (QStringList { u"permissi"_s, u"question"_s, u"ready111"_s, u"working1"_s, u"finished"_s }));
}

TEST(StatusText, showsTheNewestOfEqualsFirst)
{
    const QString text =
        statusText(document({ session("older", "working", { { "lastUpdated", "2026-01-31T09:05:07.250Z" } }),
                              session("newer", "working", { { "lastUpdated", "2026-01-31T09:05:08.000Z" } }) }),
                   pipe);

    EXPECT_EQ(shownIDs(text), (QStringList { u"newer"_s, u"older"_s }));
}

TEST(StatusText, countsWhatNeedsAnAnswer)
{
    EXPECT_TRUE(
        statusText(document({ session("a", "working") }), pipe).startsWith(u"1 session, none needs an answer.\n"));
    EXPECT_TRUE(statusText(document({ session("a", "needs_permission"), session("b", "ready") }), pipe)
                    .startsWith(u"2 sessions, 1 needs an answer.\n"));
    EXPECT_TRUE(statusText(document({ session("a", "needs_permission"), session("b", "has_question") }), pipe)
                    .startsWith(u"2 sessions, 2 need an answer.\n"));
}

TEST(StatusText, marksWhatNeedsAnAnswerWithoutColours)
{
    const QString text = statusText(document({ session("a", "needs_permission"), session("b", "has_question") }), pipe);

    EXPECT_TRUE(text.contains(u"\n! a "));
    EXPECT_TRUE(text.contains(u"\n? b "));
}

TEST(StatusText, tellsWhereAPermissionCanBeAnswered)
{
    const QString text = statusText(document({ session("a", "needs_permission", { { "heldPermissions", 0 } }),
                                               session("b", "needs_permission", { { "heldPermissions", 3 } }),
                                               session("c", "needs_permission", { { "heldPermissions", 1 } }) }),
                                    pipe);

    EXPECT_TRUE(text.contains(u"needs_permission (in its terminal)"));
    EXPECT_TRUE(text.contains(u"needs_permission (and 2 more)"));
    EXPECT_TRUE(text.contains(u"needs_permission  "));
}

TEST(StatusText, shortensTheProjectBeforeTheStatusInANarrowTerminal)
{
    const Json narrow = session("abcdefgh", "needs_permission",
                                { { "statusText", "Needs permission: NotebookEdit" },
                                  { "projectName", "a-project-with-a-name" },
                                  { "gitBranch", "feature/with-a-name" },
                                  { "heldPermissions", 1 },
                                  { "previewLine", "a preview that is long enough to want its room" } });

    const QString text = statusText(document({ narrow }), { .isColoured = false, .width = 97 });

    EXPECT_TRUE(text.contains(u"Needs permission: NotebookEdit ")) << text.toStdString();
    EXPECT_FALSE(text.contains(u"a-project-with-a-name")) << text.toStdString();
}

TEST(StatusText, tellsAPersonHowToAnswer)
{
    const StatusDocument waiting =
        document({ session("abcdefghijk", "needs_permission", { { "heldPermissions", 1 } }) });

    EXPECT_TRUE(statusText(waiting, terminal).contains(u"vantry allow abcdefgh "));
    EXPECT_FALSE(statusText(waiting, pipe).contains(u"vantry allow"));
}

TEST(StatusText, showsAPersonTheWholeOfWhatTheyAllow)
{
    const std::string command(300, 'x');
    const StatusDocument waiting =
        document({ session("abcdefghijk", "needs_permission", { { "heldPermissions", 1 }, { "toolDetail", command } }),
                   session("other", "needs_permission", { { "heldPermissions", 1 }, { "toolName", "Bash" } }) });

    const QString text = statusText(waiting, terminal);

    EXPECT_TRUE(text.contains(u"\nabcdefgh asks: " + QString::fromStdString(command) + u'\n'));
    EXPECT_TRUE(text.contains(u"\nother asks: Bash\n"));
}

TEST(StatusText, isPlainInAPipe)
{
    const QString text =
        statusText(document({ session("a", "needs_permission", { { "previewLine", "\x1B[2Jgone" } }) }), pipe);

    EXPECT_FALSE(text.contains(u'\x1B'));
    EXPECT_TRUE(text.contains(u"gone"));
}

TEST(StatusText, keepsEachSessionOnOneLine)
{
    const QString text =
        statusText(document({ session("a\nb", "working",
                                      { { "projectName", "x\ny" }, { "previewLine", std::string(500, 'x') } }) }),
                   terminal);

    EXPECT_EQ(text.count(u'\n'), 3);
    for (const QString &line : text.split(u'\n'))
        EXPECT_LE(displayWidth(line), 100);
}

TEST(StatusDocument, isNothingForOtherText)
{
    for (const QString &text : { u""_s, u"[]"_s, u"{}"_s, u"{\"sessions\":1}"_s, u"{\"sessions\":["_s })
        EXPECT_FALSE(StatusDocument::fromText(text)) << text.toStdString();
}

TEST(StatusDocument, takesSessionsOfAnotherFormAsEmpty)
{
    const auto status = StatusDocument::fromText(u"{\"sessions\":[1,{\"id\":2,\"isAlive\":\"yes\"}]}"_s);

    ASSERT_TRUE(status);
    EXPECT_EQ(status->sessions.size(), 2);
    EXPECT_EQ(status->sessions.at(1).id, u"");
}

TEST(ChangeLine, tellsOneSessionOnOneLine)
{
    const Json changed =
        session("abcdefghijk", "needs_permission", { { "heldPermissions", 1 }, { "previewLine", "npm test" } });

    EXPECT_EQ(changeLine(SessionRow(changed), u"abcdefgh"_s, u"09:05:07"_s, pipe),
              u"09:05:07  ! abcdefgh  needs_permission  shop  npm test\n");
}

TEST(ResultsText, saysThatNothingWasFound)
{
    EXPECT_EQ(resultsText(Json { { "results", Json::array() } }, pipe), u"No sessions found.\n");
}

TEST(ResultsText, showsTheSummaryElseThePreview)
{
    const Json results { { "results",
                           Json::array({ Json { { "session", session("a", "ready") },
                                                { "rank", -1.0 },
                                                { "snippet", "\n# Fixed the parser\nmore" } },
                                         Json { { "session", session("b", "ready", { { "previewLine", "Do it" } }) },
                                                { "rank", 0.0 },
                                                { "snippet", nullptr } } }) } };

    const QString text = resultsText(results, pipe);

    EXPECT_TRUE(text.contains(u"# Fixed the parser\n"));
    EXPECT_TRUE(text.contains(u"Do it\n"));
}

} // namespace
} // namespace vantry
