#include "platform/linux/KonsoleDriver.h"

#include "desktop/support/Desktop.h"
#include "desktop/support/TypedInput.h"
#include "platform/linux/KonsoleRemote.h"
#include "platform/linux/LinuxApplications.h"
#include "platform/linux/LinuxProcessTable.h"

#include <gmock/gmock.h>

#include <csignal>
#include <future>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;
using ::testing::ElementsAre;
using ::testing::Optional;

constexpr auto noFailure = std::nullopt;

/// A konsole whose first tab keeps what is typed into it.
class KonsoleDriverTest : public ::testing::Test
{
protected:
    KonsoleDriverTest()
        : konsole(desktop.start(u"konsole"_s, QStringList { u"-e"_s } + input.command()))
        , target { u"konsole-session"_s,
                   input.variable(u"KONSOLE_DBUS_SERVICE"_s) + u',' + input.variable(u"KONSOLE_DBUS_SESSION"_s) }
    {}

    [[nodiscard]] QString service() const { return target.sessionID.section(u',', 0, 0); }
    [[nodiscard]] TerminalTarget tab(int session) const
    {
        return { u"konsole-session"_s, u"%1,/Sessions/%2"_s.arg(service()).arg(session) };
    }
    [[nodiscard]] KonsoleRemote remote() const
    {
        return KonsoleRemote(desktop.busAddress(), service(), std::chrono::seconds(20));
    }
    [[nodiscard]] QList<int> tabsOf(int session) const
    {
        const auto window = remote().windowOf(session);
        return window ? window->sessions : QList<int>();
    }
    /// A new tab with the user's shell in it.
    int openTab()
    {
        KonsoleRemote konsoleRemote = remote();
        const int session = konsoleRemote.newSession(*konsoleRemote.windowOf(1), desktop.path(u"home"_s));
        EXPECT_GT(session, 0);
        return session;
    }
    /// Covers konsole by another window, which gets the focus.
    void coverWindow()
    {
        desktop.start(u"xterm"_s, { u"-class"_s, u"Cover"_s });
        EXPECT_TRUE(desktop.waitUntilActive(desktop.waitForWindow(u"Cover"_s)));
    }
    /// A command line whose program runs in front of the tab's shell and can be found by the file that it writes.
    void runInTab(int session, const QString &commandLine)
    {
        const QString file = desktop.path(u"pid"_s);
        QFile::remove(file);
        ASSERT_EQ(driver.typeText(tab(session), u"sh -c 'echo $$ > %1; %2'"_s.arg(file, commandLine)), noFailure);
        ASSERT_EQ(driver.pressReturn(tab(session)), noFailure);
        ASSERT_TRUE(eventually([&] { return QFileInfo(file).size() > 0; }));
        QFile opened(file);
        ASSERT_TRUE(opened.open(QFile::ReadOnly));
        program = opened.readAll().trimmed().toInt();
    }
    [[nodiscard]] bool isRunning() const { return processes.startTime(program).has_value(); }

    Desktop desktop { { .windowManager = true, .bus = true } };
    LinuxProcessTable processes { desktop.path(u"data"_s) };
    LinuxApplications applications { processes };
    TypedInput input { desktop.path(u"input"_s) };
    ChildProcess &konsole;
    TerminalTarget target;
    KonsoleDriver driver { desktop.busAddress(), applications, std::chrono::seconds(20) };
    int program { 0 };
};

TEST_F(KonsoleDriverTest, typesTextUnchangedAndReturnApart)
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

