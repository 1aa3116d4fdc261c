#include "app/manual/ManualPage.h"

#include "RunProgram.h"
#include "app/CommandTable.h"

#include <gmock/gmock.h>

namespace vantry::test {
namespace {

const QString madePage = QStringLiteral(VANTRY_MADE "/vantry.1");

/// The page as a reader sees it, on lines that are long enough for every term.
QString shownPage()
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("LC_ALL", "C.UTF-8");
    const ProgramResult result =
        runProgram("groff", { "-man", "-Tutf8", "-P-cbou", "-rLL=200n", "-ww", madePage }, {}, environment);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    return result.out;
}

TEST(ManualPage, isWellFormed)
{
    EXPECT_FALSE(shownPage().isEmpty());
}

TEST(ManualPage, showsEveryCommandWithWhatItTakes)
{
    const QString page = shownPage();
    for (const CommandEntry *command : allCommands()) {
        const QString line = usage(*command);
        // A short one stands on the same line as what it means.
        EXPECT_TRUE(page.contains("\n       " + line + '\n') || page.contains("\n       " + line + "  "))
            << line.toStdString();
        EXPECT_TRUE(page.contains(command->description.first(30))) << line.toStdString();
    }
}

TEST(ManualPage, tellsOfOptionsModesCodesVariablesAndFiles)
{
    const QString page = shownPage();
    for (const OptionEntry &option : startOptions())
        EXPECT_TRUE(page.contains("\n       " + option.name)) << option.name.toString().toStdString();
    for (const AgentPermissionMode mode : allAgentPermissionModes)
        EXPECT_TRUE(page.contains(rawValue(mode))) << rawValue(mode).toStdString();
    for (const auto &list : { exitCodes(), environmentVariables(), files() }) {
        for (const NamedMeaning &entry : list)
            EXPECT_TRUE(page.contains("\n       " + entry.name)) << entry.name.toString().toStdString();
    }
}

TEST(ManualPage, namesTheVersionAndItsDate)
{
    EXPECT_TRUE(manualPage("7.8.9", "2031-02-03").startsWith(".TH VANTRY 1 \"2031-02-03\" \"Vantry 7.8.9\""));
}

} // namespace
} // namespace vantry::test
