#include "platform/linux/TerminalEmulatorDriver.h"

#include <gmock/gmock.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <sys/stat.h>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

/// A folder with the only programs that can be found, which stand for terminal emulators.
class TerminalEmulatorDriverTest : public ::testing::Test
{
protected:
    TerminalEmulatorDriverTest()
    {
        qputenv("PATH", QFile::encodeName(folder.path()));
        qputenv("DISPLAY", ":0");
        qunsetenv("WAYLAND_DISPLAY");
        qunsetenv("TERMINAL");
    }
    ~TerminalEmulatorDriverTest() override { qputenv("PATH", path); }

    [[nodiscard]] QString file(const QString &name) const { return folder.filePath(name); }
    /// A program of this name, which runs a script.
    void makeProgram(const QString &name, const QString &script = u"exit 0"_s) const
    {
        QDir().mkpath(QFileInfo(file(name)).path());
        QFile program(file(name));
        ASSERT_TRUE(program.open(QFile::WriteOnly));
        program.write(u"#!/bin/sh\nPATH=/usr/bin:/bin\n%1\n"_s.arg(script).toUtf8());
        program.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
    [[nodiscard]] QByteArray contents(const QString &name) const
    {
        QFile written(file(name));
        return written.open(QFile::ReadOnly) ? written.readAll() : QByteArray();
    }
    [[nodiscard]] QString found() const
    {
        TerminalEmulatorDriver driver;
        const auto target = driver.findPlaceToOpen();
        return target ? target->sessionID : QString();
    }
    [[nodiscard]] static TerminalDriver::Failure open(const QString &emulator, const TerminalCommand &command)
    {
        // Programs that end by themselves: no test waits so long.
        return TerminalEmulatorDriver(10min).open({ u"terminal-emulator"_s, emulator, {} }, command);
    }
    [[nodiscard]] QStringList introduction(const QString &name) const
    {
        makeProgram(name);
        return TerminalEmulator::find(name)->arguments;
    }

    const QByteArray path { qgetenv("PATH") };
    QTemporaryDir folder;
};

TEST_F(TerminalEmulatorDriverTest, takesTheUsersChoiceFirst)
{
    makeProgram(u"mine"_s);
    makeProgram(u"xdg-terminal-exec"_s);
    makeProgram(u"x-terminal-emulator"_s);
    qputenv("TERMINAL", "mine");

    EXPECT_EQ(found(), u"mine"_s);
}

TEST_F(TerminalEmulatorDriverTest, takesTheSystemsChoiceOtherwise)
{
    EXPECT_EQ(found(), QString());
    makeProgram(u"x-terminal-emulator"_s);
    EXPECT_EQ(found(), u"x-terminal-emulator"_s);
    makeProgram(u"xdg-terminal-exec"_s);
    EXPECT_EQ(found(), u"xdg-terminal-exec"_s);
    qputenv("TERMINAL", "not-there");
    EXPECT_EQ(found(), u"xdg-terminal-exec"_s);
    qputenv("TERMINAL", "");
    EXPECT_EQ(found(), u"xdg-terminal-exec"_s);
}

TEST_F(TerminalEmulatorDriverTest, findsNothingWithoutADisplay)
{
    makeProgram(u"x-terminal-emulator"_s);
    qunsetenv("DISPLAY");
    EXPECT_EQ(found(), QString());
    qputenv("WAYLAND_DISPLAY", "");
    EXPECT_EQ(found(), QString());

    qputenv("WAYLAND_DISPLAY", "wayland-0");
    EXPECT_EQ(found(), u"x-terminal-emulator"_s);
    qunsetenv("WAYLAND_DISPLAY");
}

TEST_F(TerminalEmulatorDriverTest, findsAProgramByItsPath)
{
    makeProgram(u"mine"_s);

    EXPECT_EQ(TerminalEmulator::find(file(u"mine"_s)), (TerminalEmulator { file(u"mine"_s), { u"-e"_s } }));
}

TEST_F(TerminalEmulatorDriverTest, takesArgumentsBehindTheName)
{
    makeProgram(u"mine"_s);

    EXPECT_EQ(TerminalEmulator::find(u" mine  -fn 10x20 "_s),
              (TerminalEmulator { file(u"mine"_s), { u"-fn"_s, u"10x20"_s, u"-e"_s } }));
}

TEST_F(TerminalEmulatorDriverTest, takesAPathWithBlanksForAPath)
{
    makeProgram(u"my terminals/the best"_s);

    EXPECT_EQ(TerminalEmulator::find(file(u"my terminals/the best"_s)),
              (TerminalEmulator { file(u"my terminals/the best"_s), { u"-e"_s } }));
}

TEST_F(TerminalEmulatorDriverTest, findsNothingThatCannotBeRun)
{
    makeProgram(u"mine"_s);
    QFile::setPermissions(file(u"mine"_s), QFile::ReadOwner);
    QDir(folder.path()).mkdir(u"folder"_s);

    for (const QString &command : { u""_s, u"  "_s, u"mine"_s, u"folder"_s, u"./mine"_s, u"../x/mine"_s, u"missing"_s,
                                    u"/nowhere/mine"_s, u"missing -e"_s, u"\n"_s })
        EXPECT_FALSE(TerminalEmulator::find(command)) << command.toStdString();
}

TEST_F(TerminalEmulatorDriverTest, knowsHowEachEmulatorTakesAProgram)
{
    for (const QString &name : { u"xterm"_s, u"konsole"_s, u"alacritty"_s, u"ghostty"_s, u"urxvt"_s, u"st"_s,
                                 u"some-terminal"_s, u"x-terminal-emulator"_s })
        EXPECT_EQ(introduction(name), QStringList { u"-e"_s }) << name.toStdString();
    for (const QString &name : { u"gnome-terminal"_s, u"ptyxis"_s, u"kgx"_s })
        EXPECT_EQ(introduction(name), QStringList { u"--"_s }) << name.toStdString();
    for (const QString &name : { u"xfce4-terminal"_s, u"mate-terminal"_s, u"terminator"_s })
        EXPECT_EQ(introduction(name), QStringList { u"-x"_s }) << name.toStdString();
    for (const QString &name : { u"xdg-terminal-exec"_s, u"kitty"_s, u"foot"_s })
        EXPECT_EQ(introduction(name), QStringList()) << name.toStdString();
    EXPECT_EQ(introduction(u"wezterm"_s), (QStringList { u"start"_s, u"--"_s }));
}

TEST_F(TerminalEmulatorDriverTest, knowsAnEmulatorBehindALink)
{
    makeProgram(u"elsewhere/kitty"_s);
    ASSERT_TRUE(QFile::link(file(u"elsewhere/kitty"_s), file(u"alternative"_s)));
    ASSERT_TRUE(QFile::link(file(u"alternative"_s), file(u"x-terminal-emulator"_s)));

    EXPECT_EQ(TerminalEmulator::find(u"x-terminal-emulator"_s),
              (TerminalEmulator { file(u"x-terminal-emulator"_s), {} }));
}

TEST_F(TerminalEmulatorDriverTest, runsTheCommandLineInTheFolder)
{
    makeProgram(u"mine"_s,
                u"pwd >'%1'; for word; do printf '<%s>' \"$word\"; done >'%2'"_s.arg(file(u"cwd"_s), file(u"words"_s)));
    QDir(folder.path()).mkdir(u"a b'c"_s);
    const QString commandLine = u"cd 'x' && claude -p '$(id); \"é'"_s;

    EXPECT_EQ(open(u"mine --option"_s, { file(u"a b'c"_s), commandLine }), std::nullopt);

    EXPECT_EQ(contents(u"cwd"_s), file(u"a b'c"_s).toUtf8() + '\n');
    EXPECT_TRUE(contents(u"words"_s).startsWith("<--option><-e></"));
    EXPECT_TRUE(contents(u"words"_s).contains(commandLine.toUtf8()));
}

TEST_F(TerminalEmulatorDriverTest, passesOnNothingThatIsMeantForItselfOrForAnotherTerminal)
{
    makeProgram(u"mine"_s, u"env >'%1'"_s.arg(file(u"variables"_s)));
    const QByteArrayList names { "QT_PROBE",     "GIT_DIR",       "TMUX",          "TMUX_PANE",
                                 "VANTRY_PROBE", "WINDOWID",      "TERM_PROGRAM",  "KITTY_WINDOW_ID",
                                 "KITTY_PID",    "KONSOLE_PROBE", "ALACRITTY_LOG", "KITTY_LISTEN_ON" };
    for (const QByteArray &name : names)
        qputenv(name.constData(), "probe-value");
    qputenv("EDITOR", "kept");

    EXPECT_EQ(open(u"mine"_s, { folder.path(), u"true"_s }), std::nullopt);

    EXPECT_FALSE(contents(u"variables"_s).contains("probe-value")) << contents(u"variables"_s).toStdString();
    EXPECT_TRUE(contents(u"variables"_s).contains("EDITOR=kept\n"));
    EXPECT_TRUE(contents(u"variables"_s).contains("DISPLAY=:0\n"));
    EXPECT_TRUE(contents(u"variables"_s).contains(QByteArray("PWD=" + folder.path().toUtf8() + '\n')));
    for (const QByteArray &name : names)
        qunsetenv(name.constData());
}

TEST_F(TerminalEmulatorDriverTest, tellsWhenAnEmulatorFails)
{
    makeProgram(u"failing"_s, u"exit 3"_s);
    makeProgram(u"killed"_s, u"kill -9 $$"_s);
    const TerminalCommand command { folder.path(), u"true"_s };

    EXPECT_EQ(open(u"failing"_s, command), file(u"failing"_s) + u" ended at once with status 3"_s);
    EXPECT_EQ(open(u"killed"_s, command), file(u"killed"_s) + u" was ended at once by a signal"_s);
    EXPECT_EQ(open(u"missing"_s, command), u"there is no terminal emulator \"missing\""_s);
}

TEST_F(TerminalEmulatorDriverTest, tellsWhenTheFolderIsMissing)
{
    makeProgram(u"mine"_s);

    EXPECT_EQ(open(u"mine"_s, { file(u"gone"_s), u"true"_s }), u"there is no folder "_s + file(u"gone"_s));
    EXPECT_EQ(open(u"mine"_s, { file(u"mine"_s), u"true"_s }), u"there is no folder "_s + file(u"mine"_s));
}

TEST_F(TerminalEmulatorDriverTest, takesAnEmulatorForWellThatHandsTheWindowToAnother)
{
    makeProgram(u"client"_s, u"exit 0"_s);

    EXPECT_EQ(open(u"client"_s, { folder.path(), u"true"_s }), std::nullopt);
}

TEST_F(TerminalEmulatorDriverTest, doesNotWaitForTheWindowToClose)
{
    ASSERT_EQ(::mkfifo(QFile::encodeName(file(u"gate"_s)).constData(), 0600), 0);
    makeProgram(u"mine"_s, u"read line <'%1'"_s.arg(file(u"gate"_s)));
    TerminalEmulatorDriver driver(1ms);

    EXPECT_EQ(driver.open({ u"terminal-emulator"_s, u"mine"_s, {} }, { folder.path(), u"true"_s }), std::nullopt);

    QFile gate(file(u"gate"_s));
    EXPECT_TRUE(gate.open(QFile::WriteOnly));
}

TEST_F(TerminalEmulatorDriverTest, hasNoSessionsOfItsOwn)
{
    TerminalEmulatorDriver driver;
    const TerminalTarget target { u"terminal-emulator"_s, u"xterm"_s, 100 };

    EXPECT_FALSE(driver.handles(u"terminal-emulator"_s));
    EXPECT_EQ(driver.abilities(target), TerminalDriver::Abilities {});
    EXPECT_TRUE(driver.focus(target));
    EXPECT_TRUE(driver.typeText(target, u"a"_s));
    EXPECT_TRUE(driver.pressReturn(target));
    EXPECT_TRUE(driver.close(target));
    EXPECT_FALSE(driver.examine(target));
}

} // namespace
} // namespace vantry::test