TEST_F(KonsoleDriverTest, typesLongTextsUnchanged)
{
    const QString words = u"wörter – 字 😀 "_s.repeated(1000).left(10'000);
    const QString bytes = QString(200'000, u'x');

    ASSERT_EQ(driver.typeText(target, words), noFailure);
    ASSERT_EQ(driver.typeText(target, bytes), noFailure);

    const QByteArray expected = (words + bytes).toUtf8();
    EXPECT_TRUE(input.waitForBytes(expected.size()) == expected);
}

TEST_F(KonsoleDriverTest, typesFromAnotherThread)
{
    auto typing = std::async(std::launch::async, [&] { return driver.typeText(target, u"elsewhere"_s); });

    EXPECT_EQ(typing.get(), noFailure);
    EXPECT_EQ(input.waitForBytes(9), "elsewhere");
}

TEST_F(KonsoleDriverTest, showsTheTabAndRaisesItsWindow)
{
    const quint64 window = desktop.waitForWindow(u"konsole"_s);
    openTab();
    coverWindow();

    EXPECT_EQ(driver.focus(target), noFailure);

    EXPECT_TRUE(desktop.waitUntilActive(window));
    KonsoleRemote konsoleRemote = remote();
    EXPECT_EQ(konsoleRemote.currentSession(*konsoleRemote.windowOf(1)), 1);
}

TEST_F(KonsoleDriverTest, raisesTheRightOneOfSeveralWindows)
{
    const quint64 first = desktop.waitForWindow(u"konsole"_s);
    const int moved = openTab();
    KonsoleRemote konsoleRemote = remote();
    konsoleRemote.activateAction(*konsoleRemote.mainWindowOf(*konsoleRemote.windowOf(moved)), u"detach-tab"_s);
    ASSERT_TRUE(eventually([&] { return desktop.windowsOfClass(u"konsole"_s).size() == 2; }));
    const QList<quint64> windows = desktop.windowsOfClass(u"konsole"_s);
    const quint64 second = windows[0] == first ? windows[1] : windows[0];
    coverWindow();

    EXPECT_EQ(driver.focus(target), noFailure);
    EXPECT_TRUE(desktop.waitUntilActive(first));
    EXPECT_EQ(driver.focus(tab(moved)), noFailure);
    EXPECT_TRUE(desktop.waitUntilActive(second));
    EXPECT_EQ(driver.focus(target), noFailure);
    EXPECT_TRUE(desktop.waitUntilActive(first));
}

TEST_F(KonsoleDriverTest, opensATabThatRunsTheCommandInItsFolder)
{
    const quint64 window = desktop.waitForWindow(u"konsole"_s);
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
    EXPECT_THAT(tabsOf(1), ElementsAre(1, 2)) << "the shell stays";
    EXPECT_TRUE(desktop.waitUntilActive(window));
}

TEST_F(KonsoleDriverTest, opensNothingInAFolderThatIsNotThere)
{
    EXPECT_NE(driver.open(target, { desktop.path(u"missing"_s), u"true"_s }), noFailure);
    EXPECT_THAT(tabsOf(1), ElementsAre(1));
}

TEST_F(KonsoleDriverTest, closesATabAndEndsWhatRunsInIt)
{
    const int session = openTab();
    runInTab(session, u"sleep 1000"_s);

    EXPECT_EQ(driver.close(tab(session)), noFailure);

    EXPECT_THAT(tabsOf(1), ElementsAre(1));
    EXPECT_TRUE(eventually([&] { return !isRunning(); }));
    EXPECT_EQ(desktop.windowsOfClass(u"konsole"_s).size(), 1);
}

TEST_F(KonsoleDriverTest, closesATabInWhichAProgramIgnoresTheHangup)
{
    const int session = openTab();
    runInTab(session, u"trap \"\" HUP; sleep 20"_s);

    EXPECT_EQ(driver.close(tab(session)), noFailure);

    EXPECT_THAT(tabsOf(1), ElementsAre(1));
}

TEST_F(KonsoleDriverTest, closesATabOfASplitView)
{
    const int left = openTab();
    KonsoleRemote konsoleRemote = remote();
    konsoleRemote.activateAction(*konsoleRemote.mainWindowOf(*konsoleRemote.windowOf(left)),
                                 u"split-view-left-right"_s);
    ASSERT_TRUE(eventually([&] { return tabsOf(1).size() == 3; }));

    EXPECT_EQ(driver.close(tab(left)), noFailure);

    EXPECT_EQ(tabsOf(1).size(), 2);
    EXPECT_FALSE(tabsOf(1).contains(left));
}

TEST_F(KonsoleDriverTest, closesTheLastTabAndWithItKonsole)
{
    EXPECT_EQ(driver.close(target), noFailure);

    EXPECT_TRUE(konsole.waitForFinished());
}

TEST_F(KonsoleDriverTest, tellsThatATabIsGone)
{
    EXPECT_EQ(driver.typeText(tab(77), u"x"_s), u"the konsole session is gone"_s);
    EXPECT_EQ(driver.focus(tab(77)), u"the konsole session is gone"_s);
    EXPECT_EQ(driver.close(tab(77)), u"the konsole session is gone"_s);
    EXPECT_EQ(driver.open(tab(77), { u"/"_s, u"true"_s }), u"the konsole session is gone"_s);
    ASSERT_NE(driver.examine(tab(77)), std::nullopt);
}

TEST_F(KonsoleDriverTest, tellsThatTheProgramInATabHasEnded)
{
    const int session = openTab();
    KonsoleRemote konsoleRemote = remote();
    ::kill(konsoleRemote.processID(session), SIGKILL);
    ASSERT_TRUE(eventually([&] { return konsoleRemote.processID(session) == 0; }));

    EXPECT_EQ(driver.typeText(tab(session), u"x"_s), u"the program in the konsole session has ended"_s);
    EXPECT_EQ(driver.close(tab(session)), noFailure);
    EXPECT_THAT(tabsOf(1), ElementsAre(1));
}

TEST_F(KonsoleDriverTest, tellsThatKonsoleIsGone)
{
    konsole.killAndWait();

    EXPECT_EQ(driver.typeText(target, u"x"_s), u"konsole is gone"_s);
    EXPECT_EQ(driver.focus(target), u"konsole is gone"_s);
    EXPECT_EQ(driver.close(target), u"konsole is gone"_s);
    EXPECT_EQ(driver.findPlaceToOpen(), std::nullopt);
}

TEST_F(KonsoleDriverTest, waitsOnlySoLongForAKonsoleThatHangs)
{
    KonsoleDriver impatient(desktop.busAddress(), applications, std::chrono::milliseconds(200));
    konsole.sendSignal(SIGSTOP);

    EXPECT_EQ(impatient.typeText(target, u"x"_s), u"konsole did not answer in time"_s);
    EXPECT_EQ(impatient.focus(target), u"konsole did not answer in time"_s);

    konsole.sendSignal(SIGCONT);
}

TEST_F(KonsoleDriverTest, findsARunningKonsole)
{
    EXPECT_THAT(driver.findPlaceToOpen(), Optional(target));
    EXPECT_EQ(driver.examine(target), std::nullopt);
}

} // namespace
} // namespace vantry::test
