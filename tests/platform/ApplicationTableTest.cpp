#include "platform/linux/ApplicationTable.h"

#include "platform/linux/LinuxApplications.h"

#include <gmock/gmock.h>

namespace vantry {
namespace {

using namespace Qt::StringLiterals;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(ApplicationTable, knowsTheWindowsOfEachEditorByItsBundle)
{
    EXPECT_THAT(windowClassesOfBundle(u"com.microsoft.VSCode"_s), Contains(u"code"_s));
    EXPECT_THAT(windowClassesOfBundle(u"com.microsoft.VSCodeInsiders"_s), Contains(u"code - insiders"_s));
    EXPECT_THAT(windowClassesOfBundle(u"com.todesktop.230313mzl4w4u92"_s), Contains(u"cursor"_s));
    EXPECT_THAT(windowClassesOfBundle(u"com.exafunction.windsurf"_s), Contains(u"windsurf"_s));
}

TEST(ApplicationTable, knowsNoWindowsOfAnUnknownBundle)
{
    EXPECT_THAT(windowClassesOfBundle(u"com.example.editor"_s), IsEmpty());
    EXPECT_THAT(windowClassesOfBundle({}), IsEmpty());
}

TEST(ApplicationTable, knowsTheWindowsOfEachTerminalByItsName)
{
    EXPECT_THAT(windowClassesOf(u"kitty"_s), ElementsAre(u"kitty"_s));
    EXPECT_THAT(windowClassesOf(u"Alacritty"_s), ElementsAre(u"alacritty"_s));
    EXPECT_THAT(windowClassesOf(u"Ghostty"_s), Contains(u"com.mitchellh.ghostty"_s));
    EXPECT_THAT(windowClassesOf(u"Warp"_s), Contains(u"dev.warp.warp"_s));
    EXPECT_THAT(windowClassesOf(u"Visual Studio Code"_s), Contains(u"code"_s));
}

TEST(ApplicationTable, takesTheDesktopsOwnTerminalsForTheTerminal)
{
    for (const QString &windowClass : { u"Gnome-terminal"_s, u"konsole"_s, u"Xfce4-terminal"_s, u"XTerm"_s })
        EXPECT_EQ(applicationNameOf(windowClass), u"Terminal"_s) << windowClass.toStdString();
}

TEST(ApplicationTable, looksForAnApplicationThatItDoesNotKnowByItsName)
{
    EXPECT_THAT(windowClassesOf(u"Firefox"_s), ElementsAre(u"firefox"_s));
    EXPECT_EQ(applicationNameOf(u"Firefox"_s), u"Firefox"_s);
}

TEST(ApplicationTable, namesAnApplicationByItsWindowInAnyCase)
{
    EXPECT_EQ(applicationNameOf(u"Code"_s), u"Visual Studio Code"_s);
    EXPECT_EQ(applicationNameOf(u"code"_s), u"Visual Studio Code"_s);
    EXPECT_EQ(applicationNameOf(u"Code - Insiders"_s), u"Visual Studio Code - Insiders"_s);
    EXPECT_EQ(applicationNameOf(u"dev.warp.Warp"_s), u"Warp"_s);
    EXPECT_EQ(applicationNameOf(u"com.mitchellh.ghostty"_s), u"Ghostty"_s);
}

TEST(ApplicationTable, doesNotTakeAnotherBuildOfAnEditorForIt)
{
    EXPECT_EQ(applicationNameOf(u"VSCodium"_s), u"VSCodium"_s);
}

TEST(ActivationToken, holdsTheTimeOfTheUsersActAtItsEnd)
{
    EXPECT_EQ(LinuxApplications::userTimeOf(u"dunst/4711-0-desktop_TIME123456"_s), 123456U);
    EXPECT_EQ(LinuxApplications::userTimeOf(u"_TIME1_TIME2"_s), 2U);
    for (const auto &other : { u""_s, u"kwin-5"_s, u"x_TIME"_s, u"x_TIME-1"_s, u"x_TIME99999999999"_s, u"x_TIME1x"_s })
        EXPECT_EQ(LinuxApplications::userTimeOf(other), 0U);
}

} // namespace
} // namespace vantry
