#include "platform/linux/X11WindowDriver.h"

#include "support/FakeApplications.h"

#include <gmock/gmock.h>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class X11WindowDriverTest : public ::testing::Test
{
protected:
    X11WindowDriverTest() { qputenv("DISPLAY", ":0"); }

    static TerminalTarget target(const QString &window, std::optional<std::int64_t> shellPid = {})
    {
        return { u"x11-window"_s, window, shellPid };
    }

    FakeApplications applications;
    X11WindowDriver driver { applications };
};

TEST_F(X11WindowDriverTest, readsWindowsAsDecimalAndAsHexadecimal)
{
    EXPECT_EQ(X11WindowDriver::parseWindow(u"4194316"_s), 4194316);
    EXPECT_EQ(X11WindowDriver::parseWindow(u"0x40000c"_s), 0x40000c);
    EXPECT_EQ(X11WindowDriver::parseWindow(u"0X40000C"_s), 0x40000c);
    EXPECT_EQ(X11WindowDriver::parseWindow(u"4294967295"_s), 0xffffffff);
}

TEST_F(X11WindowDriverTest, takesNothingElseForAWindow)
{
    for (const QString &text :
         QStringList { u""_s, u"0"_s, u"0x"_s, u"0x0"_s, u"-1"_s, u"+1"_s, u" 1"_s, u"1 "_s, u"1e3"_s, u"40000c"_s,
                       u"4294967296"_s, u"0x100000000"_s, u"99999999999999999999999"_s, u"$(id)"_s, u"\u0661"_s,
                       QString(100'000, u'9') })
        EXPECT_FALSE(X11WindowDriver::parseWindow(text)) << text.left(40).toStdString();
}

TEST_F(X11WindowDriverTest, handlesItsTypeAlone)
{
    EXPECT_TRUE(driver.handles(u"x11-window"_s));
    for (const QString &type : { u"X11-window"_s, u"tmux-pane"_s, u"kitty"_s, u""_s })
        EXPECT_FALSE(driver.handles(type)) << type.toStdString();
}

TEST_F(X11WindowDriverTest, onlyBringsForward)
{
    const TerminalDriver::Abilities focusAlone { .focus = true };

    EXPECT_EQ(driver.abilities(target(u"5"_s)), focusAlone);
    EXPECT_EQ(driver.abilities(target({}, 100)), focusAlone);
    EXPECT_EQ(driver.abilities(target(u"nonsense"_s, 100)), focusAlone);
    EXPECT_FALSE(driver.findPlaceToOpen());
}

TEST_F(X11WindowDriverTest, canDoNothingWithoutAWindowAndAShell)
{
    EXPECT_EQ(driver.abilities(target({})), TerminalDriver::Abilities {});
    EXPECT_EQ(driver.abilities(target(u"nonsense"_s)), TerminalDriver::Abilities {});
}

TEST_F(X11WindowDriverTest, canDoNothingWithoutADisplay)
{
    qunsetenv("DISPLAY");

    EXPECT_EQ(driver.abilities(target(u"5"_s, 100)), TerminalDriver::Abilities {});
}

TEST_F(X11WindowDriverTest, raisesTheWindowThatWasReported)
{
    applications.windows = { 5, 7 };
    applications.windowsOfProcesses = { { 100, 7 } };

    EXPECT_EQ(driver.focus(target(u"5"_s, 100)), std::nullopt);

    EXPECT_THAT(applications.calls(), ElementsAre(u"raise 5"_s));
}

TEST_F(X11WindowDriverTest, looksForTheShellsWindowWhenNoneWasReportedOrThatOneIsGone)
{
    applications.windows = { 7 };
    applications.windowsOfProcesses = { { 100, 7 } };

    EXPECT_EQ(driver.focus(target({}, 100)), std::nullopt);
    EXPECT_EQ(driver.focus(target(u"5"_s, 100)), std::nullopt);

    EXPECT_THAT(applications.calls(), ElementsAre(u"raise 7"_s, u"raise 5"_s, u"raise 7"_s));
}

TEST_F(X11WindowDriverTest, saysThatThereIsNoWindow)
{
    applications.windowsOfProcesses = { { 100, 7 } };

    EXPECT_TRUE(driver.focus(target({})));
    EXPECT_TRUE(driver.focus(target(u"5"_s)));
    EXPECT_TRUE(driver.focus(target(u"5"_s, 100))) << "gone between the question and the call";
    EXPECT_TRUE(driver.focus(target({}, 200)));
}

TEST_F(X11WindowDriverTest, refusesAllElse)
{
    EXPECT_TRUE(driver.typeText(target(u"5"_s), u"text"_s));
    EXPECT_TRUE(driver.pressReturn(target(u"5"_s)));
    EXPECT_TRUE(driver.close(target(u"5"_s)));
    EXPECT_TRUE(driver.open(target(u"5"_s), { u"/"_s, u"true"_s }));
    EXPECT_THAT(applications.calls(), IsEmpty());
}

TEST_F(X11WindowDriverTest, tellsWhatCannotBeDoneWithAPlainWindow)
{
    EXPECT_TRUE(driver.examine(target(u"5"_s)));
    EXPECT_TRUE(driver.examine(target({})));
    EXPECT_FALSE(driver.examine({ u"tmux-pane"_s, {}, {} }));
}

} // namespace
} // namespace vantry::test
