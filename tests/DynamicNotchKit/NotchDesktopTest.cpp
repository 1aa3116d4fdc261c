#include "desktop/support/Desktop.h"

#include <QRect>
#include <QRegularExpression>

#include <gmock/gmock.h>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;
using ::testing::HasSubstr;
using ::testing::Not;

/// The surface in a process of its own, over an ordinary window that covers the screen; the pointer and the keyboard
/// are real. With a compositor and without one.
class NotchDesktopTest : public ::testing::TestWithParam<bool>
{
protected:
    void SetUp() override
    {
        if (GetParam())
            desktop.start(u"picom"_s, { u"--backend"_s, u"xrender"_s });
        movePointer(960, 900);
        begin(ground, { u"--ground"_s });
        ASSERT_TRUE(eventually([this] { return desktop.activeWindow() != 0; }));
        groundWindow = desktop.activeWindow();
        begin(probe, {});
        ASSERT_TRUE(reports(GetParam() ? "compositor 1" : "compositor 0"));
        (void)tell(u"compact"_s);
        ASSERT_TRUE(rests());
    }
    void begin(ChildProcess &process, const QStringList &arguments)
    {
        process.setProgram(QStringLiteral(VANTRY_NOTCH_PROBE));
        process.setArguments(arguments);
        process.setProcessEnvironment(desktop.environment());
        process.begin();
    }
    std::string tell(ChildProcess &process, const QString &command)
    {
        process.write(command.toUtf8() + '\n');
        return process.nextLine();
    }
    std::string tell(const QString &command) { return tell(probe, command); }
    std::string report() { return tell(u"report"_s); }
    [[nodiscard]] bool reports(const std::string &part)
    {
        return eventually([&] { return report().find(part) != std::string::npos; });
    }
    [[nodiscard]] bool groundReports(const std::string &part)
    {
        return eventually([&] { return tell(ground, u"report"_s).find(part) != std::string::npos; });
    }
    [[nodiscard]] bool rests() { return reports("moving 0"); }
    [[nodiscard]] bool expands()
    {
        (void)tell(u"expand"_s);
        return rests();
    }
    quint64 window() { return QString::fromStdString(report()).section(u' ', 1, 1).toULongLong(); }
    [[nodiscard]] bool isColor(int x, int y, const std::string &name)
    {
        return eventually([&] { return tell(u"pixel %1 %2"_s.arg(x).arg(y)) == name; });
    }
    void movePointer(int x, int y)
    {
        (void)desktop.outputOf(u"xdotool"_s, { u"mousemove"_s, QString::number(x), QString::number(y) });
    }
    void click(int x, int y)
    {
        movePointer(x, y);
        (void)desktop.outputOf(u"xdotool"_s, { u"click"_s, u"1"_s });
    }
    void type(const QString &key) { (void)desktop.outputOf(u"xdotool"_s, { u"key"_s, key }); }

    Desktop desktop { { .windowManager = true } };
    ChildProcess probe { {}, {}, {} };
    ChildProcess ground { {}, {}, {} };
    quint64 groundWindow { 0 };
};

INSTANTIATE_TEST_SUITE_P(Compositor, NotchDesktopTest, ::testing::Bool(),
                         [](const auto &test) { return test.param ? "with" : "without"; });

TEST_P(NotchDesktopTest, standsAtTheTopCentreAboveOthersAndInNoWindowList)
{
    const QString id = QString::number(window());
    const std::string facts = desktop.outputOf(u"xwininfo"_s, { u"-id"_s, id }).toStdString();
    EXPECT_THAT(facts, HasSubstr("Absolute upper-left X:  480\n"));
    EXPECT_THAT(facts, HasSubstr("Absolute upper-left Y:  0\n"));
    EXPECT_THAT(facts, HasSubstr("Width: 960\n"));
    EXPECT_THAT(facts, HasSubstr("Height: 540\n"));
    EXPECT_THAT(facts, HasSubstr("Override Redirect State: yes"));
    const QString clients = desktop.outputOf(u"xprop"_s, { u"-root"_s, u"_NET_CLIENT_LIST"_s });
    EXPECT_FALSE(clients.contains(QString::number(window(), 16)));
    const std::string states = desktop.outputOf(u"xprop"_s, { u"-id"_s, id }).toStdString();
    EXPECT_THAT(states, HasSubstr("_NET_WM_DESKTOP(CARDINAL) = 4294967295"));

    EXPECT_TRUE(isColor(960, 10, "#000000"));
    EXPECT_TRUE(isColor(960, 300, "#ff0000")) << "below the shape the other window is seen";

    // Also above windows that come later, and on other desktops.
    (void)desktop.outputOf(u"xdotool"_s, { u"windowraise"_s, QString::number(groundWindow) });
    ChildProcess second({}, {}, {});
    begin(second, { u"--ground"_s });
    ASSERT_TRUE(eventually([this] { return desktop.activeWindow() != groundWindow; }));
    EXPECT_TRUE(isColor(960, 10, "#000000"));
    (void)desktop.outputOf(u"xdotool"_s, { u"set_desktop"_s, u"1"_s });
    EXPECT_TRUE(isColor(960, 10, "#000000"));
    EXPECT_TRUE(desktop.isShown(window()));
}

