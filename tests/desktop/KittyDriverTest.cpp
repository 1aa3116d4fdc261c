#include "platform/linux/KittyDriver.h"

#include "desktop/support/Desktop.h"
#include "desktop/support/TypedInput.h"
#include "platform/linux/LinuxApplications.h"
#include "platform/linux/LinuxProcessTable.h"

#include <gmock/gmock.h>

#include <csignal>
#include <future>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;

constexpr auto noFailure = std::nullopt;

class KittyDriverTest : public ::testing::Test
{
protected:
    /// A kitty with these lines in its configuration, which runs the program in its first window.
    ChildProcess &startKitty(const QStringList &configuration, const TypedInput &program, const QString &name)
    {
        QFile file(desktop.path(name + u".conf"_s));
        EXPECT_TRUE(file.open(QFile::WriteOnly));
        file.write(configuration.join(u'\n').toUtf8());
        file.close();
        return desktop.start(u"kitty"_s,
                             QStringList { u"--config"_s, file.fileName(), u"--class"_s, name } + program.command());
    }
    [[nodiscard]] static TerminalTarget targetOf(const TypedInput &program)
    {
        return { u"kitty-window"_s,
                 program.variable(u"KITTY_LISTEN_ON"_s) + u',' + program.variable(u"KITTY_WINDOW_ID"_s) };
    }
    void coverWindow()
    {
        desktop.start(u"xterm"_s, { u"-class"_s, u"Cover"_s });
        EXPECT_TRUE(desktop.waitUntilActive(desktop.waitForWindow(u"Cover"_s)));
    }

    Desktop desktop;
    LinuxProcessTable processes { desktop.path(u"data"_s) };
    LinuxApplications applications { processes };
    KittyDriver driver { applications, std::chrono::seconds(20) };
};

/// A kitty that lets itself be controlled, as the documentation says, whose window keeps what is typed into it.
class DrivenKittyTest : public KittyDriverTest
{
protected:
    DrivenKittyTest()
        : input(desktop.path(u"input"_s))
        , kitty(startKitty(
              { u"allow_remote_control socket-only"_s, u"listen_on unix:${XDG_RUNTIME_DIR}/kitty-{kitty_pid}"_s },
              input, u"driven"_s))
        , target(targetOf(input))
    {}

    [[nodiscard]] TerminalTarget window(int id) const
    {
        return { u"kitty-window"_s, target.sessionID.section(u',', 0, 0) + u',' + QString::number(id) };
    }
    /// A new tab with such a program in it.
    TerminalTarget openTab(const TypedInput &program)
    {
        QStringList words;
        for (QString word : program.command())
            words.append(u'\'' + word.replace(u"'"_s, u"'\\''"_s) + u'\'');
        EXPECT_EQ(driver.open(target, { desktop.path(u"home"_s), words.join(u' ') }), noFailure);
        return targetOf(program);
    }

    TypedInput input;
    ChildProcess &kitty;
    TerminalTarget target;
};

TEST_F(DrivenKittyTest, typesTextUnchangedAndReturnApart)
{
    QByteArray expected;
    for (const QString &text : awkwardTexts()) {
        ASSERT_EQ(driver.typeText(target, text), noFailure);
        expected += text.toUtf8();
        ASSERT_EQ(input.waitForBytes(expected.size()), expected);
    }

    ASSERT_EQ(driver.pressReturn(target), noFailure);

    EXPECT_EQ(input.waitForBytes(expected.size() + 1), expected + '\r');
}

