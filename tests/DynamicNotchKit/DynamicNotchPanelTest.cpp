#include "DynamicNotchFixture.h"

#include <gtest/gtest.h>

namespace vantry::test {
namespace {

using namespace std::chrono_literals;

class DynamicNotchPanelTest : public DynamicNotchFixture
{
protected:
    void expand()
    {
        notch->expand(screenWithNotch());
        pass(1s);
        focusAnother();
    }
    /// What is drawn into memory gives the focus to every window that is shown.
    void focusAnother()
    {
        another.show();
        another.requestActivate();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&another));
    }
    void click() { QTest::mouseClick(panel(), Qt::LeftButton, {}, { panel()->width() / 2, 200 }); }
    [[nodiscard]] bool waitUntilActive() { return QTest::qWaitForWindowActive(panel()); }
    [[nodiscard]] QString typed() { return expandedItem()->property("typed").toString(); }

    QWindow another;
};

TEST_F(DynamicNotchPanelTest, isOutOfTheWindowManagersHands)
{
    notch->compact(screenWithNotch());
    const Qt::WindowFlags flags = panel()->flags();
    EXPECT_TRUE(flags.testFlag(Qt::BypassWindowManagerHint));
    EXPECT_TRUE(flags.testFlag(Qt::FramelessWindowHint));
    EXPECT_TRUE(flags.testFlag(Qt::WindowStaysOnTopHint));
    EXPECT_TRUE(flags.testFlag(Qt::NoDropShadowWindowHint));
    EXPECT_TRUE(flags.testFlag(Qt::WindowDoesNotAcceptFocus));
    EXPECT_EQ(panel()->color(), QColor(Qt::transparent));
    EXPECT_TRUE(panel()->canBecomeKeyWindow());
}

TEST_F(DynamicNotchPanelTest, givesItsViewsTheWindowsProperties)
{
    notch->compact(screenWithNotch());
    EXPECT_EQ(panel()->property("vantryTheme").toString(), "notch");
}

TEST_F(DynamicNotchPanelTest, takesThePointerOnlyWhereTheShapeIs)
{
    notch->compact(screenWithNotch());
    pass(1s);
    EXPECT_EQ(overlays.inputArea, surface().region());
    EXPECT_EQ(overlays.inputArea.boundingRect(), QRect(357, 0, 246, 28));
    notch->expand(screenWithNotch());
    pass(0.1s);
    EXPECT_EQ(overlays.inputArea, surface().region()) << "also in motion";
    EXPECT_GT(overlays.inputArea.boundingRect().height(), 100);
    EXPECT_LT(overlays.inputArea.boundingRect().height(), 456);
    pass(1s);
    EXPECT_EQ(overlays.inputArea.boundingRect(), QRect(271, 0, 418, 456));
}

TEST_F(DynamicNotchPanelTest, takesNoFocusUntilItIsAllowedToAndClickedInto)
{
    overlays.active = 77;
    expand();
    click();
    EXPECT_FALSE(panel()->isActive());
    notch->makeKeyWindow();
    EXPECT_FALSE(panel()->isActive());
    click();
    EXPECT_TRUE(waitUntilActive());
    EXPECT_TRUE(overlays.focused.isEmpty());
}

TEST_F(DynamicNotchPanelTest, givesTheFocusBackWhenItIsNoLongerExpanded)
{
    overlays.active = 77;
    expand();
    notch->makeKeyWindow();
    click();
    ASSERT_TRUE(waitUntilActive());
    notch->compact(screenWithNotch());
    EXPECT_EQ(overlays.focused, QList<OverlayWindows::WindowID> { 77 });
    EXPECT_TRUE(panel()->flags().testFlag(Qt::WindowDoesNotAcceptFocus));
    pass(1s);
    click();
    EXPECT_EQ(overlays.focused.size(), 1);
}

TEST_F(DynamicNotchPanelTest, givesNoFocusBackThatItNeverHad)
{
    overlays.active = 77;
    expand();
    notch->makeKeyWindow();
    notch->hide();
    pass(1s);
    EXPECT_TRUE(overlays.focused.isEmpty());
}

TEST_F(DynamicNotchPanelTest, isNotMadeKeyUnlessItIsExpanded)
{
    notch->makeKeyWindow();
    notch->compact(screenWithNotch());
    notch->makeKeyWindow();
    pass(1s);
    focusAnother();
    QTest::mouseClick(panel(), Qt::LeftButton, {}, notchCentre());
    EXPECT_FALSE(panel()->isActive());
}

