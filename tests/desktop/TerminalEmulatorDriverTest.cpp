#include "platform/linux/TerminalEmulatorDriver.h"

#include "desktop/support/Desktop.h"

#include <gmock/gmock.h>

#include <QDir>
#include <QFileInfo>

#include <signal.h>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;

/// Real terminal emulators, in whose windows a command line writes down where it runs.
class TerminalEmulatorDriverDesktopTest : public ::testing::TestWithParam<const char *>
{
protected:
    TerminalEmulatorDriverDesktopTest() { QDir(desktop.path({})).mkdir(u"a b'c"_s); }

    [[nodiscard]] QByteArrayList linesOf(const QString &name) const
    {
        QFile file(desktop.path(name));
        const bool isThere = eventually([&] { return QFileInfo::exists(file.fileName()); }, std::chrono::seconds(60));
        EXPECT_TRUE(isThere && file.open(QFile::ReadOnly)) << name.toStdString();
        return file.readAll().trimmed().split('\n');
    }

    const QString emulator { QString::fromLatin1(GetParam()) };
    Desktop desktop { { .windowManager = true, .bus = true } };
    TerminalEmulatorDriver driver;
};

TEST_P(TerminalEmulatorDriverDesktopTest, runsACommandLineInAShellThatStays)
{
    const QString folder = desktop.path(u"a b'c"_s);
    const QString report = desktop.path(u"report"_s);
    // "tty" succeeds only in a real terminal; the words are taken apart by the shell alone.
    const QString commandLine = u"printf '%s\\n' \"$PWD\" \"$$\" \"$(tty >/dev/null && echo terminal)\" "
                                "'a  $(id) \";' >'%1.new'; mv '%1.new' '%1'"_s.arg(report);
    qputenv("TERMINAL", emulator.toLocal8Bit());

    const auto place = driver.findPlaceToOpen();
    ASSERT_TRUE(place);
    EXPECT_EQ(place->sessionID, emulator);
    EXPECT_EQ(driver.open(*place, { folder, commandLine }), std::nullopt);

    const QByteArrayList lines = linesOf(u"report"_s);
    EXPECT_EQ(lines.value(0), folder.toUtf8());
    EXPECT_EQ(lines.value(2), "terminal");
    EXPECT_EQ(lines.value(3), "a  $(id) \";");
    // The command has ended: the shell has not.
    const pid_t shell = lines.value(1).toInt();
    ASSERT_GT(shell, 1);
    EXPECT_EQ(::kill(shell, 0), 0);
    ::kill(shell, SIGKILL);
}

TEST_P(TerminalEmulatorDriverDesktopTest, givesTheWindowTheFocus)
{
    desktop.start(u"xterm"_s, { u"-class"_s, u"Other"_s });
    const quint64 other = desktop.waitForWindow(u"Other"_s);
    ASSERT_TRUE(desktop.waitUntilActive(other));

    EXPECT_EQ(driver.open({ u"terminal-emulator"_s, emulator, {} }, { desktop.path({}), u"true"_s }), std::nullopt);

    EXPECT_TRUE(eventually([&] { return desktop.activeWindow() != other && desktop.activeWindow() != 0; },
                           std::chrono::seconds(60)));
}

INSTANTIATE_TEST_SUITE_P(Emulators, TerminalEmulatorDriverDesktopTest,
                         ::testing::Values("xterm", "konsole", "kitty", "x-terminal-emulator"),
                         [](const auto &parameter) {
                             QString name = QString::fromLatin1(parameter.param);
                             return name.remove(u'-').toStdString();
                         });

TEST(TerminalEmulatorDriverWithoutServer, tellsThatNoWindowCouldBeOpened)
{
    Desktop desktop;
    desktop.server().killAndWait();
    TerminalEmulatorDriver driver(std::chrono::seconds(60));

    EXPECT_EQ(driver.open({ u"terminal-emulator"_s, u"xterm"_s, {} }, { desktop.path({}), u"true"_s }),
              u"/usr/bin/xterm ended at once with status 1"_s);
}

} // namespace
} // namespace vantry::test
