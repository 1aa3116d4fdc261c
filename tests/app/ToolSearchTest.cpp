#include "app/ToolSearch.h"

#include "base/Cancellation.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <csignal>

namespace vantry {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

class ToolSearchTest : public ::testing::Test
{
protected:
    /// Makes a program, below the root or below the home folder.
    QString make(const QString &path, const QByteArray &script = "exit 0")
    {
        EXPECT_TRUE(QDir().mkpath(QFileInfo(path).path()));
        QFile file(path);
        EXPECT_TRUE(file.open(QFile::WriteOnly));
        file.write("#!/bin/sh\n" + script + '\n');
        file.close();
        EXPECT_TRUE(file.setPermissions(file.permissions() | QFile::ExeOwner));
        return path;
    }
    QString atHome(const QString &path) const { return folder.filePath(u"home/"_s + path); }
    QString inSystem(const QString &path) const { return folder.filePath(u"root/"_s + path); }
    QString which() const { return inSystem(u"usr/bin/which"_s); }
    QString zsh() const { return inSystem(u"bin/zsh"_s); }
    std::optional<QString> find(const QString &name = u"claude"_s) const { return search.find(name); }

    QTemporaryDir folder;
    ToolSearch search {
        .home = folder.filePath(u"home"_s), .loginShell = {}, .root = folder.filePath(u"root"_s), .patience = 60s
    };
};

TEST_F(ToolSearchTest, findsNothingOnAnEmptyMachine)
{
    EXPECT_EQ(find(), std::nullopt);
    EXPECT_EQ(find(u"python3"_s), std::nullopt);
}

TEST_F(ToolSearchTest, takesWhatIsOnThePath)
{
    make(which(), "echo \"  /opt/$1  \"; echo noise >&2");
    make(zsh(), "echo /from/zsh");

    EXPECT_EQ(find(), u"/opt/claude"_s);
    EXPECT_EQ(find(u"python3"_s), u"/opt/python3"_s);
}

TEST_F(ToolSearchTest, trustsWhichAboutAToolThatHasGone)
{
    make(which(), "echo /gone/claude");
    make(inSystem(u"usr/local/bin/claude"_s));

    EXPECT_EQ(find(), u"/gone/claude"_s);
}

TEST_F(ToolSearchTest, goesOnWhenWhichFailsOrSaysNothing)
{
    make(zsh(), "echo /from/zsh");

    make(which(), "echo /no/claude; exit 1");
    EXPECT_EQ(find(), u"/from/zsh"_s);
    make(which(), "echo '   '");
    EXPECT_EQ(find(), u"/from/zsh"_s);
    make(which(), "echo /no/claude; kill -9 $$");
    EXPECT_EQ(find(), u"/from/zsh"_s);
}

TEST_F(ToolSearchTest, asksZshAsALoginShell)
{
    make(zsh(), "echo \"/$#|$1|$2|$3\"");

    EXPECT_EQ(find(u"python3"_s), u"/3|-l|-c|which python3"_s);
}

TEST_F(ToolSearchTest, asksTheUsersOwnLoginShell)
{
    search.loginShell = make(inSystem(u"bin/bash"_s), "echo \"/$#|$1|$2|$3\"");

    EXPECT_EQ(find(), u"/3|-l|-c|command -v claude"_s);
}

TEST_F(ToolSearchTest, doesNotAskZshTwice)
{
    search.loginShell = make(inSystem(u"opt/zsh"_s), "echo /from/loginShell");

    EXPECT_EQ(find(), std::nullopt);
}

TEST_F(ToolSearchTest, ignoresALoginShellThatCannotBeRun)
{
    for (const QString &shell : { u"bash"_s, u"/no/such/shell"_s, u"/"_s, u""_s }) {
        search.loginShell = shell;
        EXPECT_EQ(find(), std::nullopt) << shell.toStdString();
    }
}

TEST_F(ToolSearchTest, overhearsWhatAProfilePrintsBeforeThePath)
{
    make(zsh(), "echo 'Welcome back!'; echo /etc/motd was read; echo; echo /real/claude");

    EXPECT_EQ(find(), u"/real/claude"_s);
}

TEST_F(ToolSearchTest, takesNoAliasOrFunctionForAPath)
{
    make(zsh(), "echo 'claude () {'; echo '  command claude'; echo '}'");
    search.loginShell = make(inSystem(u"bin/bash"_s), "echo \"alias claude='/x/claude'\"");

    EXPECT_EQ(find(), std::nullopt);
}

TEST_F(ToolSearchTest, givesAHangingProfileUp)
{
    search.patience = 50ms;
    make(zsh(), "sleep 600; echo /late/claude");
    const QString found = make(atHome(u".local/bin/claude"_s));

    EXPECT_EQ(find(), found);
}

TEST_F(ToolSearchTest, givesAProfileNothingToRead)
{
    make(zsh(), "read answer || echo /at/end");

    EXPECT_EQ(find(), u"/at/end"_s);
}

TEST_F(ToolSearchTest, doesNotWaitForWhatAProfileLeavesRunning)
{
    search.patience = 10min;
    make(zsh(), "sleep 600 & echo $! >\"$(dirname \"$0\")/left\"; echo /real/claude");

    EXPECT_EQ(find(), u"/real/claude"_s);

    QFile left(inSystem(u"bin/left"_s));
    ASSERT_TRUE(left.open(QFile::ReadOnly));
    EXPECT_EQ(::kill(left.readAll().trimmed().toInt(), SIGKILL), 0);
}

TEST_F(ToolSearchTest, endsAtOnceWhenNobodyWaitsForItAnyMore)
{
    search.patience = 10min;
    make(which(), "sleep 600");
    make(zsh(), "sleep 600");
    Cancellation cancellation;
    const Cancellation::Scope scope(cancellation);
    cancellation.cancel();

    EXPECT_EQ(find(), std::nullopt);
}

TEST_F(ToolSearchTest, looksWhereInstallersPutTheAgent)
{
    const QStringList last = { atHome(u".local/bin/claude"_s), atHome(u".claude/local/claude"_s),
                               atHome(u".bun/bin/claude"_s), inSystem(u"usr/bin/claude"_s) };
    const QStringList first = { inSystem(u"usr/local/bin/claude"_s), inSystem(u"opt/homebrew/bin/claude"_s) };
    for (const QString &path : first + last)
        make(path);

    for (const QString &path : first + last) {
        EXPECT_EQ(find(), path);
        QFile::remove(path);
    }
}

TEST_F(ToolSearchTest, looksWhereInstallersPutPython)
{
    const QStringList paths = { inSystem(u"usr/bin/python3"_s), inSystem(u"usr/local/bin/python3"_s),
                                inSystem(u"opt/homebrew/bin/python3"_s),
                                inSystem(u"Library/Frameworks/Python.framework/Versions/Current/bin/python3"_s),
                                atHome(u".local/bin/python3"_s) };
    for (const QString &path : paths)
        make(path);

    for (const QString &path : paths) {
        EXPECT_EQ(find(u"python3"_s), path);
        QFile::remove(path);
    }
}

TEST_F(ToolSearchTest, looksIntoTheFoldersOfNodesVersionManagersInTheirOrder)
{
    const QStringList paths = { atHome(u".nvm/versions/node/v18/bin/claude"_s),
                                atHome(u".nvm/versions/node/v20/bin/claude"_s),
                                atHome(u"Library/Application Support/fnm/node-versions/v20/installation/bin/claude"_s),
                                atHome(u".volta/bin/claude"_s),
                                inSystem(u"usr/local/n/versions/node/20/bin/claude"_s),
                                atHome(u".npm-global/bin/claude"_s) };
    for (const QString &path : paths)
        make(path);

    for (const QString &path : paths) {
        EXPECT_EQ(find(), path);
        QFile::remove(path);
    }
}

TEST_F(ToolSearchTest, findsNodeThatOnlyNvmHasInstalled)
{
    make(which(), "exit 1");
    EXPECT_TRUE(QDir().mkpath(atHome(u".nvm/versions/node/v18/bin"_s)));
    const QString found = make(atHome(u".nvm/versions/node/v20/bin/claude"_s));

    EXPECT_EQ(find(), found);
}

TEST_F(ToolSearchTest, takesOnlyFilesThatCanBeRun)
{
    EXPECT_TRUE(QDir().mkpath(inSystem(u"usr/local/bin/claude"_s)));
    const QString text = make(inSystem(u"opt/homebrew/bin/claude"_s));
    EXPECT_TRUE(QFile::setPermissions(text, QFile::ReadOwner));
    EXPECT_TRUE(QDir().mkpath(atHome(u".volta/bin"_s)));
    EXPECT_TRUE(QFile::link(u"gone"_s, atHome(u".volta/bin/claude"_s)));
    EXPECT_EQ(find(), std::nullopt);

    make(atHome(u".volta/bin/gone"_s));
    EXPECT_EQ(find(), atHome(u".volta/bin/claude"_s));
}

TEST_F(ToolSearchTest, skipsAFolderThatCannotBeRead)
{
    EXPECT_TRUE(QDir().mkpath(atHome(u".nvm/versions"_s)));
    QFile(atHome(u".nvm/versions/node"_s)).open(QFile::WriteOnly);
    const QString found = make(atHome(u".npm-global/bin/claude"_s));

    EXPECT_EQ(find(), found);
}

TEST_F(ToolSearchTest, knowsTheShellOfTheEnvironment)
{
    const QByteArray former = qgetenv("SHELL");
    qputenv("SHELL", "/bin/some-shell");

    const ToolSearch made = ToolSearch::forUser(u"/home/mara"_s);

    EXPECT_EQ(made.home, u"/home/mara"_s);
    EXPECT_EQ(made.loginShell, u"/bin/some-shell"_s);
    EXPECT_EQ(made.root, QString());
    former.isNull() ? qunsetenv("SHELL") : qputenv("SHELL", former);
}

} // namespace
} // namespace vantry
