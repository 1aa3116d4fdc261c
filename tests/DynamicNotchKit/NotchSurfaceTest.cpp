#include "DynamicNotchFixture.h"

#include <gtest/gtest.h>

namespace vantry::test {
namespace {

using enum DynamicNotchState;
using namespace std::chrono_literals;

class NotchSurfaceTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        surface.begin({ .notchSize = { 200, 28 }, .screenSize = { 1920, 1080 } });
        surface.setWindow(960, 1);
        surface.setLeadingContentWidth(26);
        surface.setTrailingContentWidth(26);
        surface.setExpandedContentSize({ 390, 420 });
    }
    void show(DynamicNotchState state)
    {
        surface.setState(state, { 0.4, 1.0 });
        clock.advance(3s);
        surface.advance();
    }

    ManualClock clock;
    NotchSurface surface { clock, {}, {} };
};

TEST_F(NotchSurfaceTest, standsOnWholePixelsInEveryFrame)
{
    surface.setState(expanded, { 0.4, 0.7 });
    for (int i = 0; i < 60; ++i) {
        clock.advance(0.016s);
        surface.advance();
        const QRectF rect = surface.shapeRect();
        EXPECT_EQ(rect, QRectF(rect.toRect()));
        EXPECT_NEAR(rect.center().x(), 480, 0.5);
    }
    surface.setWindow(960, 2);
    surface.setState(compact, { 0.4, 0.7 });
    clock.advance(0.051s);
    surface.advance();
    const QRectF rect = surface.shapeRect();
    EXPECT_EQ(2 * rect.height(), std::round(2 * rect.height()));
}

TEST_F(NotchSurfaceTest, keepsItsContentClearOfTheRoundedCorners)
{
    surface.setState(expanded, { 0.4, 0.7 });
    for (int i = 0; i < 60; ++i) {
        clock.advance(0.016s);
        surface.advance();
        const QRectF clip = surface.contentClip();
        if (clip.isEmpty())
            continue;
        const QRect pixels = clip.toRect();
        EXPECT_TRUE(surface.region().contains(pixels.topLeft()));
        EXPECT_TRUE(surface.region().contains(pixels.bottomLeft()));
        EXPECT_TRUE(surface.region().contains(pixels.bottomRight()));
    }
}

TEST_F(NotchSurfaceTest, keepsItsContentsInPlaceWhileTheShapeMoves)
{
    show(compact);
    EXPECT_EQ(surface.leadingRect(), QRectF(354, 0, 26, 28));
    EXPECT_EQ(surface.trailingRect(), QRectF(580, 0, 26, 28));
    surface.setState(expanded, { 0.4, 0.7 });
    for (int i = 0; i < 10; ++i) {
        clock.advance(0.03s);
        surface.advance();
        EXPECT_EQ(surface.expandedRect(), QRectF(285, 28, 390, 420));
        EXPECT_EQ(surface.leadingRect(), QRectF(354, 0, 26, 28));
    }
}

TEST_F(NotchSurfaceTest, showsTheCompactSidesOrTheContentButNeverBothInFull)
{
    show(compact);
    EXPECT_EQ(surface.compactOpacity(), 1);
    EXPECT_EQ(surface.expandedOpacity(), 0);
    surface.setState(expanded, { 0.4, 0.85 });
    for (int i = 0; i < 40; ++i) {
        clock.advance(0.016s);
        surface.advance();
        EXPECT_LE(surface.compactOpacity() + surface.expandedOpacity(), 1.01);
    }
    EXPECT_EQ(surface.compactOpacity(), 0);
    EXPECT_EQ(surface.expandedOpacity(), 1);
    show(hidden);
    EXPECT_EQ(surface.compactOpacity(), 0);
    EXPECT_EQ(surface.expandedOpacity(), 0);
}

TEST_F(NotchSurfaceTest, goesOnAsItWasWhenSomethingIsMeasuredThatItDoesNotShow)
{
    show(compact);
    surface.setState(expanded, { 0.4, 0.7 });
    clock.advance(0.1s);
    surface.advance();
    surface.setLeadingContentWidth(40);
    surface.setExpandedContentSize({ 390, 420 });
    clock.advance(0.1s);
    surface.advance();
    const auto alone = Spring::motionAfter(0.2s, { 28 - 456, 0 }, { 0.4, 0.7 });
    EXPECT_NEAR(surface.form().height, 456 + alone.displacement, 1e-6);
}

TEST_F(NotchSurfaceTest, rests)
{
    show(compact);
    EXPECT_FALSE(surface.isAnimating());
    int changes = 0;
    QObject::connect(&surface, &NotchSurface::changed, &surface, [&changes] { ++changes; });
    clock.advance(5s);
    EXPECT_EQ(changes, 0);
}

TEST_F(NotchSurfaceTest, takesOddMeasuresForNone)
{
    surface.setLeadingContentWidth(-30);
    surface.setTrailingContentWidth(-1);
    surface.setExpandedContentSize({ -5, -8 });
    show(compact);
    EXPECT_EQ(surface.shapeRect(), QRectF(380, 0, 200, 28));
    show(expanded);
    EXPECT_EQ(surface.expandedRect().size(), QSizeF(0, 0));
}

} // namespace
} // namespace vantry::test
