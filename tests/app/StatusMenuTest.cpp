#include "app/StatusMenu.h"

#include <gtest/gtest.h>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;
using enum StatusMenuAction;

TEST(StatusMenu, hasNothingThatPausesTelegram)
{
    QList<StatusMenuItem> menu = statusMenu();
    menuNeedsUpdate(menu, true);
    EXPECT_EQ(menu, statusMenu());
    EXPECT_EQ(menu.size(), 5);
}

TEST(StatusMenu, whatPausesTelegramSaysWhatItWouldDoAndTheFirstGoes)
{
    QList<StatusMenuItem> menu { { u"a"_s, ShowApp },
                                 { u"b"_s, ToggleTelegramPause },
                                 { u"c"_s, ToggleTelegramPause } };
    menuNeedsUpdate(menu, false);
    EXPECT_EQ(menu, (QList<StatusMenuItem> { { u"a"_s, ShowApp }, { u"Pause Telegram"_s, ToggleTelegramPause } }));
    menu.append({ u"d"_s, ToggleTelegramPause });
    menuNeedsUpdate(menu, true);
    EXPECT_EQ(menu, (QList<StatusMenuItem> { { u"a"_s, ShowApp }, { u"Resume Telegram"_s, ToggleTelegramPause } }));
}

} // namespace
} // namespace vantry::test