TEST_F(DynamicNotchPanelTest, dropsWhatIsTypedJustAfterItHasExpanded)
{
    notch->expand(screenWithNotch());
    notch->makeKeyWindow();
    pass(0.3s);
    click();
    ASSERT_TRUE(waitUntilActive());
    QTest::keyClick(panel(), 'a');
    pass(0.09s);
    QTest::keyClick(panel(), 'b');
    EXPECT_EQ(typed(), "");
    pass(0.01s);
    QTest::keyClick(panel(), 'c');
    EXPECT_EQ(typed(), "c");
}

TEST_F(DynamicNotchPanelTest, hasNothingInFocusUntilItIsClickedInto)
{
    expand();
    notch->makeKeyWindow();
    panel()->requestActivate();
    ASSERT_TRUE(waitUntilActive());
    QTest::keyClick(panel(), 'a');
    EXPECT_EQ(typed(), "");
    click();
    QTest::keyClick(panel(), 'b');
    EXPECT_EQ(typed(), "b");
}

TEST_F(DynamicNotchPanelTest, letsItsContentBeClickedOnlyWhileItIsExpanded)
{
    expand();
    click();
    EXPECT_EQ(expandedItem()->property("clicks").toInt(), 1);
    notch->compact(screenWithNotch());
    click();
    EXPECT_EQ(expandedItem()->property("clicks").toInt(), 1) << "it is still seen, on its way out";
}

TEST_F(DynamicNotchPanelTest, growsBeforeItsContentNeedsTheRoom)
{
    const ScreenInfo small = screenWithNotch({ 0, 0, 800, 600 });
    notch->expand(small);
    EXPECT_GE(panel()->height(), 456 + 20);
    EXPECT_GE(panel()->width(), 428 + 2 * 20);
    const QRect frame = panel()->geometry();
    EXPECT_EQ(frame.x() + frame.width() / 2, 400);
    pass(0.2s);
    EXPECT_EQ(panel()->geometry(), frame);
    pass(1s);
    expandedItem()->setProperty("implicitHeight", 500);
    pass(1s);
    EXPECT_GE(panel()->height(), 28 + 500 + 8 + 20);
    EXPECT_EQ(surface().shapeRect().height(), 536);
}

TEST_F(DynamicNotchPanelTest, makesItsContentBeforeItIsOpened)
{
    notch->compact(screenWithNotch());
    EXPECT_TRUE(ViewWindow::waitFor([this] { return expandedItem() != nullptr; }));
    EXPECT_FALSE(expandedItem()->isVisible());
    EXPECT_EQ(surface().expandedContentSize(), QSizeF(390, 420));
}

TEST_F(DynamicNotchPanelTest, givesItsContentItsPropertiesAndItsSize)
{
    contents.expanded.properties = { { "tint", QColor(Qt::red) }, { "implicitWidth", 200 } };
    make({});
    expand();
    EXPECT_EQ(expandedItem()->property("tint").value<QColor>(), QColor(Qt::red));
    EXPECT_EQ(expandedItem()->width(), 200);
    EXPECT_EQ(expandedItem()->mapToScene({}), QPointF(panel()->width() / 2 - 100, 28));
}

TEST_F(DynamicNotchPanelTest, canGoWhileItsContentIsBeingMade)
{
    notch->compact(screenWithNotch());
    notch.reset();
    make({});
    notch->compact(screenWithNotch());
    QCoreApplication::processEvents();
    notch.reset();
    make({});
    notch->compact(screenWithNotch());
    notch->hide();
    pass(1s);
    notch->compact(screenWithNotch());
}

TEST_F(DynamicNotchPanelTest, worksWithoutContents)
{
    contents = {};
    make({});
    notch->compact(screenWithNotch());
    pass(1s);
    EXPECT_EQ(surface().shapeRect().size(), QSizeF(200, 28));
    expand();
    EXPECT_EQ(surface().shapeRect().size(), QSizeF(200, 36));
    notch->hide();
    pass(1s);
    EXPECT_FALSE(panel());
}

TEST_F(DynamicNotchPanelTest, staysEmptyWhereAContentCannotBeLoaded)
{
    contents.expanded.source = QUrl("qrc:/vantry/tests/Missing.qml");
    make({});
    expand();
    EXPECT_EQ(surface().shapeRect().size(), QSizeF(200, 36));
    EXPECT_FALSE(warnings.takeWarnings().isEmpty());
}

} // namespace
} // namespace vantry::test
