#include "app/CommandLine.h"
#include "app/HelpText.h"

#include <gmock/gmock.h>

namespace vantry {

using namespace Qt::StringLiterals;

namespace {

using ::testing::TestWithParam;
using ::testing::Values;

QStringList split(const QString &line)
{
    return line.isEmpty() ? QStringList() : line.split(u' ');
}

/// What the words mean; a failed test when they mean nothing.
template <typename T>
T parsed(const QString &line)
{
    const auto result = parseCommandLine(split(line));
    if (const auto *command = std::get_if<Command>(&result)) {
        if (const auto *wanted = std::get_if<T>(command))
            return *wanted;
    }
    ADD_FAILURE() << "another command, or none: " << line.toStdString();
    return {};
}

QString errorOf(const QStringList &arguments)
{
    const auto result = parseCommandLine(arguments);
    const auto *error = std::get_if<UsageError>(&result);
    return error ? error->message : QString();
}

TEST(CommandLine, startsWithoutAnyWord)
{
    EXPECT_EQ(parsed<command::Start>(u""_s).windows, command::Start::Windows::WhereThereIsADisplay);
}

TEST(CommandLine, startsWithoutWindows)
{
    EXPECT_EQ(parsed<command::Start>(u"--headless"_s).windows, command::Start::Windows::None);
}

TEST(CommandLine, startsWithInventedSessions)
{
    EXPECT_EQ(parsed<command::Start>(u""_s).sessions, command::Start::Sessions::TheUsers);
    EXPECT_EQ(parsed<command::Start>(u"--demo"_s).sessions, command::Start::Sessions::Invented);
}

TEST(CommandLine, readsEveryCommandThatTakesNothingButAForm)
{
    EXPECT_EQ(parsed<command::Status>(u"status"_s).form, OutputForm::Text);
    EXPECT_EQ(parsed<command::Status>(u"status --json"_s).form, OutputForm::Json);
    EXPECT_EQ(parsed<command::Watch>(u"watch --json"_s).form, OutputForm::Json);
    EXPECT_EQ(parsed<command::HookInstall>(u"hook install --json"_s).form, OutputForm::Json);
    EXPECT_EQ(parsed<command::HookStatus>(u"hook status"_s).form, OutputForm::Text);
    EXPECT_EQ(parsed<command::Doctor>(u"doctor --json"_s).form, OutputForm::Json);
    parsed<command::Show>(u"show"_s);
    parsed<command::Settings>(u"settings"_s);
    parsed<command::Quit>(u"quit"_s);
    parsed<command::Version>(u"--version"_s);
}

TEST(CommandLine, readsTheCommandsOnOneSession)
{
    EXPECT_EQ(parsed<command::Allow>(u"allow abc"_s).id, u"abc");
    EXPECT_EQ(parsed<command::AlwaysAllow>(u"always-allow abc"_s).id, u"abc");
    EXPECT_EQ(parsed<command::Kill>(u"kill abc"_s).id, u"abc");
    EXPECT_EQ(parsed<command::Deny>(u"deny abc"_s), (command::Deny { u"abc"_s, command::Deny::Agent::GoesOn }));
}

TEST(CommandLine, readsWhatIsSentAndChosen)
{
    EXPECT_EQ(parsed<command::Focus>(u"focus abc"_s).id, u"abc");
    EXPECT_EQ(parsed<command::Answer>(u"answer abc 0"_s), (command::Answer { u"abc"_s, 0 }));
    EXPECT_EQ(parsed<command::Answer>(u"answer abc 12"_s), (command::Answer { u"abc"_s, 12 }));
    EXPECT_EQ(parsed<command::Send>(u"send abc Go on now"_s), (command::Send { u"abc"_s, u"Go on now"_s }));
    EXPECT_EQ(parsed<command::Send>(u"send abc -- --stop it"_s), (command::Send { u"abc"_s, u"--stop it"_s }));
}

TEST(CommandLine, readsHowToLaunch)
{
    using Mode = command::Launch::Mode;
    EXPECT_EQ(parsed<command::Launch>(u"launch ."_s), (command::Launch { u"."_s }));
    EXPECT_EQ(parsed<command::Launch>(u"launch /a --continue --mode planMode"_s),
              (command::Launch { u"/a"_s, Mode::ContinueLatest, {}, AgentPermissionMode::planMode }));
    EXPECT_EQ(parsed<command::Launch>(u"launch --resume abc --mode=autoAcceptEdits /a"_s),
              (command::Launch { u"/a"_s, Mode::Resume, u"abc"_s, AgentPermissionMode::autoAcceptEdits }));
    EXPECT_EQ(parsed<command::Launch>(u"launch /a --resume=a=b"_s),
              (command::Launch { u"/a"_s, Mode::Resume, u"a=b"_s }));
}

TEST(CommandLine, readsWhatIsReadFromTranscripts)
{
    EXPECT_EQ(parsed<command::Projects>(u"projects --json --limit 3"_s), (command::Projects { 3, OutputForm::Json }));
    EXPECT_EQ(parsed<command::Messages>(u"messages abc"_s), (command::Messages { u"abc"_s, 20, OutputForm::Text }));
    EXPECT_EQ(parsed<command::Messages>(u"messages a/b.jsonl --limit=7 --json"_s),
              (command::Messages { u"a/b.jsonl"_s, 7, OutputForm::Json }));
}

TEST(CommandLine, takesOptionsBeforeAndBehindTheArguments)
{
    const command::Deny stops { u"abc"_s, command::Deny::Agent::Stops };
    EXPECT_EQ(parsed<command::Deny>(u"deny abc --stop"_s), stops);
    EXPECT_EQ(parsed<command::Deny>(u"deny --stop abc"_s), stops);
}

TEST(CommandLine, takesAnIDThatLooksLikeAnOptionBehindTheDoubleDash)
{
    EXPECT_EQ(parsed<command::Allow>(u"allow -- --stop"_s).id, u"--stop");
}

TEST(CommandLine, collectsTheWordsOfASearch)
{
    const auto search = parsed<command::Search>(u"search parser --limit 5 bug --json"_s);

    EXPECT_EQ(search, (command::Search { { u"parser"_s, u"bug"_s }, 5, OutputForm::Json }));
}

TEST(CommandLine, searchesForADash)
{
    EXPECT_EQ(parsed<command::Search>(u"search -"_s).words, QStringList { u"-"_s });
}

TEST(CommandLine, limitsToTwentyUnlessToldOtherwise)
{
    EXPECT_EQ(parsed<command::Search>(u"search a"_s).limit, 20);
    EXPECT_EQ(parsed<command::Recent>(u"recent"_s).limit, 20);
    EXPECT_EQ(parsed<command::Recent>(u"recent --limit=3"_s).limit, 3);
    EXPECT_EQ(parsed<command::Recent>(u"recent --limit 2147483647"_s).limit, 2147483647);
}

TEST(CommandLine, givesHelpWhereverItIsAskedFor)
{
    parsed<command::Help>(u"--help"_s);
    parsed<command::Help>(u"-h"_s);
    parsed<command::Help>(u"status --help"_s);
    parsed<command::Help>(u"--nonsense --help"_s);
}

TEST(CommandLine, looksForHelpBehindTheDoubleDashAsForAnyWord)
{
    EXPECT_EQ(parsed<command::Search>(u"search -- --help"_s).words, QStringList { u"--help"_s });
}

class WrongUsage : public TestWithParam<QStringList>
{};

TEST_P(WrongUsage, isToldInOneLine)
{
    const QString message = errorOf(GetParam());

    EXPECT_FALSE(message.isEmpty());
    EXPECT_FALSE(message.contains(u'\n'));
}

INSTANTIATE_TEST_SUITE_P(
    CommandLine, WrongUsage,
    Values(QStringList { u"stauts"_s }, QStringList { u""_s }, QStringList { u"--nonsense"_s },
           QStringList { u"--headless"_s, u"now"_s }, QStringList { u"--headless"_s, u"--demo"_s },
           QStringList { u"--headless"_s, u"--json"_s }, QStringList { u"--version"_s, u"now"_s },
           QStringList { u"status"_s, u"--limit"_s, u"3"_s }, QStringList { u"status"_s, u"abc"_s },
           QStringList { u"status"_s, u"--stop"_s }, QStringList { u"allow"_s }, QStringList { u"allow"_s, u""_s },
           QStringList { u"allow"_s, u"a"_s, u"b"_s }, QStringList { u"allow"_s, u"a"_s, u"--json"_s },
           QStringList { u"allow"_s, u"--"_s }, QStringList { u"answer"_s, u"a"_s },
           QStringList { u"answer"_s, u"a"_s, u"x"_s }, QStringList { u"answer"_s, u"a"_s, u"-1"_s },
           QStringList { u"answer"_s, u"a"_s, u"1.0"_s }, QStringList { u"answer"_s, u"a"_s, u"2147483648"_s },
           QStringList { u"answer"_s, u"a"_s, u"1"_s, u"2"_s }, QStringList { u"send"_s, u"a"_s },
           QStringList { u"send"_s, u"a"_s, u" "_s, u"\n"_s }, QStringList { u"send"_s, u""_s, u"a"_s },
           QStringList { u"focus"_s }, QStringList { u"launch"_s }, QStringList { u"launch"_s, u"a"_s, u"b"_s },
           QStringList { u"launch"_s, u"a"_s, u"--resume"_s }, QStringList { u"launch"_s, u"a"_s, u"--resume="_s },
           QStringList { u"launch"_s, u"a"_s, u"--mode"_s }, QStringList { u"launch"_s, u"a"_s, u"--mode=plan"_s },
           QStringList { u"launch"_s, u"a"_s, u"--json"_s },
           QStringList { u"launch"_s, u"a"_s, u"--continue"_s, u"--resume"_s, u"b"_s }, QStringList { u"messages"_s },
           QStringList { u"messages"_s, u"a"_s, u"b"_s }, QStringList { u"projects"_s, u"a"_s },
           QStringList { u"recent"_s, u"--continue"_s }, QStringList { u"kill"_s, u"a"_s, u"--stop"_s },
           QStringList { u"search"_s }, QStringList { u"search"_s, u" "_s },
           QStringList { u"search"_s, u"a"_s, u"--limit"_s }, QStringList { u"search"_s, u"a"_s, u"--limit"_s, u"0"_s },
           QStringList { u"search"_s, u"a"_s, u"--limit=-1"_s },
           QStringList { u"recent"_s, u"--limit"_s, u"2147483648"_s },
           QStringList { u"recent"_s, u"--limit"_s, u"3.5"_s }, QStringList { u"recent"_s, u"--limit"_s, u"x"_s },
           QStringList { u"recent"_s, u"--limit="_s }, QStringList { u"recent"_s, u"a"_s }, QStringList { u"hook"_s },
           QStringList { u"hook"_s, u"remove"_s }, QStringList { u"hook"_s, u"--json"_s },
           QStringList { u"hook"_s, u"install"_s, u"now"_s }, QStringList { u"quit"_s, u"now"_s }));

TEST(CommandLine, namesWhatItDoesNotKnow)
{
    EXPECT_TRUE(errorOf({ u"stauts"_s }).contains(u"stauts"));
    EXPECT_TRUE(errorOf({ u"status"_s, u"--jsn"_s }).contains(u"--jsn"));
}

TEST(CommandLine, helpNamesEveryCommand)
{
    for (const QString &word : { u"--headless"_s, u"--demo"_s, u"status"_s, u"watch"_s, u"allow"_s, u"deny"_s,
                                 u"--stop"_s, u"always-allow"_s, u"kill"_s, u"search"_s, u"recent"_s, u"hook install"_s,
                                 u"hook status"_s, u"doctor"_s, u"show"_s, u"settings"_s, u"quit"_s, u"--version"_s })
        EXPECT_TRUE(helpText().contains(word)) << word.toStdString();
}

TEST(CommandLine, helpFitsAnOrdinaryTerminal)
{
    for (const QString &line : helpText().split(u'\n'))
        EXPECT_LE(line.size(), 80) << line.toStdString();
}

} // namespace
} // namespace vantry
