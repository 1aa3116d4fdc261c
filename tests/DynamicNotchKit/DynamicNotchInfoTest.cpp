#include "DynamicNotchFixture.h"

#include "DynamicNotchKit/DynamicNotchInfo.h"

#include <gtest/gtest.h>

namespace vantry::test {
namespace {

using enum DynamicNotchState;
using namespace std::chrono_literals;

class DynamicNotchInfoTest : public ::testing::Test
{
protected:
    DynamicNotchInfoTest() { engine.addImportPath("qrc:/qt/qml"); }
    ~DynamicNotchInfoTest() override
    {
        info.reset();
        const QStringList messages = warnings.takeWarnings();
        EXPECT_TRUE(messages.isEmpty()) << qPrintable(messages.join(u'\n'));
    }
    void pass(Seconds time)
    {
        scheduler.advance(time);
        info->notch().surface().advance();
        QCoreApplication::processEvents();
    }
    [[nodiscard]] QSizeF shape() { return info->notch().surface().shapeRect().size(); }

    WarningRecorder warnings;
    QQmlEngine engine;
    FakeOverlayWindows overlays;
    ManualClock clock;
    ManualScheduler scheduler { clock };
    std::unique_ptr<DynamicNotchInfo> info =
        std::make_unique<DynamicNotchInfo>(DynamicNotch::Surroundings { engine, overlays, clock, scheduler });
    const ScreenInfo screen = screenWithNotch();
};

TEST_F(DynamicNotchInfoTest, showsItsTextsAndEachKindOfLabel)
{
    info->setTitle("Copied");
    info->expand(screen);
    pass(1s);
    const QSizeF plain = shape();
    info->setDescription("Three files, into a folder with a name that is long");
    pass(2s);
    EXPECT_GT(shape().height(), plain.height());
    EXPECT_GT(shape().width(), plain.width());
    const QSizeF withoutIcon = shape();
    for (const auto &icon :
         { DynamicNotchInfoLabel::ofImage(QUrl("qrc:/vantry/mark.svg")),
           DynamicNotchInfoLabel::ofSystemImage("folder", Qt::red), DynamicNotchInfoLabel::ofProgress(0.4),
           DynamicNotchInfoLabel::ofView({ QUrl("qrc:/vantry/tests/CompactProbe.qml") }) }) {
        info->setIcon(icon);
        pass(2s);
        EXPECT_EQ(shape().width(), withoutIcon.width() + 48);
        (void)info->notch().windowController()->grabWindow();
    }
    (void)warnings.takeWarnings(); // The picture is none of this module's.
}

TEST_F(DynamicNotchInfoTest, isCompactOnlyWithALabelAtASide)
{
    info->compact(screen);
    EXPECT_EQ(info->notch().state(), hidden);
    info->setCompactTrailing(DynamicNotchInfoLabel::ofProgress(0.5, Qt::green));
    info->compact(screen);
    EXPECT_EQ(info->notch().state(), compact);
    pass(2s);
    EXPECT_EQ(shape(), QSizeF(230, 28));
    info->setCompactLeading(DynamicNotchInfoLabel::ofProgress(1));
    pass(2s);
    EXPECT_EQ(shape(), QSizeF(260, 28));
    info->setCompactTrailing({});
    pass(2s);
    EXPECT_EQ(shape(), QSizeF(230, 28));
    int done = 0;
    info->hide([&done] { ++done; });
    pass(1s);
    EXPECT_EQ(done, 1);
}

TEST_F(DynamicNotchInfoTest, keepsProgressWithinItsRing)
{
    EXPECT_EQ(DynamicNotchInfoLabel::ofProgress(-3).progress(), 0);
    EXPECT_EQ(DynamicNotchInfoLabel::ofProgress(7).progress(), 1);
    EXPECT_EQ(DynamicNotchInfoLabel::ofProgress(NAN).progress(), 0);
}

TEST_F(DynamicNotchInfoTest, tellsOfThePointer)
{
    QList<bool> hovers;
    info->onHoverChanged = [&hovers](bool isHovering) { hovers.append(isHovering); };
    info->setTitle("Copied");
    info->expand(screen);
    pass(1s);
    DynamicNotchPanel *panel = info->notch().windowController();
    QTest::mouseMove(panel, { 5, 300 });
    QTest::mouseMove(panel, { panel->width() / 2, 11 });
    EXPECT_EQ(hovers, QList { true });
    EXPECT_TRUE(info->isHovering());
}

} // namespace
} // namespace vantry::test
