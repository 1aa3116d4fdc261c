#include "platform/linux/X11WindowDriver.h"

#include "desktop/support/Desktop.h"
#include "platform/linux/LinuxApplications.h"
#include "platform/linux/LinuxProcessTable.h"

#include <gmock/gmock.h>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;

/// Terminals in which a shell has written down what a hook script would report.
class X11WindowDriverDesktopTest : public ::testing::Test
{
protected:
    struct Terminal
    {
        quint64 window;
        QString windowVariable; ///< WINDOWID, as the terminal has told its shell.
        std::int64_t shellPid;
    };
    Terminal open(const QString &windowClass)
    {
        const QString report = desktop.path(windowClass);
        desktop.start(u"xterm"_s, { u"-class"_s, windowClass, u"-e"_s, u"sh"_s, u"-c"_s,
                                    u"echo $WINDOWID $$ >%1.new; mv %1.new %1; sleep 3600; :"_s.arg(report) });
        const quint64 window = desktop.waitForWindow(windowClass);
        EXPECT_TRUE(desktop.waitUntilActive(window));
        EXPECT_TRUE(eventually([&] { return QFile::exists(report); }));
        QFile file(report);
        EXPECT_TRUE(file.open(QFile::ReadOnly));
        const QStringList words = QString::fromUtf8(file.readAll()).trimmed().split(u' ');
        return { window, words.value(0), words.value(1).toLongLong() };
    }

    Desktop desktop;
    LinuxProcessTable processes { desktop.path(u"data"_s) };
    LinuxApplications applications { processes };
    X11WindowDriver driver { applications };
};

TEST_F(X11WindowDriverDesktopTest, raisesTheWindowThatATerminalTellsItsShell)
{
    const Terminal terminal = open(u"One"_s);
    open(u"Other"_s);

    EXPECT_EQ(driver.focus({ u"x11-window"_s, terminal.windowVariable, {} }), std::nullopt);

    EXPECT_TRUE(desktop.waitUntilActive(terminal.window));
}

TEST_F(X11WindowDriverDesktopTest, raisesTheWindowAboveAShell)
{
    const Terminal terminal = open(u"One"_s);
    open(u"Other"_s);

    EXPECT_EQ(driver.focus({ u"x11-window"_s, {}, terminal.shellPid }), std::nullopt);

    EXPECT_TRUE(desktop.waitUntilActive(terminal.window));
}

TEST_F(X11WindowDriverDesktopTest, saysThatTheTerminalIsGone)
{
    const Terminal other = open(u"Other"_s);

    EXPECT_TRUE(driver.focus({ u"x11-window"_s, u"0x3fffffff"_s, {} }));
    EXPECT_TRUE(driver.focus({ u"x11-window"_s, {}, 0x7ffffff0 }));

    EXPECT_EQ(desktop.activeWindow(), other.window);
}

} // namespace
} // namespace vantry::test
