#include "app/control/HistoryCommands.h"

#include "app/control/SessionJson.h"
#include "sessions/SessionStore.h"
#include "support/ManualClock.h"
#include "support/RecordingConsole.h"
#include "support/RecordingLog.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gmock/gmock.h>

#include <sys/stat.h>

namespace vantry {
namespace {

using namespace Qt::StringLiterals;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

class HistoryCommands : public ::testing::Test
{
protected:
    /// A remembered session whose prompts are these.
    void remember(const QString &id, const QString &prompts)
    {
        test::RecordingLog log;
        SessionStore store(paths.database(), clock, log);
        const HistoricalSession session { .id = id,
                                          .projectDir = u"/tmp/shop"_s,
                                          .projectName = u"shop"_s,
                                          .gitBranch = {},
                                          .prompts = prompts,
                                          .toolHistory = {},
                                          .summary = prompts,
                                          .firstTimestamp = u"2026-01-31T09:00:00.000Z"_s,
                                          .lastTimestamp = u"2026-01-31T09:00:00.000Z"_s,
                                          .transcriptPath = {} };
        store.queue().sync([&] {
            store.open();
            store.insertHistoricalSession(session);
            store.close();
        });
    }
    [[nodiscard]] Json results() const { return Json::parse(console.output).at("results"); }

    QTemporaryDir home;
    Paths paths { .home = home.path(), .dataFolder = home.path(), .configFile = {}, .runtimeFolder = {} };
    test::ManualClock clock;
    test::RecordingConsole console;
};

TEST_F(HistoryCommands, doNotWaitForADatabaseThatIsAFifo)
{
    ASSERT_EQ(::mkfifo(QFile::encodeName(paths.database()).constData(), 0600), 0);

    EXPECT_EQ(runRecent({ 20, OutputForm::Text }, paths, console, clock), exitCode::refused);

    EXPECT_THAT(console.errors, ElementsAre(HasSubstr("vantry.db is not a database")));
}

TEST_F(HistoryCommands, findNothingWhereNothingIsRemembered)
{
    EXPECT_EQ(runSearch({ { u"parser"_s }, 20, OutputForm::Json }, paths, console, clock), exitCode::done);

    EXPECT_EQ(console.output, "{\"results\":[]}\n");
    EXPECT_FALSE(QFile::exists(paths.database())) << "looking makes no database";
}

TEST_F(HistoryCommands, tellPeopleThatNothingWasFound)
{
    remember(u"a"_s, u"Fix the parser"_s);

    EXPECT_EQ(runSearch({ { u"lexer"_s } }, paths, console, clock), exitCode::done);

    EXPECT_EQ(console.output, "No sessions found.\n");
}

TEST_F(HistoryCommands, searchForAllWords)
{
    remember(u"a"_s, u"Fix the parser"_s);
    remember(u"b"_s, u"Fix the lexer"_s);

    EXPECT_EQ(runSearch({ { u"fix"_s, u"pars"_s }, 20, OutputForm::Json }, paths, console, clock), exitCode::done);

    ASSERT_EQ(results().size(), 1U);
    EXPECT_EQ(results()[0].at("session").at("id"), "a");
    EXPECT_EQ(results()[0].at("snippet"), "Fix the parser");
    EXPECT_LT(results()[0].at("rank").get<double>(), 0);
}

TEST_F(HistoryCommands, keepToTheLimit)
{
    for (const QString &id : { u"a"_s, u"b"_s, u"c"_s })
        remember(id, u"Fix the parser"_s);

    EXPECT_EQ(runRecent({ 2, OutputForm::Json }, paths, console, clock), exitCode::done);

    EXPECT_EQ(results().size(), 2U);
}

TEST_F(HistoryCommands, showPeopleATable)
{
    remember(u"0123456789"_s, u"Fix the parser"_s);

    EXPECT_EQ(runRecent({}, paths, console, clock), exitCode::done);

    EXPECT_THAT(console.output, HasSubstr("01234567  5m ago   shop             Fix the parser\n"));
}

TEST_F(HistoryCommands, sayWhyTheDatabaseCannotBeRead)
{
    QFile file(paths.database());
    ASSERT_TRUE(file.open(QFile::WriteOnly));
    file.write(QByteArray(8192, 'x'));
    file.close();

    EXPECT_EQ(runRecent({}, paths, console, clock), exitCode::refused);

    EXPECT_EQ(console.errors.size(), 1U);
    EXPECT_EQ(console.output, "");
}

} // namespace
} // namespace vantry
