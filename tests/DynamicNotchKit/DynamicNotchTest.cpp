#include "DynamicNotchFixture.h"

#include <gtest/gtest.h>

namespace vantry::test {
namespace {

using enum DynamicNotchState;
using namespace std::chrono_literals;

class DynamicNotchTest : public DynamicNotchFixture
{
protected:
    const ScreenInfo screen = screenWithNotch();
    const ScreenInfo plainScreen = screenWithoutNotch();
    const ScreenInfo secondScreen = [] {
        ScreenInfo second = screenWithNotch({ 1920, 0, 2560, 1440 });
        second.name = "two";
        return second;
    }();
    int done = 0;
};

TEST_F(DynamicNotchTest, isHiddenAtFirstAndHasNoWindow)
{
    EXPECT_EQ(notch->state(), hidden);
    EXPECT_FALSE(panel());
    EXPECT_FALSE(notch->isHovering());
    EXPECT_EQ(notch->hoverBehavior().rawValue, 4);
    EXPECT_EQ(DynamicNotchHoverBehavior::all, 7);
}

TEST_F(DynamicNotchTest, showsTheCompactFormInAWindowOfHalfTheScreen)
{
    notch->compact(screen, count(done));
    EXPECT_EQ(notch->state(), compact);
    ASSERT_TRUE(panel());
    EXPECT_TRUE(panel()->isVisible());
    EXPECT_EQ(panel()->geometry(), QRect(480, 0, 960, 540));
    EXPECT_EQ(notch->notchSize(), QSizeF(200, 28));
    EXPECT_EQ(notch->menubarHeight(), 28);
    EXPECT_EQ(overlays.overlays, 1);
    EXPECT_EQ(surface().alpha(), 0) << "it fades in";
    pass(0.15s);
    EXPECT_EQ(surface().alpha(), 1);
    EXPECT_EQ(done, 0);
    pass(0.25s);
    EXPECT_EQ(done, 1);
    pass(1s);
    EXPECT_EQ(surface().shapeRect(), QRectF(480 - 126, 0, 252, 28));
    EXPECT_FALSE(surface().isAnimating());
    EXPECT_EQ(scheduler.activeTimers(), 0U);
}

TEST_F(DynamicNotchTest, returnsAtOnceFromCompactWhileCompact)
{
    notch->compact(screen);
    pass(0.05s);
    const DynamicNotchPanel *before = panel();
    notch->compact(secondScreen, count(done));
    EXPECT_EQ(done, 1) << "without a sleep";
    EXPECT_EQ(panel(), before);
}

TEST_F(DynamicNotchTest, returnsAtOnceFromExpandWhileExpanded)
{
    notch->expand(screen);
    notch->expand(secondScreen, count(done));
    EXPECT_EQ(done, 1);
    EXPECT_EQ(panel()->geometry().x(), 480);
}

TEST_F(DynamicNotchTest, returnsAtOnceFromHideWhileHidden)
{
    notch->hide(count(done));
    EXPECT_EQ(done, 1);
}

TEST_F(DynamicNotchTest, expandsInTheWindowThatIsThere)
{
    notch->compact(screen);
    pass(1s);
    const DynamicNotchPanel *before = panel();
    const QRect frame = panel()->geometry();

    notch->expand(screen, count(done));
    EXPECT_EQ(notch->state(), expanded);
    EXPECT_EQ(panel(), before);
    pass(0.4s);
    EXPECT_EQ(done, 1);
    pass(1s);
    EXPECT_EQ(surface().shapeRect(), QRectF(480 - 214, 0, 428, 456));
    EXPECT_EQ(panel()->geometry(), frame) << "the window isn't resized";
}

TEST_F(DynamicNotchTest, movesByTheConversionSpringAndBackByTheClosingOne)
{
    notch->compact(screen);
    pass(1s);
    notch->expand(screen);
    pass(0.1s);
    const auto there = Spring::motionAfter(0.1s, { 28 - 456, 0 }, { 0.4, 0.85 });
    EXPECT_NEAR(surface().form().height, 456 + there.displacement, 1e-6);
    pass(2s);
    notch->compact(screen);
    pass(0.1s);
    const auto back = Spring::motionAfter(0.1s, { 456 - 28, 0 }, { 0.4, 1.0 });
    EXPECT_NEAR(surface().form().height, 28 + back.displacement, 1e-6);
}

TEST_F(DynamicNotchTest, opensByTheOpeningSpringOfItsStyle)
{
    notch->expand(screen);
    pass(0.1s);
    const auto opening = Spring::motionAfter(0.1s, { 28 - 456, 0 }, { 0.4, 0.7 });
    EXPECT_NEAR(surface().form().height, 456 + opening.displacement, 1e-6);
}

TEST_F(DynamicNotchTest, takesTheAnimationsThatItIsGiven)
{
    make({ .transitionConfiguration = { .conversionAnimation = SpringAnimation { 0.8, 1.0 } } });
    EXPECT_EQ(notch->transitionConfiguration().opening(DynamicNotchStyle::floating()), (SpringAnimation { 0.4, 0.85 }));
    notch->compact(screen);
    pass(1s);
    notch->expand(screen);
    pass(0.1s);
    const auto there = Spring::motionAfter(0.1s, { 28 - 456, 0 }, { 0.8, 1.0 });
    EXPECT_NEAR(surface().form().height, 456 + there.displacement, 1e-6);
}

TEST_F(DynamicNotchTest, buildsANewWindowOnAnotherScreen)
{
    notch->compact(screen);
    pass(1s);
    notch->expand(secondScreen, count(done));
    EXPECT_EQ(panel()->geometry(), QRect(1920 + 640, 0, 1280, 720));
    EXPECT_EQ(surface().alpha(), 0);
    EXPECT_EQ(overlays.overlays, 2);
    pass(0.4s);
    EXPECT_EQ(done, 1);
}

TEST_F(DynamicNotchTest, isNoLongerHoveredWhereItHasLeft)
{
    notch->compact(screen);
    pass(1s);
    movePointer(notchCentre());
    notch->expand(secondScreen);
    EXPECT_FALSE(notch->isHovering());
    pass(1s);
    EXPECT_EQ(hovers, (QList { true, false }));
}

TEST_F(DynamicNotchTest, buildsANewWindowOnAScreenThatHasChanged)
{
    notch->compact(screen);
    pass(1s);
    ScreenInfo changed = screenWithNotch({ 0, 0, 2560, 1440 });
    notch->hide();
    notch->compact(changed);
    EXPECT_EQ(panel()->geometry(), QRect(640, 0, 1280, 720));
    pass(1s);
    EXPECT_EQ(notch->state(), compact);
    EXPECT_TRUE(panel());
}

TEST_F(DynamicNotchTest, hidesAndClosesTheWindow)
{
    notch->compact(screen);
    pass(1s);
    notch->hide(count(done));
    EXPECT_EQ(notch->state(), hidden);
    EXPECT_TRUE(panel());
    pass(0.25s);
    ASSERT_TRUE(panel()) << "it fades out before";
    pass(0.1s);
    EXPECT_LT(surface().alpha(), 0.5);
    EXPECT_EQ(done, 0);
    pass(0.05s);
    EXPECT_FALSE(panel());
    EXPECT_EQ(done, 1);
    pass(1s);
    EXPECT_EQ(scheduler.activeTimers(), 0U);
}

TEST_F(DynamicNotchTest, keepsTheWindowWhenItExpandsDuringAPendingClose)
{
    notch->compact(screen);
    pass(1s);
    const DynamicNotchPanel *before = panel();
    int hideDone = 0;
    notch->hide(count(hideDone));
    pass(0.2s);
    notch->expand(screen, count(done));
    EXPECT_EQ(hideDone, 1) << "who was overtaken is told, once";
    EXPECT_EQ(panel(), before);
    pass(2s);
    EXPECT_EQ(panel(), before);
    EXPECT_EQ(notch->state(), expanded);
    EXPECT_EQ(surface().alpha(), 1);
    EXPECT_EQ(hideDone, 1);
    EXPECT_EQ(done, 1);
}

TEST_F(DynamicNotchTest, keepsTheWindowWhenItIsAlreadyFadingOut)
{
    notch->compact(screen);
    pass(1s);
    const DynamicNotchPanel *before = panel();
    notch->hide(count(done));
    pass(0.35s);
    notch->compact(screen);
    pass(2s);
    EXPECT_EQ(panel(), before);
    EXPECT_EQ(surface().alpha(), 1);
    EXPECT_EQ(done, 1);
}

TEST_F(DynamicNotchTest, callsEachDoneOnceHoweverTheCallsOverlap)
{
    std::array<int, 6> calls {};
    notch->compact(screen, count(calls[0]));
    notch->expand(screen, count(calls[1]));
    notch->hide(count(calls[2]));
    notch->compact(screen, count(calls[3]));
    notch->hide(count(calls[4]));
    notch->expand(secondScreen, count(calls[5]));
    pass(3s);
    EXPECT_EQ(calls, (std::array { 1, 1, 1, 1, 1, 1 }));
    EXPECT_EQ(notch->state(), expanded);
    EXPECT_EQ(panel()->geometry().x(), 1920 + 640);
}

TEST_F(DynamicNotchTest, callsNobodyAfterItHasGone)
{
    notch->compact(screen, count(done));
    pass(0.1s);
    notch->hide(count(done));
    const int before = done;
    notch.reset();
    scheduler.advance(5s);
    EXPECT_EQ(done, before);
    EXPECT_EQ(scheduler.activeTimers(), 0U);
}

TEST_F(DynamicNotchTest, canBeDestroyedByWhoIsCalledBack)
{
    notch->compact(screen, [this] { notch.reset(); });
    scheduler.advance(1s);
    EXPECT_FALSE(notch);

    make({});
    notch->compact(screen);
    pass(1s);
    notch->hide([this] { notch.reset(); });
    scheduler.advance(1s);
    EXPECT_FALSE(notch);

    make({});
    notch->compact(screen);
    notch->hide([this] { notch.reset(); });
    notch->expand(screen);
    EXPECT_FALSE(notch);

    make({});
    notch->compact(screen);
    QObject::connect(notch.get(), &DynamicNotch::stateChanged, notch.get(), [this] { notch.reset(); });
    notch->expand(screen);
    EXPECT_FALSE(notch);

    make({});
    notch->compact(screen);
    QObject::connect(notch.get(), &DynamicNotch::stateChanged, notch.get(), [this] { notch.reset(); });
    notch->hide();
    EXPECT_FALSE(notch);
}

TEST_F(DynamicNotchTest, canBeCalledByWhoIsCalledBack)
{
    notch->compact(screen, [this] { notch->expand(screen, count(done)); });
    pass(0.4s);
    EXPECT_EQ(notch->state(), expanded);
    pass(0.4s);
    EXPECT_EQ(done, 1);
    notch->hide([this] { notch->compact(secondScreen); });
    pass(1s);
    EXPECT_EQ(notch->state(), compact);
    EXPECT_EQ(panel()->geometry().x(), 1920 + 640);
}

TEST_F(DynamicNotchTest, floatsOnAScreenWithoutANotch)
{
    notch->expand(plainScreen, count(done));
    EXPECT_TRUE(surface().isFloating());
    EXPECT_LT(surface().shapeRect().bottom(), 0) << "it drops from above the edge";
    pass(1s);
    EXPECT_EQ(done, 1);
    EXPECT_EQ(surface().shapeRect(), QRectF(480 - 203, 32 + 8, 406, 436));
    notch->hide();
    pass(0.25s);
    EXPECT_LT(surface().shapeRect().top(), 0);
    pass(1s);
    EXPECT_FALSE(panel());
}

TEST_F(DynamicNotchTest, hasNoCompactFormWhenItFloats)
{
    notch->compact(plainScreen, count(done));
    EXPECT_EQ(done, 1);
    EXPECT_EQ(notch->state(), hidden);
    EXPECT_FALSE(panel());

    notch->expand(plainScreen);
    pass(1s);
    notch->compact(plainScreen, count(done));
    EXPECT_EQ(notch->state(), hidden);
    pass(1s);
    EXPECT_EQ(done, 2);
    EXPECT_FALSE(panel());
}

TEST_F(DynamicNotchTest, staysAsAnExplicitStyleSays)
{
    make({ .style = DynamicNotchStyle::floating(11) });
    notch->compact(screen, count(done));
    EXPECT_EQ(notch->state(), hidden);
    EXPECT_EQ(done, 1);

    make({ .style = DynamicNotchStyle::notch() });
    notch->compact(plainScreen);
    EXPECT_EQ(notch->state(), compact);
    pass(2s);
    EXPECT_EQ(notch->notchSize(), QSizeF(300, 32));
    EXPECT_EQ(surface().shapeRect().size(), QSizeF(352, 32));
}

TEST_F(DynamicNotchTest, hidesInsteadOfShowingTwoDisabledSides)
{
    notch->setDisableCompactLeading(true);
    notch->setDisableCompactTrailing(true);
    notch->compact(screen, count(done));
    EXPECT_EQ(notch->state(), hidden);
    EXPECT_EQ(done, 1);
    notch->expand(screen);
    EXPECT_EQ(notch->state(), expanded);
    pass(1s);
    notch->compact(screen, count(done));
    EXPECT_EQ(notch->state(), hidden);
    pass(1s);
    EXPECT_FALSE(panel());
}

TEST_F(DynamicNotchTest, showsOneSideAloneWithTheNotchInItsPlace)
{
    notch->setDisableCompactTrailing(true);
    notch->compact(screen);
    pass(2s);
    EXPECT_EQ(surface().shapeRect(), QRectF(480 - 126, 0, 226, 28));
    notch->setDisableCompactTrailing(false);
    EXPECT_TRUE(surface().isAnimating());
    pass(0.1s);
    const auto width = Spring::motionAfter(0.1s, { -26, 0 }, { 0.5, 1.0 });
    EXPECT_NEAR(surface().form().width, 252 + width.displacement, 1e-6);
    pass(2s);
    EXPECT_EQ(surface().shapeRect(), QRectF(480 - 126, 0, 252, 28));
}

TEST_F(DynamicNotchTest, tellsOfThePointerOverTheVisibleShape)
{
    notch->compact(screen);
    pass(1s);
    movePointer(notchCentre());
    EXPECT_TRUE(notch->isHovering());
    movePointer(besideTheShape());
    EXPECT_FALSE(notch->isHovering());
    EXPECT_EQ(hovers, (QList { true, false }));
    movePointer(besideTheShape() + QPoint(1, 1));
    EXPECT_EQ(hovers.size(), 2);
    EXPECT_EQ(haptics, 0);
}

TEST_F(DynamicNotchTest, noticesThatTheShapeCameUnderThePointerOrLeftIt)
{
    notch->compact(screen);
    pass(1s);
    const QPoint below(panel()->width() / 2, 200);
    movePointer(below);
    EXPECT_FALSE(notch->isHovering());
    notch->expand(screen);
    pass(1s);
    EXPECT_TRUE(notch->isHovering());
    notch->compact(screen);
    pass(1s);
    EXPECT_FALSE(notch->isHovering());
}

TEST_F(DynamicNotchTest, isStillHoveredWhileSomethingIsDraggedOutOfIt)
{
    notch->expand(screen);
    pass(1s);
    const QPoint inside(panel()->width() / 2, 200);
    movePointer(inside);
    QTest::mousePress(panel(), Qt::LeftButton, {}, inside);
    QTest::mouseMove(panel(), besideTheShape());
    EXPECT_TRUE(notch->isHovering());
    QTest::mouseRelease(panel(), Qt::LeftButton, {}, besideTheShape());
    EXPECT_FALSE(notch->isHovering());
}

TEST_F(DynamicNotchTest, isNotHoveredWhenHidden)
{
    notch->compact(screen);
    pass(1s);
    movePointer(notchCentre());
    notch->hide();
    EXPECT_FALSE(notch->isHovering());
    EXPECT_EQ(hovers, (QList { true, false }));
    movePointer(notchCentre() + QPoint(1, 0));
    movePointer(besideTheShape());
    movePointer(notchCentre());
    EXPECT_FALSE(notch->isHovering());
    notch->expand(screen);
    EXPECT_TRUE(notch->isHovering()) << "the pointer is still there";
}

TEST_F(DynamicNotchTest, waitsWithHidingUntilThePointerHasLeft)
{
    make({ .hoverBehavior = { DynamicNotchHoverBehavior::keepsVisible } });
    notch->compact(screen);
    pass(1s);
    movePointer(notchCentre());
    notch->hide(count(done));
    pass(5s);
    EXPECT_EQ(notch->state(), compact);
    EXPECT_EQ(done, 0);
    movePointer(besideTheShape());
    EXPECT_EQ(notch->state(), compact);
    pass(0.1s);
    EXPECT_EQ(notch->state(), hidden);
    pass(0.4s);
    EXPECT_EQ(done, 1);
    EXPECT_FALSE(panel());
}

TEST_F(DynamicNotchTest, hidesAtOnceUnderThePointerWithoutThatBit)
{
    make({ .hoverBehavior = { 6 } });
    notch->compact(screen);
    pass(1s);
    movePointer(notchCentre());
    EXPECT_EQ(haptics, 1);
    notch->hide();
    EXPECT_EQ(notch->state(), hidden);
    EXPECT_EQ(haptics, 1);
}

TEST_F(DynamicNotchTest, hasAStrongerShadowUnderThePointer)
{
    overlays.compositor = true;
    notch->expand(screen);
    pass(1s);
    EXPECT_EQ(surface().shadowOpacity(), 0.5);
    EXPECT_EQ(surface().strongShadowOpacity(), 0);
    movePointer({ panel()->width() / 2, 200 });
    pass(1s);
    EXPECT_EQ(surface().shadowOpacity(), 0);
    EXPECT_EQ(surface().strongShadowOpacity(), 0.8);
    movePointer(besideTheShape());
    notch->compact(screen);
    pass(1s);
    EXPECT_EQ(surface().shadowOpacity(), 0);
    EXPECT_EQ(surface().strongShadowOpacity(), 0);
}

TEST_F(DynamicNotchTest, hasNoStrongerShadowWithoutThatBitAndNoneWithoutACompositor)
{
    overlays.compositor = true;
    make({ .hoverBehavior = { 3 } });
    notch->expand(screen);
    movePointer({ panel()->width() / 2, 10 });
    pass(1s);
    EXPECT_TRUE(notch->isHovering());
    EXPECT_EQ(surface().shadowOpacity(), 0.5);
    EXPECT_EQ(surface().strongShadowOpacity(), 0);

    overlays.compositor = false;
    notch->compact(screen);
    notch->expand(screen);
    pass(1s);
    EXPECT_EQ(surface().shadowOpacity(), 0);
}

TEST_F(DynamicNotchTest, crossFadesWithoutMotionWhereNoneIsWanted)
{
    reducedMotion = true;
    notch->compact(screen);
    pass(1s);
    notch->expand(screen, count(done));
    EXPECT_EQ(surface().shapeRect().height(), 456);
    EXPECT_EQ(surface().formerRect().height(), 28);
    EXPECT_EQ(surface().shapeOpacity(), 0);
    pass(0.1s);
    EXPECT_EQ(surface().shapeOpacity(), 1);
    EXPECT_TRUE(surface().formerRect().isEmpty());
    EXPECT_FALSE(surface().isAnimating());
    pass(0.3s);
    EXPECT_EQ(done, 1);
}

TEST_F(DynamicNotchTest, survivesScreensThatAreNone)
{
    for (const ScreenInfo &odd : { ScreenInfo {}, screenWithNotch({ 0, 0, 10, 10 }), screenWithNotch({ 0, 0, 150, 1 }),
                                   screenWithNotch({ -40000, 30000, 5, 0 }), screenWithNotch({ 0, 0, 1, 5000 }) }) {
        make({ .style = DynamicNotchStyle::notch() });
        notch->compact(odd, count(done));
        pass(1s);
        notch->expand(odd, count(done));
        pass(1s);
        notch->hide(count(done));
        pass(1s);
        make({ .style = DynamicNotchStyle::floating() });
        notch->expand(odd);
        pass(1s);
        notch->hide();
        pass(1s);
    }
    EXPECT_EQ(done, 15);
}

} // namespace
} // namespace vantry::test
