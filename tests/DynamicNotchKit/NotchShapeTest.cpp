#include "DynamicNotchKit/NotchShape.h"
#include "DynamicNotchKit/FloatingShape.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace vantry::test {
namespace {

TEST(NotchShape, isDrawnByItsNineSteps)
{
    const QPainterPath path = NotchShape { 15, 20 }.path({ 10, 0, 400, 200 });

    ASSERT_EQ(path.elementCount(), 1 + 4 * 3 + 4);
    const auto point = [&path](int index) { return QPointF(path.elementAt(index)); };
    // A quad curve is kept as a cubic one: its end is the third element, its control point two thirds of the way there.
    const auto control = [&](int index) { return (3 * point(index + 1) - point(index)) / 2; };
    EXPECT_EQ(point(0), QPointF(10, 0));
    EXPECT_EQ(control(0), QPointF(25, 0));
    EXPECT_EQ(point(3), QPointF(25, 15));
    EXPECT_EQ(point(4), QPointF(25, 180));
    EXPECT_EQ(control(4), QPointF(25, 200));
    EXPECT_EQ(point(7), QPointF(45, 200));
    EXPECT_EQ(point(8), QPointF(375, 200));
    EXPECT_EQ(control(8), QPointF(395, 200));
    EXPECT_EQ(point(11), QPointF(395, 180));
    EXPECT_EQ(point(12), QPointF(395, 15));
    EXPECT_EQ(control(12), QPointF(395, 0));
    EXPECT_EQ(point(15), QPointF(410, 0));
    EXPECT_EQ(point(16), QPointF(10, 0));
}

TEST(NotchShape, curvesOutwardAtTheTopAndInwardAtTheBottom)
{
    const QRegion region = NotchShape { 15, 20 }.region(QRectF(0, 0, 400, 200));
    EXPECT_TRUE(region.contains(QPoint(6, 0))) << "the outer corner";
    EXPECT_FALSE(region.contains(QPoint(5, 8))) << "beside it";
    EXPECT_TRUE(region.contains(QPoint(15, 100)));
    EXPECT_FALSE(region.contains(QPoint(14, 100)));
    EXPECT_FALSE(region.contains(QPoint(17, 198))) << "outside of the rounded corner";
    EXPECT_TRUE(region.contains(QPoint(200, 199)));
    EXPECT_FALSE(region.contains(QPoint(200, 200)));
}

TEST(NotchShape, hasNothingWithoutASize)
{
    for (const QRectF &rect : { QRectF(), QRectF(5, 5, 0, 100), QRectF(5, 5, 100, 0), QRectF(0, 0, -10, 20) }) {
        EXPECT_TRUE((NotchShape { 15, 20 }.region(rect).isEmpty()));
        EXPECT_TRUE((NotchShape { 15, 20 }.path(rect).isEmpty()));
    }
}

TEST(NotchShape, takesSmallerRadiiWhereThereIsNoRoom)
{
    const NotchShape fitting = NotchShape { 15, 20 }.fitting({ 300, 7 });
    EXPECT_DOUBLE_EQ(fitting.topCornerRadius, 3);
    EXPECT_DOUBLE_EQ(fitting.bottomCornerRadius, 4);
    EXPECT_EQ((NotchShape { -5, 20 }.fitting({ 300, 100 })), (NotchShape { 0, 20 }));
    EXPECT_EQ((NotchShape { 15, 20 }.fitting({ 300, 0 })), (NotchShape { 0, 0 }));
}

/// What is drawn and what takes the pointer are one shape, at every size.
TEST(NotchShape, coversThePixelsWhoseCentreIsInsideOfItsPath)
{
    std::mt19937 random(7);
    std::uniform_real_distribution<double> length(0.5, 90);
    std::uniform_real_distribution<double> radius(0, 60);
    for (int round = 0; round < 60; ++round) {
        const QRectF rect(length(random) - 45, length(random) - 45, length(random), length(random));
        const NotchShape shape { radius(random), radius(random) };
        const QRegion region = shape.region(rect);
        const QPainterPath path = shape.path(rect);
        EXPECT_TRUE(region.isEmpty() || rect.toAlignedRect().contains(region.boundingRect()));
        int differing = 0;
        for (int y = -50; y < 150; ++y) {
            for (int x = -50; x < 150; ++x) {
                const QPointF centre(x + 0.5, y + 0.5);
                differing += path.contains(centre) != region.contains(QPoint(x, y)) ? 1 : 0;
            }
        }
        // A curve that is drawn is made of straight pieces.
        EXPECT_LE(differing, 4) << round;
    }
}

TEST(NotchShape, isTheSameAtBothSides)
{
    for (const int width : { 252, 300, 428, 3 }) {
        const QRegion region = NotchShape { 6, 14 }.region(QRectF(0, 0, width, 28));
        QRegion mirrored;
        for (const QRect &row : region)
            mirrored += QRect(width - row.right() - 1, row.y(), row.width(), row.height());
        EXPECT_EQ(region, mirrored) << width;
    }
}

TEST(NotchShape, needsFewRectangles)
{
    EXPECT_LE((NotchShape { 15, 20 }.region(QRectF(0, 0, 428, 456)).rectCount()), 15 + 20 + 1);
}

TEST(FloatingShape, isARoundedRectangle)
{
    const QRectF rect(10, 30, 200, 100);
    const QRegion region = FloatingShape { 20 }.region(rect);
    QPainterPath path;
    path.addRoundedRect(rect, 20, 20);
    int differing = 0;
    for (int y = 0; y < 150; ++y) {
        for (int x = 0; x < 250; ++x) {
            const QPointF centre(x + 0.5, y + 0.5);
            differing += path.contains(centre) != region.contains(QPoint(x, y)) ? 1 : 0;
        }
    }
    EXPECT_LE(differing, 8);
    EXPECT_EQ(region.boundingRect(), rect.toRect());
}

TEST(FloatingShape, isAPillWhereTheRadiusIsTooLarge)
{
    const QRegion region = FloatingShape { 500 }.region(QRectF(0, 0, 100, 40));
    EXPECT_FALSE(region.contains(QPoint(0, 0)));
    EXPECT_TRUE(region.contains(QPoint(50, 0)));
    EXPECT_TRUE(region.contains(QPoint(0, 20)));
    EXPECT_TRUE(FloatingShape { 20 }.region(QRectF(0, 0, 0, 40)).isEmpty());
}

} // namespace
} // namespace vantry::test
