#include "ShellFixture.h"

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;

class MenuBarExtraTest : public ShellFixture
{
protected:
    MenuBarExtraTest() { start(); }
};

TEST_F(MenuBarExtraTest, isShownWithItsMenuAtOnce)
{
    QStringList titles;
    for (const StatusItem::MenuEntry &entry : item.menu)
        titles.append(entry.title);

    EXPECT_TRUE(item.isVisible);
    EXPECT_FALSE(item.icon.isNull());
    EXPECT_EQ(titles, (QStringList { u"Show Vantry"_s, {}, u"Check for Updates…"_s, {}, u"Quit Vantry"_s }));
}

TEST_F(MenuBarExtraTest, showsTheKeyThatQuits)
{
    QStringList keys;
    for (const StatusItem::MenuEntry &entry : item.menu)
        keys.append(entry.key);

    EXPECT_EQ(keys, (QStringList { {}, {}, {}, {}, u"q"_s }));
}

TEST_F(MenuBarExtraTest, hasNothingThatCouldLookForUpdates)
{
    EXPECT_TRUE(item.menu.at(0).action);
    EXPECT_FALSE(item.menu.at(2).action);
    EXPECT_TRUE(item.menu.at(4).action);
}

TEST_F(MenuBarExtraTest, tellsHowManySessionsWait)
{
    EXPECT_EQ(item.toolTip, u"Vantry"_s);

    ask(u"one"_s);
    EXPECT_EQ(item.toolTip, u"Vantry: 1 session waits for you"_s);
    ask(u"two"_s);
    EXPECT_EQ(item.toolTip, u"Vantry: 2 sessions wait for you"_s);
    deliver(EventBuilder(HookEventType::sessionEnd).session(u"one"_s));
    EXPECT_EQ(item.toolTip, u"Vantry: 1 session waits for you"_s);
    deliver(EventBuilder(HookEventType::userPromptSubmit).session(u"two"_s));
    EXPECT_EQ(item.toolTip, u"Vantry"_s);
}

TEST_F(MenuBarExtraTest, paintsItsPictureOnlyWhenThatChanges)
{
    const int before = item.pictures;

    deliver(EventBuilder(HookEventType::sessionStart).session(u"one"_s));
    deliver(EventBuilder(HookEventType::userPromptSubmit).session(u"one"_s));
    EXPECT_EQ(item.pictures, before);

    ask(u"one"_s);
    ask(u"one"_s);
    EXPECT_EQ(item.pictures, before + 1);
}

} // namespace
} // namespace vantry::test
