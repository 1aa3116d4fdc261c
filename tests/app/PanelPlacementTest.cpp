#include "app/PanelPlacement.h"

#include <gmock/gmock.h>

namespace vantry {
namespace {

/// A bar of this height at one edge of a screen.
constexpr int bar = 30;
constexpr QSize panel(380, 440);

ScreenArea screenWith(QRect geometry, int left, int top, int right, int bottom)
{
    return { geometry, geometry.adjusted(left, top, -right, -bottom) };
}

ScreenArea plainScreen(QRect geometry = QRect(0, 0, 1920, 1080))
{
    return { geometry, geometry };
}

QRect iconAt(int x, int y)
{
    return QRect(x, y, 22, 22);
}

TEST(PanelPlacement, hangsBelowAnIconInATopBar)
{
    const auto screen = screenWith(QRect(0, 0, 1920, 1080), 0, bar, 0, 0);

    const QRect placed = placePanel(panel, { iconAt(1000, 4) }, { screen });

    EXPECT_EQ(placed, QRect(QPoint(1010 - 190, bar + panelGap), panel));
}

TEST(PanelPlacement, standsAboveAnIconInABottomBar)
{
    const auto screen = screenWith(QRect(0, 0, 1920, 1080), 0, 0, 0, bar);

    const QRect placed = placePanel(panel, { iconAt(1000, 1054) }, { screen });

    EXPECT_EQ(placed, QRect(QPoint(1010 - 190, 1080 - bar - panelGap - 440), panel));
}

TEST(PanelPlacement, standsBesideAnIconInABarAtASide)
{
    const auto left = screenWith(QRect(0, 0, 1920, 1080), bar, 0, 0, 0);
    const auto right = screenWith(QRect(0, 0, 1920, 1080), 0, 0, bar, 0);

    EXPECT_EQ(placePanel(panel, { iconAt(4, 500) }, { left }), QRect(QPoint(bar + panelGap, 510 - 220), panel));
    EXPECT_EQ(placePanel(panel, { iconAt(1894, 500) }, { right }),
              QRect(QPoint(1920 - bar - panelGap - 380, 510 - 220), panel));
    // In the bar's last corner it keeps inside.
    EXPECT_EQ(placePanel(panel, { iconAt(4, 1054) }, { left }).bottom(), 1080 - panelGap - 1);
}

TEST(PanelPlacement, keepsInsideTheScreenBesideAnIconInTheCorner)
{
    const auto screen = screenWith(QRect(0, 0, 1920, 1080), 0, bar, 0, 0);

    EXPECT_EQ(placePanel(panel, { iconAt(1896, 4) }, { screen }).right(), 1920 - panelGap - 1);
    EXPECT_EQ(placePanel(panel, { iconAt(0, 4) }, { screen }).left(), panelGap);
}

TEST(PanelPlacement, keepsOffTheIconOfABarThatHidesItself)
{
    const QRect above = placePanel(panel, { iconAt(1000, 0) }, { plainScreen() });
    const QRect below = placePanel(panel, { iconAt(1000, 1058) }, { plainScreen() });

    EXPECT_EQ(above.top(), 22 + panelGap);
    EXPECT_EQ(below.bottom(), 1058 - panelGap - 1);
}

TEST(PanelPlacement, opensOnTheScreenOfTheIcon)
{
    const auto primary = screenWith(QRect(0, 0, 1920, 1080), 0, bar, 0, 0);
    const auto leftOfIt = screenWith(QRect(-1280, 100, 1280, 720), 0, bar, 0, 0);
    const auto aboveIt = screenWith(QRect(0, -1440, 2560, 1440), 0, 0, 0, bar);
    const QList<ScreenArea> screens { primary, leftOfIt, aboveIt };

    EXPECT_EQ(placePanel(panel, { iconAt(-40, 104) }, screens), QRect(QPoint(-380 - panelGap, 134), panel));
    EXPECT_EQ(placePanel(panel, { iconAt(2000, -26) }, screens),
              QRect(QPoint(2010 - 190, -bar - panelGap - 440), panel));
}

TEST(PanelPlacement, opensWhereTheIconWasClickedWhenTheTrayDoesNotTell)
{
    const auto screen = screenWith(QRect(0, 0, 1920, 1080), 0, bar, 0, 0);
    const auto second = screenWith(QRect(1920, 0, 1920, 1080), 0, 0, 0, bar);

    EXPECT_EQ(placePanel(panel, { {}, QPoint(1000, 15) }, { screen, second }),
              QRect(QPoint(1000 - 190, bar + panelGap), panel));
    EXPECT_EQ(placePanel(panel, { {}, QPoint(3000, 1070) }, { screen, second }),
              QRect(QPoint(3000 - 190, 1080 - bar - panelGap - 440), panel));
}

TEST(PanelPlacement, opensInTheCornerAtTheBarWhenNothingIsKnown)
{
    const auto top = screenWith(QRect(0, 0, 1920, 1080), 0, bar, 0, 0);
    const auto bottom = screenWith(QRect(0, 0, 1920, 1080), 0, 0, 0, bar);
    const auto both = screenWith(QRect(0, 0, 1920, 1080), 0, bar, 0, bar);
    const int left = 1920 - panelGap - 380;

    EXPECT_EQ(placePanel(panel, {}, { plainScreen() }).topLeft(), QPoint(left, panelGap));
    EXPECT_EQ(placePanel(panel, {}, { top }).topLeft(), QPoint(left, bar + panelGap));
    EXPECT_EQ(placePanel(panel, {}, { both }).topLeft(), QPoint(left, bar + panelGap));
    EXPECT_EQ(placePanel(panel, {}, { bottom }).topLeft(), QPoint(left, 1080 - bar - panelGap - 440));
}

TEST(PanelPlacement, takesAnIconOutsideOfAllScreensForUnknown)
{
    const QRect placed = placePanel(panel, { iconAt(-500, -500) }, { plainScreen() });

    EXPECT_EQ(placed, placePanel(panel, {}, { plainScreen() }));
}

TEST(PanelPlacement, goesToTheNearestScreenWhenTheClickedOneHasGone)
{
    const QRect placed = placePanel(panel, { {}, QPoint(3000, 15) }, { plainScreen() });

    EXPECT_TRUE(QRect(0, 0, 1920, 1080).contains(placed));
}

TEST(PanelPlacement, isNeverLargerThanTheScreen)
{
    const auto small = screenWith(QRect(0, 0, 640, 400), 0, bar, 0, 0);

    EXPECT_EQ(placePanel(panel * 2, { iconAt(600, 4) }, { small }),
              small.available.adjusted(panelGap, panelGap, -panelGap, -panelGap));
    EXPECT_EQ(placePanel(panel * 2, {}, { small }), small.available.adjusted(panelGap, panelGap, -panelGap, -panelGap));
}

TEST(PanelPlacement, worksWithoutAScreen)
{
    EXPECT_EQ(placePanel(panel, {}, {}).size(), panel);
    EXPECT_EQ(resizePanel(QRect(QPoint(10, 10), panel), panel * 2, {}).topLeft(), QPoint(10, 10));
}

TEST(PanelPlacement, keepsTheEdgeAtTheBarWhenTheSizeChanges)
{
    const auto top = screenWith(QRect(0, 0, 1920, 1080), 0, bar, 0, 0);
    const auto bottom = screenWith(QRect(0, 0, 1920, 1080), 0, 0, 0, bar);
    const QRect hanging = placePanel(panel, { iconAt(1000, 4) }, { top });
    const QRect standing = placePanel(panel, { iconAt(1000, 1054) }, { bottom });
    const QSize larger(500, 600);

    const QRect grownDown = resizePanel(hanging, larger, { top });
    const QRect grownUp = resizePanel(standing, larger, { bottom });

    EXPECT_EQ(grownDown.top(), hanging.top());
    EXPECT_EQ(grownUp.bottom(), standing.bottom());
    EXPECT_EQ(grownDown.size(), larger);
    EXPECT_NEAR(grownDown.center().x(), hanging.center().x(), 1);
    EXPECT_EQ(resizePanel(hanging, panel, { top }), hanging);
}

TEST(PanelPlacement, keepsInsideTheScreenWhenTheSizeChanges)
{
    const auto screen = screenWith(QRect(0, 0, 1920, 1080), 0, bar, 0, 0);
    const QRect inCorner = placePanel(panel, {}, { screen });

    const QRect grown = resizePanel(inCorner, QSize(3000, 3000), { screen });

    EXPECT_EQ(grown, screen.available.adjusted(panelGap, panelGap, -panelGap, -panelGap));
}

} // namespace
} // namespace vantry
