#include "platform/linux/LoginShell.h"

#include "platform/TmuxServer.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace vantry::test {

namespace {

/// A command line in the user's shell, in a real terminal, with a home of its own.
class LoginShellTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(QDir(m_home.path()).mkpath(u"bin"_s));
        ASSERT_TRUE(QDir(m_home.path()).mkpath(u"the project's"_s));
        // Tells what it was given and whether it has a terminal, and waits for a key when told to.
        write(u"bin/agent"_s, R"(#!/bin/sh
[ -t 0 ] && [ -t 1 ] && [ -t 2 ] && terminal=terminal
{ printf '%s\n' "$PWD" "$@" "$terminal"; env; } >"$HOME/told.new"
mv "$HOME/told.new" "$HOME/told"
[ "$1" != wait ] || exec sleep 1000
)");
        QFile::setPermissions(path(u"bin/agent"_s), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }

    [[nodiscard]] QString path(const QString &name) const { return m_home.filePath(name); }
    void write(const QString &name, const QByteArray &text) const
    {
        QFile file(path(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_EQ(file.write(text), text.size());
    }
    [[nodiscard]] QByteArray read(const QString &name) const
    {
        QFile file(path(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    /// Whether the shell is there to be tested; bash and dash always are.
    static bool isInstalled(const QString &shell) { return QFile::exists(shell); }

    void start(const QString &shell, const QString &commandLine)
    {
        m_pane = m_server.openWindow(loginShellArguments(shell, commandLine),
                                     { u"HOME=" + m_home.path(), u"ENV="_s, u"HISTFILE="_s, u"PATH=/usr/bin:/bin"_s });
    }
    void type(const QString &text) const { m_server.run({ u"send-keys"_s, u"-t"_s, m_pane, u"-l"_s, u"--"_s, text }); }
    void press(const QString &key) const { m_server.run({ u"send-keys"_s, u"-t"_s, m_pane, key }); }
    /// Asks the shell to write a file, and so whether it takes commands again.
    [[nodiscard]] bool answers(const QString &name) const
    {
        type(u"echo \"still here\" >~/" + name);
        press(u"Enter"_s);
        return eventually([&] { return read(name) == "still here\n"; });
    }
    [[nodiscard]] bool shows(const QString &text) const
    {
        return eventually([&] { return m_server.run({ u"capture-pane"_s, u"-p"_s, u"-t"_s, m_pane }).contains(text); });
    }
    [[nodiscard]] bool isRunning(const QString &program) const
    {
        return m_server.run({ u"display-message"_s, u"-p"_s, u"-t"_s, m_pane, u"#{pane_current_command}"_s }) ==
               program;
    }
    [[nodiscard]] QByteArrayList told() const
    {
        [[maybe_unused]] const bool has = eventually([&] { return !read(u"told"_s).isEmpty(); });
        return read(u"told"_s).split('\n');
    }

    /// The command line stands for one that the user typed: words, folder, terminal, and then a shell.
    void expectCommandAndThenShell(const QString &shell)
    {
        start(shell, u"cd ~/'the project'\\''s' && agent 'two words' 'it'\\''s' 'a\\b\\\\' '$HOME;`x`\"'"_s);

        const QByteArrayList lines = told();
        ASSERT_GE(lines.size(), 6);
        EXPECT_EQ(lines.mid(0, 6), (QByteArrayList { QFile::encodeName(path(u"the project's"_s)), "two words", "it's",
                                                     "a\\b\\\\", "$HOME;`x`\"", "terminal" }));
        for (const QByteArray &line : lines)
            EXPECT_FALSE(line.startsWith("VANTRY_")) << line.constData();
        EXPECT_TRUE(answers(u"after"_s));
    }
    /// Ctrl-Z makes a job of the command, which can be continued; Ctrl-C ends it, and not the shell.
    void expectJobControl(const QString &shell)
    {
        start(shell, u"agent wait"_s);
        ASSERT_FALSE(told().isEmpty());
        ASSERT_TRUE(eventually([&] { return isRunning(u"sleep"_s); }));

        press(u"C-z"_s);
        ASSERT_TRUE(eventually([&] { return !isRunning(u"sleep"_s); }));
        EXPECT_TRUE(answers(u"stopped"_s));
        type(u"fg"_s);
        press(u"Enter"_s);
        EXPECT_TRUE(eventually([&] { return isRunning(u"sleep"_s); }));
        press(u"C-c"_s);
        EXPECT_TRUE(eventually([&] { return !isRunning(u"sleep"_s); }));
        EXPECT_TRUE(answers(u"interrupted"_s));
    }

    QTemporaryDir m_home;
    TmuxServer m_server;
    QString m_pane;
};

const QString bash = u"/bin/bash"_s;
const QString dash = u"/bin/dash"_s;
const QString zsh = u"/usr/bin/zsh"_s;
const QString fish = u"/usr/bin/fish"_s;
const QString tcsh = u"/usr/bin/tcsh"_s;
const QByteArray addsToPath = "PATH=$PATH:$HOME/bin\n";

} // namespace

TEST_F(LoginShellTest, bashRunsTheCommandAndStays)
{
    write(u".profile"_s, addsToPath);
    expectCommandAndThenShell(bash);
}

TEST_F(LoginShellTest, bashTakesThePathOfItsInteractiveFile)
{
    write(u".profile"_s, "export FROM_PROFILE=1\n");
    write(u".bashrc"_s, "case $- in *i*) ;; *) return;; esac\n" + addsToPath);
    expectCommandAndThenShell(bash);
    EXPECT_TRUE(told().contains("FROM_PROFILE=1"));
}

TEST_F(LoginShellTest, bashKnowsTheUsersAliases)
{
    write(u".bashrc"_s, "alias agent='~/bin/agent aliased'\n");
    start(bash, u"cd ~ && agent 'x'"_s);
    EXPECT_EQ(told().value(1), "aliased");
}

TEST_F(LoginShellTest, bashKeepsThePromptCommandsOfTheUser)
{
    for (const QByteArray &form : { QByteArray("PROMPT_COMMAND='touch ~/prompted'\n"),
                                    QByteArray("PROMPT_COMMAND=(true 'touch ~/prompted')\n") }) {
        QFile::remove(path(u"prompted"_s));
        QFile::remove(path(u"after"_s));
        write(u".bashrc"_s, addsToPath + form);
        start(bash, u"agent"_s);
        EXPECT_TRUE(eventually([&] { return QFile::exists(path(u"prompted"_s)); })) << form.data();
        QFile::remove(path(u"prompted"_s));
        EXPECT_TRUE(answers(u"after"_s));
        EXPECT_TRUE(eventually([&] { return QFile::exists(path(u"prompted"_s)); })) << form.data();
    }
}

TEST_F(LoginShellTest, bashHasTheCommandInItsHistory)
{
    write(u".bashrc"_s, addsToPath);
    start(bash, u"agent first"_s);
    ASSERT_EQ(told().value(1), "first");
    ASSERT_TRUE(answers(u"after"_s));
    QFile::remove(path(u"told"_s));
    press(u"Up"_s);
    press(u"Up"_s);
    press(u"Enter"_s);
    EXPECT_EQ(told().value(1), "first");
}

TEST_F(LoginShellTest, bashHasJobControl)
{
    write(u".profile"_s, addsToPath);
    expectJobControl(bash);
}

TEST_F(LoginShellTest, bashLeavesNothingBehind)
{
    start(bash, u"true"_s);
    ASSERT_TRUE(answers(u"after"_s));
    type(u"{ set; ls /proc/self/fd; } >~/state; echo done >~/written"_s);
    press(u"Enter"_s);
    ASSERT_TRUE(eventually([&] { return read(u"written"_s) == "done\n"; }));
    const QByteArray state = read(u"state"_s);
    EXPECT_FALSE(state.toLower().contains("vantry_"));
    EXPECT_FALSE(state.contains("\n9\n"));
}

TEST_F(LoginShellTest, dashRunsTheCommandAndStays)
{
    write(u".profile"_s, "ENV=~/.shrc; export ENV\n");
    write(u".shrc"_s, addsToPath);
    expectCommandAndThenShell(dash);
    EXPECT_TRUE(told().contains("ENV=" + QFile::encodeName(path(u".shrc"_s))));
}

TEST_F(LoginShellTest, dashHasJobControl)
{
    write(u".profile"_s, addsToPath);
    expectJobControl(dash);
}

TEST_F(LoginShellTest, zshRunsTheCommandAndStays)
{
    if (!isInstalled(zsh))
        GTEST_SKIP() << "zsh is not installed";
    write(u".zshrc"_s, addsToPath);
    expectCommandAndThenShell(zsh);
}

TEST_F(LoginShellTest, zshReadsTheFilesOfTheUsersOwnFolder)
{
    if (!isInstalled(zsh))
        GTEST_SKIP() << "zsh is not installed";
    ASSERT_TRUE(QDir(m_home.path()).mkpath(u"zsh"_s));
    write(u".zshenv"_s, "export ZDOTDIR=$HOME/zsh\n");
    write(u"zsh/.zshrc"_s, "alias agent='~/bin/agent aliased'\n");
    start(zsh, u"agent"_s);
    const QByteArrayList lines = told();
    EXPECT_EQ(lines.value(1), "aliased");
    EXPECT_TRUE(lines.contains("ZDOTDIR=" + QFile::encodeName(path(u"zsh"_s))));
}

TEST_F(LoginShellTest, zshHasJobControl)
{
    if (!isInstalled(zsh))
        GTEST_SKIP() << "zsh is not installed";
    write(u".zshrc"_s, addsToPath);
    expectJobControl(zsh);
}

TEST_F(LoginShellTest, fishRunsTheCommandAndStays)
{
    if (!isInstalled(fish))
        GTEST_SKIP() << "fish is not installed";
    ASSERT_TRUE(QDir(m_home.path()).mkpath(u".config/fish"_s));
    write(u".config/fish/config.fish"_s, "set -gx PATH $PATH $HOME/bin\n");
    expectCommandAndThenShell(fish);
}

TEST_F(LoginShellTest, fishHasJobControl)
{
    if (!isInstalled(fish))
        GTEST_SKIP() << "fish is not installed";
    ASSERT_TRUE(QDir(m_home.path()).mkpath(u".config/fish"_s));
    write(u".config/fish/config.fish"_s, "set -gx PATH $PATH $HOME/bin\n");
    expectJobControl(fish);
}

TEST_F(LoginShellTest, anUnknownShellFollowsTheCommand)
{
    write(u".profile"_s, addsToPath);
    write(u"bin/strange"_s, "#!/bin/bash\nexec bash --norc -i\n");
    QFile::setPermissions(path(u"bin/strange"_s), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    expectCommandAndThenShell(path(u"bin/strange"_s));
}

TEST_F(LoginShellTest, anUnknownShellFollowsACommandThatWasInterrupted)
{
    write(u".profile"_s, addsToPath);
    write(u"bin/strange"_s, "#!/bin/bash\nexec bash --norc -i\n");
    QFile::setPermissions(path(u"bin/strange"_s), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    start(path(u"bin/strange"_s), u"agent wait; agent second"_s);
    ASSERT_EQ(told().value(1), "wait");
    press(u"C-c"_s);
    EXPECT_TRUE(answers(u"interrupted"_s));
}

TEST_F(LoginShellTest, tcshFollowsTheCommand)
{
    if (!isInstalled(tcsh))
        GTEST_SKIP() << "tcsh is not installed";
    write(u".profile"_s, addsToPath);
    expectCommandAndThenShell(tcsh);
}

TEST(LoginShell, isAProgramThatCanBeRun)
{
    EXPECT_TRUE(QFileInfo(loginShell()).isExecutable());
    EXPECT_EQ(loginShellArguments(u"true"_s), loginShellArguments(loginShell(), u"true"_s));
}

TEST(LoginShell, quotesForFishWhatAPosixShellTakesLiterally)
{
    const QString line = loginShellArguments(fish, u"x 'a\\' \\' 'b\\'\\''c' d\\ e"_s).last();
    EXPECT_TRUE(line.contains(u"x 'a\\\\' \\' 'b\\\\'\\''c' d\\ e;")) << line.toStdString();
}

} // namespace vantry::test
