#include "app/StatusIcon.h"

#include <gmock/gmock.h>

namespace vantry {
namespace {

using namespace Qt::StringLiterals;

constexpr QColor ringColor(10, 200, 10);
constexpr QColor beadColor(200, 100, 0);
constexpr QColor badgeColor(150, 0, 0);

StatusPicture picture(int waiting)
{
    return { ringColor, beadColor, badgeColor, Qt::white, waiting };
}

/// How many pixels have exactly this colour.
int pixelsOf(const QImage &image, const QColor &color)
{
    int count = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            count += image.pixelColor(x, y) == color ? 1 : 0;
    }
    return count;
}

TEST(StatusIcon, isTheMarkInOneColourWhileNobodyWaits)
{
    for (const int size : { 16, 22, 64 }) {
        const QImage image = paintStatusPicture(picture(0), size);

        EXPECT_GT(pixelsOf(image, ringColor), 0) << size;
        EXPECT_EQ(pixelsOf(image, beadColor), 0) << size;
        EXPECT_EQ(pixelsOf(image, badgeColor), 0) << size;
        EXPECT_EQ(image.pixelColor(0, 0).alpha(), 0) << size;
    }
}

TEST(StatusIcon, hasABeadAndANumberWhileSessionsWait)
{
    for (const int size : { 16, 22, 64 }) {
        const QImage image = paintStatusPicture(picture(3), size);

        EXPECT_GT(pixelsOf(image, beadColor), 0) << size;
        EXPECT_GT(pixelsOf(image, badgeColor), 0) << size;
    }
}

TEST(StatusIcon, tellsNumbersApart)
{
    EXPECT_NE(paintStatusPicture(picture(1), 22), paintStatusPicture(picture(2), 22));
    EXPECT_EQ(paintStatusPicture(picture(10), 22), paintStatusPicture(picture(1'000'000), 22));
}

TEST(StatusIcon, comesInTheSizesOfTrays)
{
    EXPECT_THAT(statusIcon(picture(1)).availableSizes(),
                ::testing::IsSupersetOf({ QSize(16, 16), QSize(22, 22), QSize(32, 32), QSize(48, 48) }));
}

TEST(StatusIcon, knowsTheBarsOfDesktops)
{
    EXPECT_EQ(barTone(u"GNOME"_s, false), BarTone::Dark);
    EXPECT_EQ(barTone(u"ubuntu:GNOME"_s, false), BarTone::Dark);
    EXPECT_EQ(barTone(u"KDE"_s, false), BarTone::Light);
    EXPECT_EQ(barTone(u"KDE"_s, true), BarTone::Dark);
    EXPECT_EQ(barTone(u"XFCE"_s, true), BarTone::Unknown);
    EXPECT_EQ(barTone({}, false), BarTone::Unknown);
}

} // namespace
} // namespace vantry