TEST_P(NotchDesktopTest, isHoveredByARealPointerOnlyOverItsShape)
{
    movePointer(960, 10);
    EXPECT_TRUE(reports("hovering 1"));
    movePointer(960, 60);
    EXPECT_TRUE(reports("hovering 0"));
    movePointer(860 - 18, 20);
    EXPECT_TRUE(reports("hovering 1"));
    movePointer(860 - 24, 20);
    EXPECT_TRUE(reports("hovering 0"));
}

TEST_P(NotchDesktopTest, noticesThatItGrewUnderThePointer)
{
    movePointer(960, 200);
    EXPECT_TRUE(reports("hovering 0"));
    ASSERT_TRUE(expands());
    EXPECT_TRUE(reports("hovering 1"));
    (void)tell(u"compact"_s);
    EXPECT_TRUE(reports("hovering 0"));
}

TEST_P(NotchDesktopTest, letsClicksBesideItsShapeReachTheWindowBelow)
{
    click(960, 200);
    EXPECT_TRUE(groundReports("clicks 1"));
    click(600, 5);
    EXPECT_TRUE(groundReports("clicks 2"));
    ASSERT_TRUE(expands());
    click(960, 200);
    EXPECT_TRUE(reports("clicks 1"));
    click(960 - 214 + 5, 200);
    EXPECT_TRUE(groundReports("clicks 3")) << "beside the expanded shape, inside of its rectangle";
    click(960, 500);
    EXPECT_TRUE(groundReports("clicks 4"));
    EXPECT_TRUE(isColor(960, 200, "#1d1e21")) << "the content";
    (void)tell(u"hide"_s);
    EXPECT_TRUE(reports("none"));
    click(960, 5);
    EXPECT_TRUE(groundReports("clicks 5"));
}

TEST_P(NotchDesktopTest, leavesTheFocusWhereItIsUntilItIsClickedIntoAndGivesItBack)
{
    movePointer(960, 10);
    ASSERT_TRUE(reports("hovering 1"));
    type(u"a"_s);
    EXPECT_TRUE(groundReports("typed a"));
    ASSERT_TRUE(expands());
    (void)tell(u"key"_s);
    type(u"b"_s);
    EXPECT_TRUE(groundReports("typed ab"));
    EXPECT_EQ(desktop.activeWindow(), groundWindow);

    click(960, 200);
    ASSERT_TRUE(reports("active 1"));
    type(u"c"_s);
    EXPECT_TRUE(reports("typed c"));
    EXPECT_THAT(tell(ground, u"report"_s), Not(HasSubstr("typed abc")));

    (void)tell(u"compact"_s);
    ASSERT_TRUE(reports("active 0"));
    EXPECT_TRUE(desktop.waitUntilActive(groundWindow));
    type(u"d"_s);
    EXPECT_TRUE(groundReports("typed abd"));
}

TEST_P(NotchDesktopTest, losesTheFocusToWhoIsClickedIntoNext)
{
    ASSERT_TRUE(expands());
    (void)tell(u"key"_s);
    click(960, 200);
    ASSERT_TRUE(reports("active 1"));
    click(300, 800);
    ASSERT_TRUE(reports("active 0"));
    type(u"a"_s);
    EXPECT_TRUE(groundReports("typed a"));
    click(960, 200);
    ASSERT_TRUE(reports("active 1"));
    type(u"b"_s);
    EXPECT_TRUE(reports("typed b"));
}

TEST_P(NotchDesktopTest, survivesThatItsScreenGoes)
{
    (void)desktop.outputOf(u"xrandr"_s, { u"--setmonitor"_s, u"LEFT"_s, u"960/250x1080/280+0+0"_s, u"screen"_s });
    (void)desktop.outputOf(u"xrandr"_s, { u"--setmonitor"_s, u"RIGHT"_s, u"960/250x1080/280+960+0"_s, u"none"_s });
    ASSERT_TRUE(reports("screens 2"));
    (void)tell(u"hide"_s);
    (void)tell(u"expand 1"_s);
    ASSERT_TRUE(rests());
    const auto left = [this] {
        return desktop.outputOf(u"xwininfo"_s, { u"-id"_s, QString::number(window()) })
            .section(u"upper-left X:"_s, 1)
            .section(u'\n', 0, 0)
            .trimmed()
            .toInt();
    };
    EXPECT_GE(left(), 960);
    (void)desktop.outputOf(u"xrandr"_s, { u"--delmonitor"_s, u"RIGHT"_s });
    ASSERT_TRUE(reports("screens 1"));
    (void)tell(u"hide"_s);
    (void)tell(u"compact 0"_s);
    ASSERT_TRUE(rests());
    EXPECT_LT(left(), 960);
    EXPECT_TRUE(desktop.isShown(window()));
}

} // namespace
} // namespace vantry::test
