#include "platform/linux/AgentHelp.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;

class AgentHelp : public ::testing::Test
{
protected:
    void write(const QString &name, const QByteArray &text) const
    {
        QFile file(home.filePath(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_EQ(file.write(text), text.size());
    }
    /// An agent that only the shell's start-up file leads to.
    void install(const QString &startUpFile, const QByteArray &agent) const
    {
        ASSERT_TRUE(QDir(home.path()).mkpath(u".local/agent"_s));
        write(u".local/agent/claude"_s, agent);
        QFile::setPermissions(home.filePath(u".local/agent/claude"_s),
                              QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        write(startUpFile, "PATH=$HOME/.local/agent:/usr/bin:/bin\nexport PATH\n");
    }
    [[nodiscard]] std::optional<QString> help(const QString &shell = u"/bin/bash"_s) const
    {
        return agentHelp(shell, home.path());
    }

    QTemporaryDir home;
};

constexpr const char *agentWithHelp = "#!/bin/sh\n[ \"$*\" = --help ] && printf '  --permission-mode <mode>\\n'\n";

TEST_F(AgentHelp, isFoundByTheStartUpFilesOfBash)
{
    install(u".bash_profile"_s, agentWithHelp);

    EXPECT_TRUE(help().value_or(QString()).contains(u"--permission-mode <mode>"_s));
}

TEST_F(AgentHelp, isFoundByTheStartUpFilesOfASimplerShell)
{
    install(u".profile"_s, agentWithHelp);

    EXPECT_TRUE(help(u"/bin/dash"_s).value_or(QString()).contains(u"--permission-mode <mode>"_s));
}

TEST_F(AgentHelp, isNothingWithoutAnAgent)
{
    write(u".bash_profile"_s, "PATH=/nonexistent\n");

    EXPECT_EQ(help(), std::nullopt);
    EXPECT_EQ(help(u"/nonexistent/shell"_s), std::nullopt);
}

TEST_F(AgentHelp, isNothingWhenTheAgentFails)
{
    install(u".bash_profile"_s, "#!/bin/sh\necho '--permission-mode'\nexit 3\n");

    EXPECT_EQ(help(), std::nullopt);
}

TEST_F(AgentHelp, givesTheAgentNothingToWaitFor)
{
    install(u".bash_profile"_s, "#!/bin/sh\ncat\necho after\n");

    EXPECT_EQ(help(), u"after\n"_s);
}

} // namespace
} // namespace vantry::test
