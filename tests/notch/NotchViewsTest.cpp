#include "gallery/PanelWorld.h"
#include "notch/NotchPeekCardModel.h"
#include "support/views/ViewWindow.h"

#include <QAccessible>
#include <QDateTime>
#include <QGuiApplication>
#include <QTest>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

using namespace Qt::StringLiterals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace vantry::test {
namespace {

QString file(const char *name)
{
    return u"qrc:/qt/qml/Vantry/Notch/%1.qml"_s.arg(QLatin1StringView(name));
}

/// The notch's views over invented sessions.
class NotchViewsTest : public ::testing::Test
{
protected:
    SessionPtr add(const QString &project, SessionState state, const QString &tool = {})
    {
        SessionPtr session = world.add({ .project = project, .state = state, .tool = tool });
        world.notch().refresh();
        return session;
    }
    QVariantMap viewModel() { return { { u"viewModel"_s, QVariant::fromValue(&world.notch()) } }; }

    gallery::PanelWorld world;
};

class CompactSidesTest : public NotchViewsTest
{
protected:
    /// Made at the first call, with what there is then.
    ViewWindow &leading()
    {
        if (!m_window)
            m_window = std::make_unique<ViewWindow>(file("NotchCompactLeadingView"), viewModel(), u"notch"_s);
        return *m_window;
    }
    [[nodiscard]] bool turns() { return m_window->root()->property("spins").toBool(); }
    [[nodiscard]] bool pulses() { return m_window->root()->property("pulses").toBool(); }
    [[nodiscard]] QColor colorOf(const QString &name)
    {
        return m_window->item(name)->property("color").value<QColor>();
    }

    const QColor orange = QColor::fromRgbF(0.976F, 0.451F, 0.086F);

private:
    std::unique_ptr<ViewWindow> m_window;
};

TEST_F(CompactSidesTest, theMarkIsWhiteAndStillWhenNothingWorks)
{
    add(u"a"_s, SessionState::ready);
    leading();
    EXPECT_EQ(colorOf(u"mark"_s), QColor(Qt::white));
    EXPECT_TRUE(leading().item(u"mark"_s)->isVisible());
    EXPECT_FALSE(turns());
    EXPECT_FALSE(pulses());
}

TEST_F(CompactSidesTest, theMarkIsOrangeAndTurnsWhileASessionWorks)
{
    add(u"a"_s, SessionState::working);
    auto &window = leading();
    auto *mark = window.item(u"mark"_s);
    EXPECT_EQ(colorOf(u"mark"_s).rgb(), orange.rgb());
    EXPECT_EQ(mark->width(), 10);
    EXPECT_TRUE(turns());
    const auto before = mark->property("angle").toReal();
    EXPECT_TRUE(ViewWindow::waitFor([&] { return mark->property("angle").toReal() != before; }));

    world.manager().sessions().first()->setState(SessionState::ready);
    world.notch().refresh();
    EXPECT_FALSE(turns());
    EXPECT_EQ(mark->property("angle").toReal(), 0);
}

TEST_F(CompactSidesTest, theAngleIsAFunctionOfTheClockAlone)
{
    add(u"a"_s, SessionState::working);
    // One that is made anew goes on where the other was.
    for (int i = 0; i < 2; ++i) {
        ViewWindow window(file("NotchCompactLeadingView"), viewModel(), u"notch"_s);
        const auto *mark = window.item(u"mark"_s);
        const auto isOnTime = [mark] {
            const qreal now = qreal(QDateTime::currentMSecsSinceEpoch() % 3000) / 3000 * 360;
            return std::fmod(now - mark->property("angle").toReal() + 360, 360) < 30;
        };
        EXPECT_TRUE(ViewWindow::waitFor(isOnTime));
    }
}

TEST_F(CompactSidesTest, aSignPulsesWhileASessionWaits)
{
    const auto a = add(u"a"_s, SessionState::needsPermission);
    auto &window = leading();
    auto *glyph = window.item(u"waitingGlyph"_s);
    EXPECT_TRUE(glyph->isVisible());
    EXPECT_FALSE(window.item(u"mark"_s)->isVisible());
    EXPECT_EQ(glyph->property("name").toString(), u"exclamationmark"_s);
    EXPECT_EQ(colorOf(u"waitingGlyph"_s).rgb(), orange.rgb());
    EXPECT_TRUE(pulses());
    EXPECT_TRUE(ViewWindow::waitFor([&] { return glyph->opacity() < 0.9; }));
    EXPECT_TRUE(ViewWindow::waitFor([&] { return glyph->opacity() > 0.9; }));

    a->setState(SessionState::hasQuestion);
    world.notch().refresh();
    EXPECT_EQ(glyph->property("name").toString(), u"questionmark"_s);
    EXPECT_TRUE(pulses());

    a->setState(SessionState::ready);
    world.notch().refresh();
    EXPECT_FALSE(pulses());
    EXPECT_TRUE(window.item(u"mark"_s)->isVisible());
}

TEST_F(CompactSidesTest, theQuestionWinsOverWorkingSessions)
{
    add(u"a"_s, SessionState::working);
    add(u"b"_s, SessionState::hasQuestion);
    auto &window = leading();
    EXPECT_TRUE(window.item(u"waitingGlyph"_s)->isVisible());
    EXPECT_FALSE(turns());
}

TEST_F(CompactSidesTest, withReducedMotionNothingTurnsOrPulses)
{
    const auto a = add(u"a"_s, SessionState::working);
    auto &window = leading();
    EXPECT_TRUE(turns());
    window.preferences().set({ .reducedMotion = true });
    EXPECT_FALSE(turns());
    EXPECT_EQ(window.item(u"mark"_s)->property("angle").toReal(), 0);
    a->setState(SessionState::needsPermission);
    world.notch().refresh();
    EXPECT_FALSE(pulses());
    EXPECT_EQ(window.item(u"waitingGlyph"_s)->opacity(), 1);
    window.preferences().set({});
    EXPECT_TRUE(pulses());
}

TEST_F(CompactSidesTest, nothingTurnsWhileNobodySeesIt)
{
    add(u"a"_s, SessionState::working);
    auto &window = leading();
    window.root()->setVisible(false);
    EXPECT_FALSE(turns());
    window.root()->setVisible(true);
    EXPECT_TRUE(turns());
    window.view().hide();
    EXPECT_TRUE(ViewWindow::waitFor([&] { return !turns(); }));
}

TEST_F(CompactSidesTest, theGlyphsAreSaidInWords)
{
    QAccessible::setActive(true);
    add(u"a"_s, SessionState::needsPermission);
    add(u"b"_s, SessionState::needsPermission);
    auto *side = QAccessible::queryAccessibleInterface(leading().root());
    EXPECT_EQ(side->text(QAccessible::Name), u"Needs permission, 2"_s);
    EXPECT_EQ(side->role(), QAccessible::StaticText);
}

TEST_F(CompactSidesTest, theCountIsThereOnlyWhileSessionsWait)
{
    const auto a = add(u"a"_s, SessionState::working);
    ViewWindow window(file("NotchCompactTrailingView"), viewModel(), u"notch"_s);
    auto *count = window.item(u"count"_s);
    const auto width = window.root()->implicitWidth();
    EXPECT_FALSE(count->isVisible());
    a->setState(SessionState::needsPermission);
    world.notch().refresh();
    EXPECT_TRUE(count->isVisible());
    EXPECT_EQ(count->property("text").toString(), u"1"_s);
    EXPECT_EQ(count->property("color").value<QColor>().rgb(), orange.rgb());
    EXPECT_EQ(window.root()->implicitWidth(), width) << "nothing shifts";
}

TEST_F(CompactSidesTest, aLargeCountStaysInItsSide)
{
    for (int i = 0; i < 100; ++i)
        world.add({ .project = u"p%1"_s.arg(i), .state = SessionState::hasQuestion });
    world.notch().refresh();
    ViewWindow window(file("NotchCompactTrailingView"), viewModel(), u"notch"_s);
    auto *count = window.item(u"count"_s);
    EXPECT_EQ(count->property("text").toString(), u"100"_s);
    EXPECT_LE(count->property("contentWidth").toReal(), 26);
}

TEST_F(CompactSidesTest, theSidesGrowWithTheText)
{
    ViewWindow window(file("NotchCompactTrailingView"), viewModel(), u"notch"_s);
    const auto width = window.root()->implicitWidth();
    window.preferences().set({ .textScale = 2 });
    EXPECT_EQ(window.root()->implicitWidth(), width + 26);
}

class PeekCardTest : public NotchViewsTest
{
protected:
    /// Makes the card of the session.
    ViewWindow &show(const SessionPtr &session)
    {
        m_window.reset();
        m_card = std::make_unique<NotchPeekCardModel>(session, SessionCallbacks().heldRequestID);
        m_card->onTap = [this] { acts.append(u"tap"_s); };
        m_card->onAllow = [this] { acts.append(u"allow"_s); };
        m_window = std::make_unique<ViewWindow>(
            file("NotchPeekCard"), QVariantMap { { u"card"_s, QVariant::fromValue(m_card.get()) } }, u"notch"_s);
        return *m_window;
    }
    static QRectF placeOf(const QQuickItem *item) { return item->mapRectToScene(item->boundingRect()); }

    QStringList acts;

private:
    std::unique_ptr<NotchPeekCardModel> m_card;
    std::unique_ptr<ViewWindow> m_window;
};

TEST_F(PeekCardTest, allowIsClickedAndIsNoTap)
{
    auto &window = show(add(u"a"_s, SessionState::needsPermission, u"Bash"_s));
    window.click(u"allow"_s);
    EXPECT_THAT(acts, ElementsAre(u"allow"_s));
}

TEST_F(PeekCardTest, theWholeCardIsAButton)
{
    auto &window = show(add(u"a"_s, SessionState::needsPermission, u"Bash"_s));
    for (const QPoint at : { QPoint(3, 26), QPoint(150, 3), QPoint(150, 26), QPoint(297, 26), QPoint(150, 49) })
        QTest::mouseClick(&window.view(), Qt::LeftButton, {}, at);
    EXPECT_EQ(acts.count(u"tap"_s), 5);
    EXPECT_EQ(acts.size(), 5);
    QTest::mouseClick(&window.view(), Qt::RightButton, {}, QPoint(150, 26));
    EXPECT_EQ(acts.size(), 5);
}

TEST_F(PeekCardTest, aQuestionHasNoAllowAndATapIsTaken)
{
    auto &window = show(add(u"a"_s, SessionState::hasQuestion));
    EXPECT_FALSE(window.item(u"allow"_s)->isVisible());
    window.click(u"allow"_s); // Where it would be.
    EXPECT_THAT(acts, ElementsAre(u"tap"_s));
}

TEST_F(PeekCardTest, allowGoesWhenTheReasonHasGone)
{
    const auto session = add(u"a"_s, SessionState::needsPermission, u"Bash"_s);
    auto &window = show(session);
    EXPECT_TRUE(window.item(u"allow"_s)->isVisible());
    session->setState(SessionState::working);
    EXPECT_FALSE(window.item(u"allow"_s)->isVisible());
    window.click(u"allow"_s);
    EXPECT_THAT(acts, ElementsAre(u"tap"_s));
}

TEST_F(PeekCardTest, isAnAlertThatSaysWhatIsAsked)
{
    QAccessible::setActive(true);
    auto &window = show(add(u"storefront"_s, SessionState::needsPermission, u"Bash"_s));
    auto *card = QAccessible::queryAccessibleInterface(window.root());
    EXPECT_EQ(card->role(), QAccessible::AlertMessage);
    EXPECT_EQ(card->text(QAccessible::Name), u"storefront, Needs permission: Bash"_s);
    auto *allow = QAccessible::queryAccessibleInterface(window.item(u"allow"_s));
    EXPECT_EQ(allow->role(), QAccessible::Button);
    EXPECT_EQ(allow->text(QAccessible::Name), u"Allow"_s);
    allow->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    auto *whole = QAccessible::queryAccessibleInterface(window.item(u"whole"_s));
    EXPECT_EQ(whole->role(), QAccessible::Button);
    whole->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_THAT(acts, ElementsAre(u"allow"_s, u"tap"_s));
}

TEST_F(PeekCardTest, noKeyPressesAnything)
{
    auto &window = show(add(u"a"_s, SessionState::needsPermission, u"Bash"_s));
    for (const auto key : { Qt::Key_Space, Qt::Key_Return, Qt::Key_Tab, Qt::Key_A })
        window.key(key);
    window.key(Qt::Key_A, Qt::AltModifier);
    EXPECT_THAT(acts, IsEmpty());
}

TEST_F(PeekCardTest, endlessNamesAreElidedAndAllowKeepsItsSize)
{
    const auto width = placeOf(show(add(u"a"_s, SessionState::needsPermission, u"B"_s)).item(u"allow"_s)).width();
    auto &window = show(add(QString(10'000, u'm'), SessionState::needsPermission, QString(10'000, u'w')));
    const auto allow = placeOf(window.item(u"allow"_s));
    EXPECT_EQ(allow.width(), width);
    EXPECT_EQ(allow.right(), 288);
    EXPECT_EQ(window.root()->implicitWidth(), 300);
    EXPECT_EQ(window.root()->implicitHeight(), 52);
}

TEST_F(PeekCardTest, everythingMirrorsButTheNotch)
{
    const auto session = add(u"a"_s, SessionState::needsPermission, u"Bash"_s);
    const auto place = placeOf(show(session).item(u"allow"_s));
    QGuiApplication::setLayoutDirection(Qt::RightToLeft);
    EXPECT_EQ(placeOf(show(session).item(u"allow"_s)), place);
    QGuiApplication::setLayoutDirection(Qt::LeftToRight);
}

class ExpandedNotchTest : public NotchViewsTest
{
protected:
    static QQuickItem *labelled(QQuickItem *item, const QString &text)
    {
        if (item->isVisible() && item->property("text").toString() == text)
            return item;
        const auto children = item->childItems();
        for (auto *child : children) {
            if (auto *found = labelled(child, text))
                return found;
        }
        return nullptr;
    }
};

TEST_F(ExpandedNotchTest, isThePanelInItsOwnSizeOnBlack)
{
    add(u"a"_s, SessionState::ready);
    world.notch().setPanelVisible(true);
    ViewWindow window(file("NotchExpandedView"), viewModel(), u"notch"_s);
    EXPECT_EQ(window.root()->implicitWidth(), 390);
    EXPECT_EQ(window.root()->implicitHeight(), 420);
    EXPECT_EQ(window.grab().pixelColor(2, 2), QColor(Qt::black));
    window.preferences().set({ .textScale = 1.5 });
    EXPECT_EQ(window.root()->implicitWidth(), 585);
    EXPECT_EQ(window.root()->implicitHeight(), 630);
}

TEST_F(ExpandedNotchTest, isBlackWhateverTheDesktopPrefers)
{
    world.notch().setPanelVisible(true);
    ViewWindow window(file("NotchExpandedView"), viewModel(), u"notch"_s);
    for (const bool dark : { false, true }) {
        window.preferences().set({ .prefersDark = dark });
        EXPECT_EQ(window.grab().pixelColor(200, 300), QColor(Qt::black));
    }
}

TEST_F(ExpandedNotchTest, allowInItIsCarriedOut)
{
    add(u"storefront"_s, SessionState::needsPermission, u"Bash"_s);
    world.notch().setPanelVisible(true);
    world.settle();
    ViewWindow window(file("NotchExpandedView"), viewModel(), u"notch"_s);
    QQuickItem *allow = nullptr;
    ASSERT_TRUE(ViewWindow::waitFor([&] {
        world.settle();
        return (allow = labelled(window.root(), u"Allow"_s)) != nullptr;
    }));
    QTest::mouseClick(&window.view(), Qt::LeftButton, {}, ViewWindow::centerOf(allow));
    EXPECT_THAT(world.acts, ElementsAre(u"allow storefront"_s));
}

TEST_F(ExpandedNotchTest, escapeAtTheRootAsksForItToClose)
{
    int asked = 0;
    QObject::connect(&world.notch(), &NotchViewModel::closeRequested, [&asked] { ++asked; });
    ViewWindow window(file("NotchExpandedView"), viewModel(), u"notch"_s);
    window.root()->forceActiveFocus();
    window.key(Qt::Key_Escape);
    EXPECT_EQ(asked, 1);
}

TEST_F(ExpandedNotchTest, itsPanelIsItsOwn)
{
    EXPECT_NE(world.notch().panel(), &world.panel());
    EXPECT_EQ(world.notch().panel(), world.notch().panel());
    EXPECT_EQ(world.notch().panel()->panelWidth(), 390);
    EXPECT_EQ(world.panel().panelWidth(), 380);
    EXPECT_FALSE(world.notch().panel()->isVisible());
    world.notch().setPanelVisible(true);
    EXPECT_TRUE(world.notch().panel()->isVisible());
    EXPECT_FALSE(world.panel().isVisible());
}

} // namespace
} // namespace vantry::test
