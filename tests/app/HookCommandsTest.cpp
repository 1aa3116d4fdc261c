#include "app/control/HookCommands.h"

#include "support/RecordingConsole.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gmock/gmock.h>

namespace vantry {
namespace {

using namespace Qt::StringLiterals;
using ::testing::HasSubstr;

class HookCommands : public ::testing::Test
{
protected:
    HookCommands()
    {
        QFile script(home.filePath(u"script.py"_s));
        EXPECT_TRUE(script.open(QFile::WriteOnly));
        script.write("pass\n");
    }

    QTemporaryDir home;
    HookInstaller installer { home.path(), home.filePath(u"script.py"_s) };
    test::RecordingConsole console;
};

TEST_F(HookCommands, installAndTell)
{
    EXPECT_EQ(runHookInstall({}, installer, 49152, console), exitCode::done);
    EXPECT_EQ(console.output, "Hook installed. Restart Claude Code sessions to activate.\n");

    console.output.clear();
    EXPECT_EQ(runHookStatus({}, installer, console), exitCode::done);
    EXPECT_EQ(console.output, "The hook is installed.\n");
}

TEST_F(HookCommands, tellScripts)
{
    EXPECT_EQ(runHookStatus({ OutputForm::Json }, installer, console), exitCode::refused);
    EXPECT_EQ(runHookInstall({ OutputForm::Json }, installer, 49152, console), exitCode::done);
    EXPECT_EQ(runHookStatus({ OutputForm::Json }, installer, console), exitCode::done);

    EXPECT_EQ(console.output,
              "{\"installed\":false}\n"
              "{\"installed\":true,\"message\":\"Hook installed. Restart Claude Code sessions to activate.\"}\n"
              "{\"installed\":true}\n");
}

TEST_F(HookCommands, tellThatTheHookIsMissing)
{
    EXPECT_EQ(runHookStatus({}, installer, console), exitCode::refused);

    EXPECT_EQ(console.output, "");
    EXPECT_EQ(console.errors.size(), 1U);
}

TEST_F(HookCommands, noticeAScriptOfAnotherVersion)
{
    EXPECT_EQ(runHookInstall({}, installer, 49152, console), exitCode::done);
    QFile script(home.filePath(u"script.py"_s));
    ASSERT_TRUE(script.open(QFile::WriteOnly));
    script.write("newer\n");
    script.close();

    EXPECT_EQ(runHookStatus({}, installer, console), exitCode::done);

    EXPECT_THAT(console.output, HasSubstr("another version"));
}

TEST_F(HookCommands, sayWhyTheHookCannotBeInstalled)
{
    QDir().mkpath(home.filePath(u".claude"_s));
    QFile settings(installer.settingsPath());
    ASSERT_TRUE(settings.open(QFile::WriteOnly));
    settings.write("{ broken");
    settings.close();

    EXPECT_EQ(runHookInstall({}, installer, 49152, console), exitCode::refused);

    EXPECT_EQ(console.output, "");
    ASSERT_EQ(console.errors.size(), 1U);
    EXPECT_THAT(console.errors.front(), HasSubstr("Install failed: "));
}

} // namespace
} // namespace vantry
