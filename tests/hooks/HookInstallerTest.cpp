#include "hooks/HookInstaller.h"

#include "base/JsonText.h"
#include "hooks/HookSettings.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gmock/gmock.h>

#include <sys/stat.h>
#include <unistd.h>

#include <string>

using namespace Qt::StringLiterals;

namespace vantry {
namespace {

const std::vector<std::string> allEvents {
    "Notification",       "Stop",           "SessionStart",       "SessionEnd",        "UserPromptSubmit",
    "PreToolUse",         "PostToolUse",    "PostToolUseFailure", "PermissionRequest", "SubagentStart",
    "SubagentStop",       "PreCompact",     "TaskCompleted",      "TeammateIdle",      "ConfigChange",
    "InstructionsLoaded", "WorktreeCreate", "WorktreeRemove",
};

constexpr auto success = "Hook installed. Restart Claude Code sessions to activate.";

class HookInstaller : public ::testing::Test
{
protected:
    HookInstaller() { EXPECT_TRUE(m_home.isValid()); }

    [[nodiscard]] QString home() const { return m_home.path(); }
    [[nodiscard]] QString settingsPath() const { return m_installer.settingsPath(); }
    [[nodiscard]] std::string install() const { return m_installer.install(49152).toStdString(); }

    [[nodiscard]] std::string command() const
    {
        return "python3 " + home().toStdString() + "/.claude/hooks/vantry_hook.py --port 49152";
    }
    [[nodiscard]] std::string ourGroup() const
    {
        return R"({"hooks":[{"type":"command","command":")" + command() + R"("}]})";
    }

    static void write(const QString &path, const std::string &text)
    {
        ASSERT_TRUE(QDir().mkpath(QFileInfo(path).path()));
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_EQ(file.write(text.data(), static_cast<qint64>(text.size())), static_cast<qint64>(text.size()));
    }
    void writeSettings(const std::string &text) const { write(settingsPath(), text); }

    [[nodiscard]] static std::string read(const QString &path)
    {
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
        return file.readAll().toStdString();
    }
    [[nodiscard]] std::string settings() const { return read(settingsPath()); }

    [[nodiscard]] JsonText settingsValue() const
    {
        auto value = JsonText::parse(settings());
        EXPECT_TRUE(value.has_value());
        return value.value_or(JsonText());
    }
    /// The groups under an event, as JSON text of our own pretty form.
    [[nodiscard]] std::vector<JsonText> groups(std::string_view event) const
    {
        const JsonText value = settingsValue();
        const JsonText *hooks = value.find("hooks");
        const JsonText *under = hooks ? hooks->find(event) : nullptr;
        return under ? under->elements() : std::vector<JsonText>();
    }

