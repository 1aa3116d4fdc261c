#include "style/DesignTokens.h"
#include "style/ShadowImage.h"
#include "style/SymbolPainter.h"
#include "support/views/ViewWindow.h"

#include <QDirIterator>
#include <QPainter>
#include <QRegularExpression>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace vantry::test {
namespace {

QImage painted(const QString &name, int side, const QColor &color, qreal angle = 0)
{
    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    symbolPainter::paint(painter, name, image.rect(), color, angle);
    return image;
}

/// The sum of what is painted, and whether every painted pixel has the colour.
struct Ink
{
    double amount { 0 };
    bool isOfColor { true };
};

Ink inkOf(const QImage &image, const QColor &color)
{
    Ink ink;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const auto pixel = image.pixelColor(x, y);
            ink.amount += pixel.alphaF();
            if (pixel.alpha() > 200 &&
                (std::abs(pixel.red() - color.red()) > 3 || std::abs(pixel.green() - color.green()) > 3))
                ink.isOfColor = false;
        }
    }
    return ink;
}

TEST(SymbolTest, everySymbolOfTheTablePaintsInItsColorAtEachSize)
{
    const QColor color(u"#F97316"_s);
    const WarningRecorder warnings;
    for (const auto &name : designTokens::symbols().keys()) {
        for (const auto side : { 12, 14, 16, 28, 64 }) {
            const auto ink = inkOf(painted(name, side, color), color);
            EXPECT_GT(ink.amount, side * side * 0.02) << qPrintable(name) << side;
            EXPECT_LT(ink.amount, side * side * 0.95) << qPrintable(name) << side;
            EXPECT_TRUE(ink.isOfColor) << qPrintable(name) << side;
        }
    }
}

TEST(SymbolTest, anUnknownNameIsAWarning)
{
    WarningRecorder warnings;
    EXPECT_FALSE(symbolPainter::isKnown(u"no.such.symbol"_s));
    EXPECT_EQ(inkOf(painted(u"no.such.symbol"_s, 16, Qt::black), Qt::black).amount, 0);
    EXPECT_EQ(warnings.takeWarnings().size(), 1);
    EXPECT_EQ(inkOf(painted({}, 16, Qt::black), Qt::black).amount, 0);
    EXPECT_TRUE(warnings.takeWarnings().isEmpty());
}

TEST(SymbolTest, everyNameThatIsWrittenInASourceIsKnown)
{
    static const QRegularExpression inQml(
        u"\\b(?:symbol|name):\\s*(?:[^\"\\n]*\\?\\s*)?\"([a-z0-9.-]+)\"(?:\\s*:\\s*\"([a-z0-9.-]+)\")?"_s);
    static const QRegularExpression symbolBlock(u"\\b(symbol:|(?:Symbol|SymbolShape|SpinningSparkle) \\{)"_s);
    int found = 0;
    QDirIterator files(u"" VANTRY_SOURCES "/src"_s, { u"*.qml"_s }, QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        QFile file(files.next());
        ASSERT_TRUE(file.open(QFile::ReadOnly));
        const auto text = QString::fromUtf8(file.readAll());
        if (!text.contains(symbolBlock))
            continue;
        for (const auto &match : inQml.globalMatch(text)) {
            const auto isName = match.captured(0).startsWith(u"name"_s);
            for (const auto &name : { match.captured(1), match.captured(2) }) {
                if (name.isEmpty())
                    continue;
                ++found;
                // An "opacity" or the like after "name:" or "property:" would be no symbol; nothing else is called
                // name.
                EXPECT_TRUE(symbolPainter::isKnown(name))
                    << qPrintable(file.fileName()) << " " << qPrintable(name) << (isName ? " (name)" : "");
            }
        }
    }
    EXPECT_GT(found, 5);
}

TEST(SymbolTest, aTurnedSymbolIsTheSamePictureTurned)
{
    const auto upright = painted(u"chevron.right"_s, 64, Qt::black);
    const auto turned = painted(u"chevron.right"_s, 64, Qt::black, 90);
    const auto expected = upright.transformed(QTransform().rotate(90));
    double difference = 0;
    for (int y = 0; y < 64; ++y) {
        for (int x = 0; x < 64; ++x)
            difference += std::abs(turned.pixelColor(x, y).alphaF() - expected.pixelColor(x, y).alphaF());
    }
    EXPECT_LT(difference, 64);
}

TEST(SymbolTest, aPictureIsAsSharpAsThePixelsItIsPaintedOn)
{
    QImage image(32, 32, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(2);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    symbolPainter::paint(painter, u"terminal"_s, QRectF(0, 0, 16, 16), Qt::black);
    painter.end();
    image.setDevicePixelRatio(1);
    EXPECT_EQ(image, painted(u"terminal"_s, 32, Qt::black));
}

TEST(ShadowImageTest, isStrongestInTheMiddleAndGoneAtItsEdge)
{
    const auto elevation = Elevation::named(u"menu"_s, false);
    const ShadowImage shadow(elevation, 8, QColor(u"#0F141E"_s));
    const auto &image = shadow.image();
    EXPECT_EQ(image.width(), 2 * shadow.border() + 1);
    EXPECT_NEAR(image.pixelColor(shadow.border(), shadow.border()).alphaF(), elevation.opacity, 0.01);
    for (int i = 0; i < image.width(); ++i) {
        EXPECT_LE(image.pixelColor(i, 0).alpha(), 1);
        EXPECT_LE(image.pixelColor(0, i).alpha(), 1);
        EXPECT_LE(image.pixelColor(i, image.height() - 1).alpha(), 1);
    }
}

TEST(ShadowImageTest, anUnknownOrFlatElevationHasNoShadow)
{
    EXPECT_EQ(Elevation::named(u"flat"_s, false).margin(), 0);
    EXPECT_EQ(Elevation::named(u"no such"_s, true), Elevation());
    EXPECT_GT(Elevation::named(u"panel"_s, true).opacity, Elevation::named(u"panel"_s, false).opacity);
}

} // namespace
} // namespace vantry::test
