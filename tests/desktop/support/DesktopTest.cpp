#include "desktop/support/Desktop.h"

#include <gmock/gmock.h>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;

TEST(Desktop, showsAProgramsWindowAndGivesItTheFocus)
{
    const QByteArray home = qgetenv("HOME");
    {
        Desktop desktop({ .windowManager = true, .bus = true });

        desktop.start(u"xterm"_s, { u"-class"_s, u"Probe"_s });

        EXPECT_TRUE(desktop.waitUntilActive(desktop.waitForWindow(u"Probe"_s)));
        EXPECT_EQ(qEnvironmentVariable("DISPLAY"), desktop.display());
        EXPECT_NE(qgetenv("HOME"), home);
    }
    EXPECT_EQ(qgetenv("HOME"), home);
}

} // namespace
} // namespace vantry::test