TEST_F(DrivenKittyTest, typesLongTextsUnchanged)
{
    const QString words = u"wörter – 字 😀 "_s.repeated(1000).left(10'000);
    const QString bytes = QString(200'000, u'x');

    ASSERT_EQ(driver.typeText(target, words), noFailure);
    ASSERT_EQ(driver.typeText(target, bytes), noFailure);

    const QByteArray expected = (words + bytes).toUtf8();
    EXPECT_TRUE(input.waitForBytes(expected.size()) == expected);
}

TEST_F(DrivenKittyTest, typesIntoAWindowThatIsNotShown)
{
    const TypedInput other(desktop.path(u"other"_s));
    const TerminalTarget otherTarget = openTab(other);

    ASSERT_EQ(driver.typeText(target, u"first"_s), noFailure);
    ASSERT_EQ(driver.typeText(otherTarget, u"second"_s), noFailure);

    EXPECT_EQ(input.waitForBytes(5), "first");
    EXPECT_EQ(other.waitForBytes(6), "second");
}

TEST_F(DrivenKittyTest, showsTheTabAndRaisesItsWindow)
{
    const quint64 desktopWindow = desktop.waitForWindow(u"driven"_s);
    openTab(TypedInput(desktop.path(u"other"_s)));
    coverWindow();

    EXPECT_EQ(driver.focus(target), noFailure);

    EXPECT_TRUE(desktop.waitUntilActive(desktopWindow));
    // What a user types now goes to the tab that is shown.
    static_cast<void>(desktop.outputOf(u"xdotool"_s, { u"type"_s, u"keys"_s }));
    EXPECT_EQ(input.waitForBytes(4), "keys");
}

TEST_F(DrivenKittyTest, opensATabThatRunsTheCommandInItsFolder)
{
    const quint64 desktopWindow = desktop.waitForWindow(u"driven"_s);
    coverWindow();
    const QString folder = desktop.path(u"a 'folder' $x"_s);
    ASSERT_TRUE(QDir().mkpath(folder));
    const QString words = desktop.path(u"words"_s);

    EXPECT_EQ(driver.open(target, { folder, u"printf '%s\\n' \"$PWD\" 'one two' '--flag' 'it'\\''s' > "_s + words }),
              noFailure);

    const QByteArray expected = folder.toUtf8() + "\none two\n--flag\nit's\n";
    EXPECT_TRUE(eventually([&] { return QFileInfo(words).size() == expected.size(); }));
    QFile file(words);
    ASSERT_TRUE(file.open(QFile::ReadOnly));
    EXPECT_EQ(file.readAll(), expected);
    EXPECT_EQ(driver.examine(window(2)), std::nullopt) << "the shell stays";
    EXPECT_TRUE(desktop.waitUntilActive(desktopWindow));
}

TEST_F(DrivenKittyTest, opensNothingInAFolderThatIsNotThere)
{
    EXPECT_NE(driver.open(target, { desktop.path(u"missing"_s), u"true"_s }), noFailure);
    EXPECT_NE(driver.examine(window(2)), std::nullopt);
}

TEST_F(DrivenKittyTest, closesAWindowAndEndsWhatRunsInIt)
{
    const TypedInput other(desktop.path(u"other"_s));
    const TerminalTarget otherTarget = openTab(other);

    EXPECT_EQ(driver.close(otherTarget), noFailure);

    EXPECT_TRUE(eventually([&] { return driver.typeText(otherTarget, u"x"_s) == u"the kitty window is gone"_s; }));
    EXPECT_EQ(driver.examine(target), std::nullopt);
}

TEST_F(DrivenKittyTest, closesTheLastWindowAndWithItKitty)
{
    EXPECT_EQ(driver.close(target), noFailure);

    EXPECT_TRUE(kitty.waitForFinished());
}

TEST_F(DrivenKittyTest, tellsThatAWindowIsGone)
{
    const auto gone = u"the kitty window is gone"_s;
    EXPECT_EQ(driver.typeText(window(77), u"x"_s), gone);
    EXPECT_EQ(driver.pressReturn(window(77)), gone);
    EXPECT_EQ(driver.focus(window(77)), gone);
    EXPECT_EQ(driver.close(window(77)), gone);
    EXPECT_EQ(driver.open(window(77), { u"/"_s, u"true"_s }), gone);
    EXPECT_NE(driver.examine(window(77)), std::nullopt);
}

TEST_F(DrivenKittyTest, tellsThatKittyIsGone)
{
    kitty.killAndWait();

    EXPECT_NE(driver.typeText(target, u"x"_s), noFailure);
    EXPECT_NE(driver.focus(target), noFailure);
    EXPECT_NE(driver.close(target), noFailure);
}

TEST_F(DrivenKittyTest, waitsOnlySoLongForAKittyThatHangs)
{
    KittyDriver impatient(applications, std::chrono::milliseconds(200));
    kitty.sendSignal(SIGSTOP);

    EXPECT_EQ(impatient.typeText(target, u"x"_s), u"kitty did not answer in time"_s);
    EXPECT_EQ(impatient.focus(target), u"kitty did not answer in time"_s);

    kitty.sendSignal(SIGCONT);
}

TEST_F(KittyDriverTest, reachesAKittyThatListensOnAnAbstractName)
{
    const TypedInput input(desktop.path(u"input"_s));
    startKitty({ u"allow_remote_control yes"_s, u"listen_on unix:@vantry-test"_s }, input, u"abstract"_s);
    const TerminalTarget target = targetOf(input);
    ASSERT_TRUE(target.sessionID.startsWith(u"unix:@vantry-test-"));

    EXPECT_EQ(driver.typeText(target, u"typed"_s), noFailure);
    EXPECT_EQ(input.waitForBytes(5), "typed");
}

TEST_F(KittyDriverTest, saysWhatToDoAboutAKittyThatWantsAPassword)
{
    const TypedInput input(desktop.path(u"input"_s));
    startKitty({ u"allow_remote_control password"_s, u"remote_control_password \"secret\" get-colors"_s,
                 u"listen_on unix:${XDG_RUNTIME_DIR}/kitty"_s },
               input, u"locked"_s);
    const TerminalTarget target = targetOf(input);

    const auto failure = driver.typeText(target, u"x"_s);
    ASSERT_TRUE(failure);
    EXPECT_TRUE(failure->startsWith(u"kitty refuses to be controlled: ")) << failure->toStdString();
    const auto problem = driver.examine(target);
    ASSERT_TRUE(problem);
    EXPECT_TRUE(problem->advice.contains(u"allow_remote_control socket-only"));
    EXPECT_EQ(input.typed(), "");
}

} // namespace
} // namespace vantry::test