    [[nodiscard]] static JsonText json(const std::string &text)
    {
        auto value = JsonText::parse(text);
        EXPECT_TRUE(value.has_value()) << text;
        return value.value_or(JsonText());
    }
    [[nodiscard]] static mode_t mode(const QString &path)
    {
        struct stat status
        {};
        EXPECT_EQ(::stat(QFile::encodeName(path).constData(), &status), 0);
        return status.st_mode & 07777;
    }
    [[nodiscard]] QStringList entriesBesideSettings() const
    {
        return QDir(QFileInfo(settingsPath()).path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }

    QTemporaryDir m_home;
    vantry::HookInstaller m_installer { m_home.path() };
};

MATCHER_P(isJson, text, "")
{
    return arg.toPrettyText() == JsonText::parse(std::string(text))->toPrettyText();
}

TEST_F(HookInstaller, makesTheSettingsWithOneGroupForEachEvent)
{
    EXPECT_EQ(install(), success);

    for (const std::string &event : allEvents)
        EXPECT_THAT(groups(event), ::testing::ElementsAre(isJson(ourGroup()))) << event;
    EXPECT_EQ(settingsValue().find("hooks")->members().size(), allEvents.size());
    EXPECT_EQ(mode(settingsPath()), 0600U);
}

TEST_F(HookInstaller, putsTheDeliveredScriptInPlaceAsAnExecutable)
{
    EXPECT_EQ(install(), success);

    EXPECT_EQ(read(m_installer.scriptPath()), read(u":/vantry/vantry_hook.py"_s));
    EXPECT_THAT(read(m_installer.scriptPath()), ::testing::StartsWith("#!/usr/bin/env python3\n"));
    EXPECT_EQ(mode(m_installer.scriptPath()), 0755U);
}

TEST_F(HookInstaller, replacesTheScriptWithoutEverRemovingIt)
{
    write(m_installer.scriptPath(), "an older one");
    QFile running(m_installer.scriptPath());
    ASSERT_TRUE(running.open(QIODevice::ReadOnly));

    EXPECT_EQ(install(), success);

    EXPECT_EQ(running.readAll(), QByteArray("an older one")) << "The old file was written into";
    EXPECT_TRUE(m_installer.isCurrent());
}

TEST_F(HookInstaller, leavesNoOtherFilesBehind)
{
    EXPECT_EQ(install(), success);

    EXPECT_EQ(entriesBesideSettings(), QStringList({ u"hooks"_s, u"settings.json"_s }));
    EXPECT_EQ(QDir(home() + u"/.claude/hooks"_s).entryList(QDir::Files | QDir::Hidden),
              QStringList({ u"vantry_hook.py"_s }));
}

TEST_F(HookInstaller, installedTwiceIsInstalledOnce)
{
    EXPECT_EQ(install(), success);
    const std::string once = settings();
    EXPECT_EQ(install(), success);

    EXPECT_EQ(settings(), once);
}

TEST_F(HookInstaller, doesNotTouchSettingsThatAreRightAlready)
{
    EXPECT_EQ(install(), success);
    struct stat before
    {};
    ASSERT_EQ(::stat(QFile::encodeName(settingsPath()).constData(), &before), 0);
    EXPECT_EQ(install(), success);

    struct stat after
    {};
    ASSERT_EQ(::stat(QFile::encodeName(settingsPath()).constData(), &after), 0);
    EXPECT_EQ(after.st_ino, before.st_ino);
}

TEST_F(HookInstaller, writesAnotherPortIntoTheCommandLine)
{
    EXPECT_EQ(m_installer.install(1).toStdString(), success);

    EXPECT_THAT(settings(), ::testing::HasSubstr("vantry_hook.py --port 1\""));
    EXPECT_EQ(install(), success);
    EXPECT_THAT(settings(), ::testing::Not(::testing::HasSubstr("--port 1\"")));
}

TEST_F(HookInstaller, keepsTheOtherEntriesAndKeysOfAGroupThatHeldOurs)
{
    writeSettings(R"({"hooks":{"Stop":[{"matcher":"x","hooks":[{"type":"command","command":"a"},)"
                  R"({"command":"python /old/vantry_hook.py"},{"command":"b"}]}]}})");

    EXPECT_EQ(install(), success);

    EXPECT_THAT(
        groups("Stop"),
        ::testing::ElementsAre(isJson(R"({"matcher":"x","hooks":[{"type":"command","command":"a"},{"command":"b"}]})"),
                               isJson(ourGroup())));
}

TEST_F(HookInstaller, dropsAGroupThatHeldOnlyOurs)
{
    writeSettings(R"({"hooks":{"Stop":[{"matcher":"x","hooks":[{"command":"vantry_hook.py"}]}]}})");

    EXPECT_EQ(install(), success);

    EXPECT_THAT(groups("Stop"), ::testing::ElementsAre(isJson(ourGroup())));
}

TEST_F(HookInstaller, dropsAGroupWithoutEntries)
{
    writeSettings(R"({"hooks":{"Stop":[{"hooks":[]}]}})");

    EXPECT_EQ(install(), success);

    EXPECT_THAT(groups("Stop"), ::testing::ElementsAre(isJson(ourGroup())));
}

TEST_F(HookInstaller, keepsGroupsOfAnUnknownForm)
{
    writeSettings(R"({"hooks":{"Stop":[{},{"matcher":"x"},{"hooks":"vantry_hook.py"},{"hooks":[1]}]}})");

    EXPECT_EQ(install(), success);

    EXPECT_THAT(groups("Stop"), ::testing::ElementsAre(isJson("{}"), isJson(R"({"matcher":"x"})"),
                                                       isJson(R"({"hooks":"vantry_hook.py"})"),
                                                       isJson(R"({"hooks":[1]})"), isJson(ourGroup())));
}

TEST_F(HookInstaller, replacesAnEventsValueThatIsNoArrayOfObjects)
{
    writeSettings(R"({"hooks":{"Stop":"x","SessionEnd":[{"matcher":"y"},1],"PreToolUse":null}})");

    EXPECT_EQ(install(), success);

    for (const char *event : { "Stop", "SessionEnd", "PreToolUse" })
        EXPECT_THAT(groups(event), ::testing::ElementsAre(isJson(ourGroup()))) << event;
}

TEST_F(HookInstaller, removesOnlyUrlsThatNameLocalhostAndEndInHook)
{
    writeSettings(R"({"hooks":{"Stop":[{"hooks":[{"url":"http://localhost:49152/hook"},)"
                  R"({"url":"http://127.0.0.1:49152/hook"},{"url":"http://localhost:49152/hook/"},{"url":7}]}]}})");

    EXPECT_EQ(install(), success);

    EXPECT_THAT(groups("Stop"), ::testing::ElementsAre(isJson(R"({"hooks":[{"url":"http://127.0.0.1:49152/hook"},)"
                                                              R"({"url":"http://localhost:49152/hook/"},{"url":7}]})"),
                                                       isJson(ourGroup())));
}

TEST_F(HookInstaller, leavesEventsAloneThatItDoesNotRegister)
{
    writeSettings(R"({"hooks":{"OldEvent":[{"hooks":[{"command":"vantry_hook.py"}]}]}})");

    EXPECT_EQ(install(), success);

    EXPECT_THAT(groups("OldEvent"), ::testing::ElementsAre(isJson(R"({"hooks":[{"command":"vantry_hook.py"}]})")));
}

TEST_F(HookInstaller, replacesAHooksValueThatIsNoObject)
{
    writeSettings(R"({"hooks":[1],"model":"x"})");

    EXPECT_EQ(install(), success);

    EXPECT_EQ(settingsValue().find("model")->asString(), "x");
    EXPECT_THAT(groups("Stop"), ::testing::ElementsAre(isJson(ourGroup())));
}

TEST_F(HookInstaller, replacesSettingsThatAreAnArray)
{
    writeSettings("[]");

    EXPECT_EQ(install(), success);

    EXPECT_TRUE(settingsValue().isObject());
    EXPECT_TRUE(m_installer.isInstalled());
}

TEST_F(HookInstaller, keepsEveryDigitEscapeAndLetterOfTheOthers)
{
    const std::string kept =
        R"("a":123456789012345678901234567890,"b":1.10e+5,"c":-0.0,"d":"\ud800\/é\u00e9","e":[{},[]])";
    writeSettings("{" + kept + "}");

    EXPECT_EQ(install(), success);

    for (const char *text : { "123456789012345678901234567890", "1.10e+5", "-0.0", R"("\ud800\/é\u00e9")" })
        EXPECT_THAT(settings(), ::testing::HasSubstr(text));
    JsonText value = settingsValue();
    value.remove("hooks");
    EXPECT_EQ(value.toPrettyText(), json("{" + kept + "}").toPrettyText());
}

TEST_F(HookInstaller, writesSortedKeysOverSeveralLines)
{
    writeSettings(R"({"zebra":1,"apple":2})");

    EXPECT_EQ(install(), success);

    EXPECT_LT(settings().find("\"apple\""), settings().find("\"hooks\""));
    EXPECT_LT(settings().find("\"hooks\""), settings().find("\"zebra\""));
    EXPECT_THAT(settings(), ::testing::StartsWith("{\n"));
}

TEST_F(HookInstaller, failsOnSettingsThatAreNotJsonAndLeavesThem)
{
    for (const char *broken : { "{\"a\":1,}", "", "{} x", "{\"a\":\"\xff\"}" }) {
        writeSettings(broken);
        QFile::remove(m_installer.scriptPath());

        const std::string message = install();

        EXPECT_THAT(message, ::testing::StartsWith("Install failed: "));
        EXPECT_GT(message.size(), std::string("Install failed: ").size());
        EXPECT_EQ(settings(), broken);
        EXPECT_TRUE(QFile::exists(m_installer.scriptPath()));
    }
}

TEST_F(HookInstaller, takesAByteOrderMark)
{
    writeSettings("\xEF\xBB\xBF{\"a\":1}");

    EXPECT_EQ(install(), success);

    EXPECT_NE(settingsValue().find("a"), nullptr);
}

TEST_F(HookInstaller, keepsTheModeOfTheSettings)
{
    writeSettings("{}");
    ASSERT_EQ(::chmod(QFile::encodeName(settingsPath()).constData(), 0640), 0);

    EXPECT_EQ(install(), success);

    EXPECT_EQ(mode(settingsPath()), 0640U);
}

TEST_F(HookInstaller, writesThroughARelativeLinkToItsTarget)
{
    write(home() + u"/dotfiles/claude.json"_s, R"({"a":1})");
    ASSERT_TRUE(QDir().mkpath(home() + u"/.claude"_s));
    ASSERT_EQ(::symlink("../dotfiles/claude.json", QFile::encodeName(settingsPath()).constData()), 0);

    EXPECT_EQ(install(), success);

    EXPECT_TRUE(QFileInfo(settingsPath()).isSymLink());
    EXPECT_FALSE(QFileInfo(home() + u"/dotfiles/claude.json"_s).isSymLink());
    EXPECT_THAT(read(home() + u"/dotfiles/claude.json"_s), ::testing::HasSubstr("vantry_hook.py"));
    EXPECT_TRUE(m_installer.isInstalled());
}

TEST_F(HookInstaller, writesThroughAChainOfLinks)
{
    write(home() + u"/real.json"_s, "{}");
    ASSERT_TRUE(QDir().mkpath(home() + u"/.claude"_s));
    ASSERT_TRUE(QFile::link(home() + u"/real.json"_s, home() + u"/middle.json"_s));
    ASSERT_TRUE(QFile::link(home() + u"/middle.json"_s, settingsPath()));

    EXPECT_EQ(install(), success);

    EXPECT_TRUE(QFileInfo(home() + u"/middle.json"_s).isSymLink());
    EXPECT_THAT(read(home() + u"/real.json"_s), ::testing::HasSubstr("vantry_hook.py"));
}

TEST_F(HookInstaller, makesTheTargetOfADanglingLink)
{
    ASSERT_TRUE(QDir().mkpath(home() + u"/.claude"_s));
    ASSERT_TRUE(QFile::link(home() + u"/later/claude.json"_s, settingsPath()));

    EXPECT_EQ(install(), success);

    EXPECT_TRUE(QFileInfo(settingsPath()).isSymLink());
    EXPECT_TRUE(QFile::exists(home() + u"/later/claude.json"_s));
}

TEST_F(HookInstaller, failsOnLinksThatGoRoundInACircle)
{
    ASSERT_TRUE(QDir().mkpath(home() + u"/.claude"_s));
    ASSERT_TRUE(QFile::link(settingsPath(), home() + u"/other.json"_s));
    ASSERT_TRUE(QFile::link(home() + u"/other.json"_s, settingsPath()));

    EXPECT_THAT(install(), ::testing::StartsWith("Install failed: "));
    EXPECT_FALSE(m_installer.isInstalled());
}

TEST_F(HookInstaller, failsOnSettingsThatAreAFolder)
{
    ASSERT_TRUE(QDir().mkpath(settingsPath()));

    EXPECT_THAT(install(), ::testing::StartsWith("Install failed: "));
    EXPECT_FALSE(m_installer.isInstalled());
}

TEST_F(HookInstaller, failsOnAPipeWithoutWaitingForIt)
{
    ASSERT_TRUE(QDir().mkpath(home() + u"/.claude"_s));
    ASSERT_EQ(::mkfifo(QFile::encodeName(settingsPath()).constData(), 0600), 0);

    EXPECT_THAT(install(), ::testing::StartsWith("Install failed: "));
    EXPECT_FALSE(m_installer.isInstalled());
}

TEST_F(HookInstaller, failsWhenItsFolderCanNotBeMade)
{
    write(home() + u"/.claude"_s, "a file");

    EXPECT_THAT(install(), ::testing::StartsWith("Install failed: "));
    EXPECT_EQ(read(home() + u"/.claude"_s), "a file");
}

TEST_F(HookInstaller, saysThatTheScriptIsMissingFromTheProgram)
{
    const vantry::HookInstaller installer(home(), u":/vantry/missing.py"_s);

    EXPECT_EQ(installer.install(49152).toStdString(),
              "Install failed: Hook script not found in app bundle. Try reinstalling the app.");
    EXPECT_FALSE(QFile::exists(settingsPath()));
}

TEST_F(HookInstaller, isNotInstalledAtFirst)
{
    EXPECT_FALSE(m_installer.isInstalled());
    EXPECT_FALSE(m_installer.isCurrent());
}

TEST_F(HookInstaller, isInstalledAfterInstalling)
{
    EXPECT_EQ(install(), success);

    EXPECT_TRUE(m_installer.isInstalled());
    EXPECT_TRUE(m_installer.isCurrent());
}

TEST_F(HookInstaller, isNotInstalledWhenTheScriptWasRemoved)
{
    EXPECT_EQ(install(), success);
    ASSERT_TRUE(QFile::remove(m_installer.scriptPath()));

    EXPECT_FALSE(m_installer.isInstalled());
}

TEST_F(HookInstaller, isNotCurrentWithAnOlderScript)
{
    EXPECT_EQ(install(), success);
    write(m_installer.scriptPath(), "older");

    EXPECT_TRUE(m_installer.isInstalled());
    EXPECT_FALSE(m_installer.isCurrent());
}

TEST_F(HookInstaller, hasNoProblemAfterInstalling)
{
    ASSERT_TRUE(m_installer.problem(49152));
    EXPECT_EQ(m_installer.problem(49152)->detail, u"The agent's hook is not installed"_s);

    ASSERT_EQ(install(), success);

    EXPECT_FALSE(m_installer.problem(49152));
}

TEST_F(HookInstaller, hasAProblemWithAnotherPort)
{
    ASSERT_EQ(install(), success);

    const auto problem = m_installer.problem(50000);

    ASSERT_TRUE(problem);
    EXPECT_EQ(problem->detail, u"The agent's settings name the hook in another form for 18 of its events, such as "
                               "Notification"_s);
    EXPECT_TRUE(problem->advice.contains(u"vantry hook install"));
}

TEST_F(HookInstaller, hasAProblemWithAnEventThatIsNotNamed)
{
    ASSERT_EQ(install(), success);
    JsonText value = settingsValue();
    JsonText hooks = *value.find("hooks");
    hooks.remove("PermissionRequest");
    value.set("hooks", hooks);
    writeSettings(value.toPrettyText());

    EXPECT_TRUE(m_installer.isInstalled());
    ASSERT_TRUE(m_installer.problem(49152));
    EXPECT_TRUE(m_installer.problem(49152)->detail.endsWith(u"for 1 of its events, such as PermissionRequest"));
}

TEST_F(HookInstaller, hasAProblemWithAnOlderScript)
{
    ASSERT_EQ(install(), success);
    write(m_installer.scriptPath(), "print()");

    ASSERT_TRUE(m_installer.problem(49152));
    EXPECT_EQ(m_installer.problem(49152)->detail, u"The agent's hook is from another version"_s);
}

TEST_F(HookInstaller, hasAProblemWithSettingsThatAreNotJson)
{
    ASSERT_EQ(install(), success);
    writeSettings("{nope");

    ASSERT_TRUE(m_installer.problem(49152));
    EXPECT_TRUE(m_installer.problem(49152)->detail.contains(settingsPath()));
    EXPECT_TRUE(m_installer.problem(49152)->advice.startsWith(u"Mend that file"));
}

TEST_F(HookInstaller, hasAProblemWithSettingsThatTurnOffHooks)
{
    ASSERT_EQ(install(), success);
    JsonText value = settingsValue();
    value.set("disableAllHooks", JsonText::boolean(true));
    writeSettings(value.toPrettyText());

    ASSERT_TRUE(m_installer.problem(49152));
    EXPECT_TRUE(m_installer.problem(49152)->advice.contains(u"disableAllHooks"));
}

TEST_F(HookInstaller, countsAnOlderFormOfOurEntryAsInstalled)
{
    EXPECT_EQ(install(), success);
    writeSettings(R"({"hooks":{"Notification":[{},{"hooks":[{"url":"http://localhost:1/hook"}]}]}})");

    EXPECT_TRUE(m_installer.isInstalled());
}

TEST_F(HookInstaller, looksAtNotificationAlone)
{
    EXPECT_EQ(install(), success);
    const std::string ours = R"([{"hooks":[{"command":"vantry_hook.py"}]}])";
    for (const std::string &text :
         { R"({"hooks":{"Stop":)" + ours + "}}", R"({"hooks":{"Notification":[1,)" + ours.substr(1) + "}}",
           std::string("{\"hooks\":[]}"), std::string("[]"), std::string("nonsense"),
           std::string(R"({"hooks":{"Notification":[{"hooks":[1,{"command":"vantry_hook.py"}]}]}})") }) {
        writeSettings(text);
        EXPECT_FALSE(m_installer.isInstalled()) << text;
    }
}

TEST_F(HookInstaller, failsRatherThanReplaceSettingsThatItMayNotRead)
{
    writeSettings(R"({"mine":1})");
    ASSERT_EQ(::chmod(QFile::encodeName(settingsPath()).constData(), 0), 0);
    if (::access(QFile::encodeName(settingsPath()).constData(), R_OK) == 0) {
        // Root reads everything: then there is nothing to refuse, and nothing is lost either.
        EXPECT_EQ(install(), success);
    } else {
        EXPECT_THAT(install(), ::testing::StartsWith("Install failed: "));
    }

    ASSERT_EQ(::chmod(QFile::encodeName(settingsPath()).constData(), 0600), 0);
    EXPECT_NE(settingsValue().find("mine"), nullptr);
}

} // namespace
} // namespace vantry
