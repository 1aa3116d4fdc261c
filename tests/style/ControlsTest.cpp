#include "support/views/ViewWindow.h"

#include <QAccessible>
#include <QQmlEngine>
#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace vantry::test {
namespace {

const auto catalogue = u"qrc:/vantry/tests/Catalogue.qml"_s;

class ControlsTest : public testing::Test
{
protected:
    [[nodiscard]] int pressed() { return m_window.root()->property("pressed").toInt(); }
    void focus(const QString &name) { m_window.item(name)->forceActiveFocus(Qt::TabFocusReason); }
    [[nodiscard]] QColor pixelAt(const QPoint &point) { return m_window.grab().pixelColor(point); }
    /// Just inside the left edge of the item, half way down.
    [[nodiscard]] QPoint leftEdgeOf(const QString &name)
    {
        auto *item = m_window.item(name);
        return item->mapToScene({ 4, item->height() / 2 }).toPoint();
    }
    [[nodiscard]] static QAccessibleInterface *accessible(QObject *object)
    {
        return QAccessible::queryAccessibleInterface(object);
    }

    /// Whether an item of this name is in sight that shows the text.
    [[nodiscard]] static bool shows(QQuickItem *item, const QString &name, const QString &text)
    {
        if (!item->isVisible())
            return false;
        if (item->objectName() == name && item->property("text").toString() == text)
            return true;
        const auto children = item->childItems();
        return std::any_of(children.begin(), children.end(), [&](auto *child) { return shows(child, name, text); });
    }
    [[nodiscard]] QObject *menu() { return m_window.root()->findChild<QObject *>(u"menu"_s); }
    [[nodiscard]] bool isMenuOpened()
    {
        return ViewWindow::waitFor([this] { return menu()->property("opened").toBool(); });
    }
    void closeMenu()
    {
        EXPECT_TRUE(isMenuOpened());
        m_window.key(Qt::Key_Escape);
        EXPECT_TRUE(ViewWindow::waitFor([this] { return !menu()->property("visible").toBool(); }));
    }

    ViewWindow m_window { catalogue };
};

TEST_F(ControlsTest, buttonIsPressedByPointerSpaceReturnAndEnter)
{
    m_window.click(u"button1"_s);
    EXPECT_EQ(pressed(), 1);
    focus(u"button1"_s);
    m_window.key(Qt::Key_Space);
    EXPECT_EQ(pressed(), 2);
    m_window.key(Qt::Key_Return);
    EXPECT_EQ(pressed(), 3);
    m_window.key(Qt::Key_Enter);
    EXPECT_EQ(pressed(), 4);
}

TEST_F(ControlsTest, buttonThatCannotBeUsedKeepsItsFocusAndTellsWhy)
{
    for (int kind = 0; kind < 4; ++kind) {
        const auto name = u"disabled%1"_s.arg(kind);
        m_window.click(name);
        focus(name);
        EXPECT_TRUE(m_window.item(name)->hasActiveFocus());
        m_window.key(Qt::Key_Space);
        m_window.key(Qt::Key_Return);
        EXPECT_EQ(accessible(m_window.item(name))->text(QAccessible::Description), u"Nothing waits"_s);
        accessible(m_window.item(name))->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    }
    EXPECT_EQ(pressed(), 0);
}

TEST_F(ControlsTest, buttonThatIsDoneKeepsItsWidthAndDoesNothing)
{
    auto *rest = m_window.item(u"button1"_s);
    auto *done = m_window.item(u"done1"_s);
    EXPECT_EQ(rest->width(), done->width());
    m_window.click(u"done1"_s);
    EXPECT_EQ(pressed(), 0);
}

TEST_F(ControlsTest, controlsHaveRoleNameAndPressForAssistivePrograms)
{
    struct Expectation
    {
        QString item;
        QAccessible::Role role;
        QString name;
    };
    const Expectation expectations[] = { { u"button0"_s, QAccessible::Button, u"Allow"_s },
                                         { u"icon"_s, QAccessible::Button, u"Notifications"_s },
                                         { u"row"_s, QAccessible::ListItem, u"storefront-web"_s },
                                         { u"search"_s, QAccessible::EditableText, u"Search sessions..."_s },
                                         { u"section"_s, QAccessible::Heading, u"Needs Attention"_s },
                                         { u"elided"_s, QAccessible::StaticText, u"storefront-web-with-a-long-name"_s },
                                         { u"bar"_s, QAccessible::ProgressBar, u"22% context used"_s } };
    for (const auto &[item, role, name] : expectations) {
        auto *interface = accessible(m_window.item(item));
        ASSERT_TRUE(interface) << qPrintable(item);
        EXPECT_EQ(interface->role(), role) << qPrintable(item);
        EXPECT_EQ(interface->text(QAccessible::Name), name);
    }
    for (const auto &item : { u"button0"_s, u"icon"_s, u"row"_s })
        accessible(m_window.item(item))->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_EQ(pressed(), 3);
}

TEST_F(ControlsTest, focusRingIsShownForTheKeyboardAlone)
{
    auto *button = m_window.item(u"button0"_s);
    auto *ring = m_window.item(u"button0"_s)->findChild<QQuickItem *>(u"focusRing"_s);
    ASSERT_TRUE(ring);
    m_window.click(u"button0"_s);
    EXPECT_TRUE(button->hasActiveFocus());
    EXPECT_FALSE(ring->isVisible());
    focus(u"icon"_s);
    focus(u"button0"_s);
    EXPECT_TRUE(ring->isVisible());
}

TEST_F(ControlsTest, tabVisitsTheControlsInTheirOrder)
{
    focus(u"icon"_s);
    m_window.key(Qt::Key_Tab);
    EXPECT_TRUE(m_window.item(u"iconOff"_s)->hasActiveFocus());
    m_window.key(Qt::Key_Tab);
    EXPECT_TRUE(m_window.item(u"button1"_s)->hasActiveFocus());
    m_window.key(Qt::Key_Tab);
    EXPECT_TRUE(m_window.item(u"disabled1"_s)->hasActiveFocus());
    m_window.key(Qt::Key_Backtab, Qt::ShiftModifier);
    EXPECT_TRUE(m_window.item(u"button1"_s)->hasActiveFocus());
}

TEST_F(ControlsTest, nothingThatIsClickedIsSmallerThan24)
{
    for (const auto &name : { u"button0"_s, u"button3"_s, u"icon"_s, u"row"_s, u"search"_s, u"message"_s }) {
        EXPECT_GE(m_window.item(name)->height(), 24) << qPrintable(name);
        EXPECT_GE(m_window.item(name)->width(), 24) << qPrintable(name);
    }
}

TEST_F(ControlsTest, rowOpensByReturnAndAsksForItsMenuByKeyboardAndPointer)
{
    QSignalSpy menus(m_window.item(u"row"_s), SIGNAL(menuRequested(QPointF)));
    focus(u"row"_s);
    m_window.key(Qt::Key_Return);
    EXPECT_EQ(pressed(), 1);
    m_window.key(Qt::Key_Menu);
    EXPECT_EQ(menus.count(), 1);
    closeMenu();
    EXPECT_TRUE(m_window.item(u"row"_s)->hasActiveFocus());
    m_window.key(Qt::Key_F10, Qt::ShiftModifier);
    EXPECT_EQ(menus.count(), 2);
    closeMenu();
    m_window.click(u"row"_s, Qt::RightButton);
    EXPECT_EQ(menus.count(), 3);
    closeMenu();
    EXPECT_EQ(pressed(), 1);
}

TEST_F(ControlsTest, menuIsDrivenByTheKeyboardAndStaysInsideItsWindow)
{
    focus(u"row"_s);
    m_window.key(Qt::Key_Menu);
    ASSERT_TRUE(isMenuOpened());
    m_window.grab().save(u"style-menu.png"_s);
    m_window.key(Qt::Key_Down);
    m_window.key(Qt::Key_Down);
    m_window.key(Qt::Key_Up);
    m_window.key(Qt::Key_Return);
    EXPECT_EQ(pressed(), 1);
    ASSERT_TRUE(ViewWindow::waitFor([this] { return !menu()->property("visible").toBool(); }));

    for (const auto scale : { 1.0, 1.5 }) {
        m_window.preferences().set({ .textScale = scale });
        QMetaObject::invokeMethod(m_window.root(), "openMenuAt", Q_ARG(QVariant, 555), Q_ARG(QVariant, 755));
        ASSERT_TRUE(isMenuOpened());
        auto *content = menu()->property("contentItem").value<QQuickItem *>();
        const auto area = content->mapRectToScene(content->boundingRect());
        EXPECT_TRUE(QRectF(QPointF(), m_window.view().size()).contains(area)) << scale << " " << area.right();
        closeMenu();
    }
}

TEST_F(ControlsTest, searchFieldTakesTextAndIsClearedByItsButton)
{
    auto *field = m_window.item(u"search"_s);
    field->forceActiveFocus();
    m_window.type(u"checkout"_s);
    EXPECT_EQ(field->property("text").toString(), u"checkout"_s);
    auto *clear = field->findChild<QQuickItem *>(u"clear"_s);
    ASSERT_TRUE(clear);
    EXPECT_TRUE(clear->isVisible());
    QTest::mouseClick(&m_window.view(), Qt::LeftButton, {}, ViewWindow::centerOf(clear));
    EXPECT_EQ(field->property("text").toString(), QString());
    EXPECT_FALSE(clear->isVisible());
    EXPECT_TRUE(field->hasActiveFocus());
}

TEST_F(ControlsTest, messageFieldSendsOnReturnAndGrowsToItsMostLines)
{
    auto *field = m_window.item(u"message"_s);
    const auto oneLine = field->height();
    field->forceActiveFocus();
    m_window.type(u"a"_s);
    m_window.key(Qt::Key_Return);
    EXPECT_EQ(pressed(), 1);
    EXPECT_EQ(field->property("text").toString(), u"a"_s);
    m_window.key(Qt::Key_Return, Qt::ShiftModifier);
    m_window.type(u"b"_s);
    EXPECT_EQ(field->property("text").toString(), u"a\nb"_s);
    EXPECT_EQ(pressed(), 1);
    EXPECT_GT(field->implicitHeight(), oneLine);
    for (int i = 0; i < 20; ++i)
        m_window.key(Qt::Key_Return, Qt::ShiftModifier);
    const auto most = field->implicitHeight();
    m_window.key(Qt::Key_Return, Qt::ShiftModifier);
    EXPECT_EQ(field->implicitHeight(), most);
    EXPECT_LT(most, 100);
}

TEST_F(ControlsTest, colorsFollowTheDesktopWhileShown)
{
    const QPoint ground(555, 400);
    const auto button = leftEdgeOf(u"button1"_s);
    EXPECT_EQ(pixelAt(ground), QColor(u"#FBFBFC"_s));
    EXPECT_EQ(pixelAt(button), QColor(u"#FFFFFF"_s));
    m_window.preferences().set({ .prefersDark = true });
    EXPECT_EQ(pixelAt(ground), QColor(u"#1C1D20"_s));
    // Controls fade over to their new colour.
    EXPECT_TRUE(ViewWindow::waitFor([&] { return pixelAt(button) == QColor(u"#242629"_s); }));
    m_window.grab().save(u"style-dark.png"_s);
    m_window.preferences().set({});
    EXPECT_EQ(pixelAt(ground), QColor(u"#FBFBFC"_s));
    EXPECT_TRUE(ViewWindow::waitFor([&] { return pixelAt(button) == QColor(u"#FFFFFF"_s); }));
    m_window.grab().save(u"style-light.png"_s);
}

TEST_F(ControlsTest, whatIsDisabledOrTooLongHasATooltip)
{
    m_window.hover(u"elided"_s);
    const auto hasTip = [&](const QString &text) {
        return ViewWindow::waitFor([&] { return shows(m_window.view().contentItem(), u"tipText"_s, text); });
    };
    EXPECT_TRUE(hasTip(u"storefront-web-with-a-long-name"_s));
    m_window.grab().save(u"style-tip.png"_s);
    focus(u"disabled1"_s);
    EXPECT_TRUE(hasTip(u"Nothing waits"_s));
}

TEST_F(ControlsTest, nothingTurnsWithReducedMotion)
{
    auto *sparkle = m_window.item(u"sparkle"_s);
    EXPECT_TRUE(ViewWindow::waitFor([&] { return sparkle->property("angle").toReal() > 0; }));
    m_window.preferences().set({ .reducedMotion = true });
    EXPECT_EQ(sparkle->property("angle").toReal(), 0);
    EXPECT_FALSE(sparkle->property("turns").toBool());
}

TEST_F(ControlsTest, nothingTurnsInAHiddenWindow)
{
    auto *sparkle = m_window.item(u"sparkle"_s);
    EXPECT_TRUE(sparkle->property("turns").toBool());
    m_window.view().hide();
    EXPECT_FALSE(sparkle->property("turns").toBool());
    m_window.view().show();
    EXPECT_TRUE(sparkle->property("turns").toBool());
}

TEST(StyleTest, notchWindowIsAlwaysBlack)
{
    ViewWindow window(catalogue, {}, u"notch"_s);
    EXPECT_EQ(window.grab().pixelColor(555, 400), QColor(Qt::black));
    window.preferences().set({ .prefersDark = true });
    EXPECT_EQ(window.grab().pixelColor(555, 400), QColor(Qt::black));
    window.grab().save(u"style-notch.png"_s);
}

TEST(StyleTest, picturesAreSharpAtTextScale)
{
    ViewWindow window(catalogue);
    window.preferences().set({ .textScale = 2 });
    auto *symbol = window.item(u"sparkle"_s);
    EXPECT_EQ(symbol->property("textureSize").toSize(), QSize(28, 28));
}

TEST(StyleTest, itemsOfAnEngineThatWasGivenNothingAreLight)
{
    QQmlEngine engine;
    EXPECT_EQ(Appearance::of(&engine).theme(), Appearance::ThemeName::Light);
    EXPECT_EQ(Appearance::of(&engine).preferences(), DesktopPreferences::Values());
}

} // namespace
} // namespace vantry::test
