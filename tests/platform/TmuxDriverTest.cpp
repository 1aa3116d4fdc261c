#include "platform/linux/TmuxDriver.h"

#include "desktop/support/TypedInput.h"
#include "platform/TmuxServer.h"
#include "platform/linux/LinuxProcessTable.h"
#include "support/FakeApplications.h"
#include "support/FakeTerminalDriver.h"

#include <QDir>
#include <QFile>

#include <signal.h>
#include <unistd.h>

namespace vantry::test {

namespace {

constexpr std::chrono::milliseconds impatience { 300 };

/// A variable of the test's own environment, for as long as this lives.
class Variable
{
public:
    Variable(const char *name, const QByteArray &value)
        : m_name(name)
        , m_before(qgetenv(name))
    {
        qputenv(name, value);
    }
    ~Variable()
    {
        m_before.isNull() ? static_cast<void>(qunsetenv(m_name)) : static_cast<void>(qputenv(m_name, m_before));
    }
    Variable(const Variable &) = delete;
    Variable &operator=(const Variable &) = delete;

private:
    const char *m_name;
    QByteArray m_before;
};

/// A terminal that is attached to a server.
class AttachedTerminal
{
public:
    AttachedTerminal(const TmuxServer &server, const QString &session, const QStringList &variables = {})
        : m_server(server)
    {
        m_script.setProgram(u"env"_s);
        m_script.setArguments(QStringList { u"-u"_s, u"TMUX"_s, u"-u"_s, u"WINDOWID"_s, u"TERM=xterm"_s } + variables +
                              QStringList { u"script"_s, u"-qfc"_s,
                                            QString(u"exec tmux -S '" + server.socket() + u"' attach -t " + session),
                                            u"/dev/null"_s });
        const QStringList before = clients();
        m_script.start();
        EXPECT_TRUE(eventually([&] { return clients().size() > before.size(); })) << "nothing attached";
        for (const QString &client : clients()) {
            if (!before.contains(client))
                m_name = client;
        }
    }
    ~AttachedTerminal()
    {
        m_script.kill();
        m_script.waitForFinished();
    }
    AttachedTerminal(const AttachedTerminal &) = delete;
    AttachedTerminal &operator=(const AttachedTerminal &) = delete;

    [[nodiscard]] const QString &name() const { return m_name; }
    [[nodiscard]] qint64 pid() const { return about(u"#{client_pid}"_s).toLongLong(); }
    [[nodiscard]] QString session() const { return about(u"#{session_name}"_s); }
    /// The pane that it shows as the current one.
    [[nodiscard]] QString pane() const { return about(u"#{pane_id}"_s); }
    [[nodiscard]] qint64 lastUse() const { return about(u"#{client_activity}"_s).toLongLong(); }
    void use()
    {
        m_script.write("x");
        m_script.waitForBytesWritten();
    }

private:
    [[nodiscard]] QStringList clients() const
    {
        return m_server.run({ u"list-clients"_s, u"-F"_s, u"#{client_name}"_s }).split(u'\n', Qt::SkipEmptyParts);
    }
    [[nodiscard]] QString about(const QString &format) const
    {
        const QString named = u"#{client_name} " + format;
        for (const QString &line : m_server.run({ u"list-clients"_s, u"-F"_s, named }).split(u'\n')) {
            if (line.startsWith(m_name + u' '))
                return line.sliced(m_name.size() + 1);
        }
        return {};
    }

    const TmuxServer &m_server;
    QProcess m_script;
    QString m_name;
};

/// The machine's processes, of which the test's is the first: it may run in a tmux itself.
class ProcessesOfTheTest final : public ProcessTable
{
public:
    explicit ProcessesOfTheTest(const QString &folder)
        : m_all(folder)
    {}

    [[nodiscard]] std::optional<double> startTime(std::int64_t pid) const override { return m_all.startTime(pid); }
    [[nodiscard]] std::optional<std::int64_t> parent(std::int64_t pid) const override
    {
        return pid == getpid() ? std::nullopt : m_all.parent(pid);
    }
    [[nodiscard]] std::optional<QString> commandName(std::int64_t pid) const override { return m_all.commandName(pid); }
    Signalled terminate(std::int64_t pid, double startTime) override { return m_all.terminate(pid, startTime); }

private:
    LinuxProcessTable m_all;
};

class TmuxDriverTest : public ::testing::Test
{
protected:
    static TerminalTarget target(const TmuxServer &server, const QString &pane)
    {
        return { u"tmux-pane"_s, QString(server.socket() + u',' + pane) };
    }
    [[nodiscard]] TerminalTarget target(const QString &pane) const { return target(m_server, pane); }

    /// A pane in which a program keeps what is typed.
    [[nodiscard]] static QString openInput(const TmuxServer &server, const TypedInput &input)
    {
        const QString pane = server.openWindow(input.command());
        EXPECT_TRUE(input.waitUntilReady());
        return pane;
    }
    [[nodiscard]] QString openInput(const TypedInput &input) const { return openInput(m_server, input); }
    [[nodiscard]] static QString paneOption(const TmuxServer &server, const QString &pane, const QString &options)
    {
        return server.run({ u"show-options"_s, options, u"-t"_s, pane, u"synchronize-panes"_s });
    }
    QString split(const QStringList &program) const
    {
        return m_server.run(QStringList { u"split-window"_s, u"-P"_s, u"-F"_s, u"#{pane_id}"_s, u"--"_s } + program);
    }
    [[nodiscard]] QString newSession(const QString &name) const
    {
        return m_server.run(
            { u"new-session"_s, u"-d"_s, u"-P"_s, u"-F"_s, u"#{pane_id}"_s, u"-s"_s, name, u"sleep 1000000"_s });
    }
    [[nodiscard]] QString currentPane(const QString &session) const
    {
        return m_server.run({ u"display-message"_s, u"-p"_s, u"-t"_s, QString(session + u':'), u"#{pane_id}"_s });
    }
    [[nodiscard]] QString firstPane() const { return u"%0"_s; }
    [[nodiscard]] QString path(const QString &name) const { return m_folder.filePath(name); }

    QTemporaryDir m_folder;
    TmuxServer m_server;
    FakeApplications m_applications;
    ProcessesOfTheTest m_processes { m_folder.path() };
    TmuxDriver m_driver { m_applications, m_processes, {}, std::chrono::seconds(20) };
    TmuxDriver m_impatientDriver { m_applications, m_processes, {}, impatience };
};

const QStringList sleeping { u"sleep"_s, u"1000000"_s };

} // namespace

TEST(TmuxPane, isASocketAndAPane)
{
    EXPECT_EQ(TmuxPane::parse(u"/tmp/tmux-0/default,%12"_s), (TmuxPane { u"/tmp/tmux-0/default"_s, u"%12"_s }));
    EXPECT_EQ(TmuxPane::parse(u"/a,b c,%1,%0"_s), (TmuxPane { u"/a,b c,%1"_s, u"%0"_s }));
}

TEST(TmuxPane, refusesEverythingElse)
{
    for (const QString &identifier : { u""_s,
                                       u","_s,
                                       u"%1"_s,
                                       u",%1"_s,
                                       u"/,%1"_s,
                                       u"socket,%1"_s,
                                       u"/socket"_s,
                                       u"/socket,"_s,
                                       u"/socket,%"_s,
                                       u"/socket,1"_s,
                                       u"/socket,%1 "_s,
                                       u"/socket,%-1"_s,
                                       u"/socket,%1;"_s,
                                       u"/socket,%1,"_s,
                                       u"/socket,%x"_s,
                                       u"/socket,%٣"_s,
                                       u"/socket,%12345678901"_s,
                                       u"/so\ncket,%1"_s,
                                       u"/so\0cket,%1"_s,
                                       u"-S/socket,%1"_s })
        EXPECT_FALSE(TmuxPane::parse(identifier)) << identifier.toStdString();
}

TEST_F(TmuxDriverTest, canDoEverythingWithAPaneAndNothingWithoutOne)
{
    EXPECT_TRUE(m_driver.handles(u"tmux-pane"_s));
    EXPECT_FALSE(m_driver.handles(u"tmux"_s));
    EXPECT_EQ(m_driver.abilities(target(firstPane())), (TerminalDriver::Abilities { true, true, true, true }));
    EXPECT_EQ(m_driver.abilities({ u"tmux-pane"_s, u"%1"_s }), TerminalDriver::Abilities {});
    EXPECT_EQ(m_driver.abilities({ u"kitty"_s, u"/socket,%1"_s }), TerminalDriver::Abilities {});
    EXPECT_FALSE(m_driver.findPlaceToOpen());
}

TEST_F(TmuxDriverTest, refusesATargetThatIsNoPane)
{
    const TerminalTarget none { u"tmux-pane"_s, u"/socket,kill-server"_s };
    EXPECT_TRUE(m_driver.focus(none));
    EXPECT_TRUE(m_driver.typeText(none, u"x"_s));
    EXPECT_TRUE(m_driver.pressReturn(none));
    EXPECT_TRUE(m_driver.close(none));
    EXPECT_TRUE(m_driver.open(none, { m_folder.path(), u"true"_s }));
    EXPECT_TRUE(m_driver.examine(none));
}

TEST_F(TmuxDriverTest, typesTextsAsTheyStand)
{
    const TypedInput input(path(u"typed"_s));
    const QString pane = openInput(input);
    QString all;
    for (const QString &text :
         awkwardTexts() + QStringList { u"a;"_s, u"\\;"_s, u"a\\\\;"_s, u"\\"_s, u";;"_s, u"'"_s, u"-"_s, u"--"_s,
                                        u"-R"_s, u"#{pane_id} #(touch x)"_s, u"a\tb"_s,
                                        u"\uE000\u0085\u200D\U0001FAE8\U0010FFFD"_s, u"Space"_s, u"0x41"_s, u""_s }) {
        EXPECT_EQ(m_driver.typeText(target(pane), text), std::nullopt) << text.toStdString();
        all += text;
        EXPECT_EQ(input.waitForBytes(all.toUtf8().size()), all.toUtf8()) << text.toStdString();
    }
}

TEST_F(TmuxDriverTest, typesLongTexts)
{
    const TypedInput input(path(u"typed"_s));
    const QString pane = openInput(input);
    QString all;
    for (const QString &text : QStringList { u"0123456789"_s.repeated(1'000), u"日本語;"_s.repeated(2'500),
                                             u"😀"_s.repeated(10'000), u";"_s + u"x"_s.repeated(4'998) + u"😀;"_s,
                                             u"x"_s.repeated(4'999) + u"😀\\;"_s, u"\"$(x)' "_s.repeated(25'000) }) {
        EXPECT_EQ(m_driver.typeText(target(pane), text), std::nullopt);
        all += text;
        EXPECT_TRUE(input.waitForBytes(all.toUtf8().size()) == all.toUtf8()) << text.size();
    }
}

TEST_F(TmuxDriverTest, pressesReturnApart)
{
    const TypedInput input(path(u"typed"_s));
    const QString pane = openInput(input);
    EXPECT_EQ(m_driver.typeText(target(pane), u"Enter"_s), std::nullopt);
    EXPECT_EQ(input.waitForBytes(5), "Enter");
    EXPECT_EQ(m_driver.pressReturn(target(pane)), std::nullopt);
    EXPECT_EQ(input.waitForBytes(6), "Enter\r");
}

TEST_F(TmuxDriverTest, typesIntoAPaneThatIsNotShown)
{
    const TypedInput input(path(u"typed"_s));
    const QString pane = openInput(input);
    m_server.openWindow(sleeping);
    const QString shown = currentPane(u"main"_s);
    EXPECT_EQ(m_driver.typeText(target(pane), u"behind"_s), std::nullopt);
    EXPECT_EQ(input.waitForBytes(6), "behind");
    EXPECT_EQ(currentPane(u"main"_s), shown);
}

TEST_F(TmuxDriverTest, leavesTheModesOfAPaneBeforeItTypes)
{
    const TypedInput input(path(u"typed"_s));
    const QString pane = openInput(input);
    QByteArray all;
    for (const QString &mode : { u"copy-mode"_s, u"clock-mode"_s, u"choose-tree"_s }) {
        m_server.run({ mode, u"-t"_s, pane });
        EXPECT_EQ(m_driver.typeText(target(pane), u"qx"_s), std::nullopt);
        all += "qx";
        EXPECT_EQ(input.waitForBytes(all.size()), all) << mode.toStdString();
        m_server.run({ mode, u"-t"_s, pane });
        EXPECT_EQ(m_driver.pressReturn(target(pane)), std::nullopt);
        all += "\r";
        EXPECT_EQ(input.waitForBytes(all.size()), all) << mode.toStdString();
    }
}

TEST_F(TmuxDriverTest, typesIntoOnePaneAloneWhereTheUserTypesIntoAll)
{
    const TypedInput input(path(u"typed"_s));
    const TypedInput other(path(u"other"_s));
    const QString pane = openInput(input);
    const QString neighbour = split(other.command());
    ASSERT_TRUE(other.waitUntilReady());
    m_server.run({ u"set-option"_s, u"-w"_s, u"-t"_s, pane, u"synchronize-panes"_s, u"on"_s });

    EXPECT_EQ(m_driver.typeText(target(pane), u"1"_s), std::nullopt);
    EXPECT_EQ(m_driver.pressReturn(target(pane)), std::nullopt);
    EXPECT_EQ(input.waitForBytes(2), "1\r");
    EXPECT_EQ(paneOption(m_server, pane, u"-pAv"_s), u"on"_s);
    EXPECT_EQ(paneOption(m_server, pane, u"-pv"_s), u""_s);

    m_server.run({ u"set-option"_s, u"-p"_s, u"-t"_s, pane, u"synchronize-panes"_s, u"on"_s });
    EXPECT_EQ(m_driver.typeText(target(pane), u"2"_s), std::nullopt);
    EXPECT_EQ(input.waitForBytes(3), "1\r2");
    EXPECT_EQ(paneOption(m_server, pane, u"-pv"_s), u"on"_s);

    EXPECT_EQ(m_driver.typeText(target(neighbour), u"y"_s), std::nullopt);
    EXPECT_EQ(other.waitForBytes(1), "y");
    EXPECT_EQ(input.typed(), "1\r2");
}

TEST_F(TmuxDriverTest, tellsServersApart)
{
    const TmuxServer second(u"with, comma 'and' #{quotes} \"; $(x)"_s);
    const TypedInput here(path(u"here"_s));
    const TypedInput there(path(u"there"_s));
    const QString pane = openInput(here);
    ASSERT_EQ(openInput(second, there), pane);
    const Variable insideTheFirst("TMUX", m_server.socket().toUtf8() + ",1,0");
    const Variable pane0("TMUX_PANE", "%0");

    EXPECT_EQ(m_driver.typeText(target(second, pane), u"there"_s), std::nullopt);
    EXPECT_EQ(m_driver.typeText(target(m_server, pane), u"here"_s), std::nullopt);
    EXPECT_EQ(there.waitForBytes(5), "there");
    EXPECT_EQ(here.waitForBytes(4), "here");
}

TEST_F(TmuxDriverTest, saysThatAPaneIsGone)
{
    const QString pane = m_server.openWindow(sleeping);
    EXPECT_EQ(m_driver.close(target(pane)), std::nullopt);
    const TerminalDriver::Failure gone = u"the tmux pane is gone"_s;
    EXPECT_EQ(m_driver.typeText(target(pane), u"x"_s), gone);
    EXPECT_EQ(m_driver.typeText(target(pane), {}), gone);
    EXPECT_EQ(m_driver.pressReturn(target(pane)), gone);
    EXPECT_EQ(m_driver.focus(target(pane)), gone);
    EXPECT_EQ(m_driver.close(target(pane)), gone);
    EXPECT_EQ(m_driver.open(target(pane), { m_folder.path(), u"true"_s }), gone);
    EXPECT_EQ(m_driver.examine(target(pane))->detail, *gone);
}

TEST_F(TmuxDriverTest, saysThatAPanesProgramHasEnded)
{
    m_server.run({ u"set-option"_s, u"-g"_s, u"remain-on-exit"_s, u"on"_s });
    const QString pane = m_server.openWindow({ u"sh"_s, u"-c"_s, u"exit 1"_s });
    ASSERT_TRUE(eventually([&] {
        return m_server.run({ u"display-message"_s, u"-p"_s, u"-t"_s, pane, u"#{pane_dead}"_s }) == u"1"_s;
    }));
    EXPECT_EQ(m_driver.typeText(target(pane), u"x"_s), u"the program in the tmux pane has ended"_s);
    EXPECT_EQ(m_driver.close(target(pane)), std::nullopt);
}

TEST_F(TmuxDriverTest, saysThatAPaneTakesNoInput)
{
    const QString pane = m_server.openWindow(sleeping);
    m_server.run({ u"select-pane"_s, u"-d"_s, u"-t"_s, pane });
    EXPECT_TRUE(m_driver.typeText(target(pane), u"x"_s));
}

TEST_F(TmuxDriverTest, saysThatAServerIsGone)
{
    m_server.run({ u"kill-server"_s });
    EXPECT_TRUE(eventually([&] {
        return m_driver.typeText(target(firstPane()), u"x"_s) == u"no tmux server answers at " + m_server.socket();
    }));
    EXPECT_TRUE(m_driver.examine(target(firstPane())));

    const TerminalTarget nowhere { u"tmux-pane"_s, u"/nowhere/socket,%0"_s };
    EXPECT_EQ(m_driver.focus(nowhere), u"no tmux server answers at /nowhere/socket"_s);
}

TEST_F(TmuxDriverTest, startsNoServer)
{
    m_server.run({ u"kill-server"_s });
    EXPECT_TRUE(m_driver.focus(target(firstPane())));
    EXPECT_TRUE(m_driver.open(target(firstPane()), { m_folder.path(), u"true"_s }));
    EXPECT_TRUE(m_server.run({ u"list-sessions"_s }).isEmpty());
}

TEST_F(TmuxDriverTest, talksOnlyToASocketOfThisUser)
{
    QFile file(path(u"file"_s));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    EXPECT_TRUE(m_driver.typeText({ u"tmux-pane"_s, QString(file.fileName() + u",%0") }, u"x"_s));
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can give a socket away";
    ASSERT_EQ(chown(QFile::encodeName(m_server.socket()).constData(), 12345, -1), 0);
    EXPECT_EQ(m_driver.typeText(target(firstPane()), u"x"_s), m_server.socket() + u" is no tmux socket of this user");
    ASSERT_EQ(chown(QFile::encodeName(m_server.socket()).constData(), 0, -1), 0);
}

TEST_F(TmuxDriverTest, givesUpOnAServerThatHangs)
{
    const pid_t server = m_server.run({ u"display-message"_s, u"-p"_s, u"#{pid}"_s }).toInt();
    ASSERT_GT(server, 1);
    ASSERT_EQ(kill(server, SIGSTOP), 0);
    const TerminalDriver::Failure hangs = u"the tmux server at " + m_server.socket() + u" does not answer";
    EXPECT_EQ(m_impatientDriver.typeText(target(firstPane()), u"x"_s), hangs);
    EXPECT_EQ(m_impatientDriver.focus(target(firstPane())), hangs);
    EXPECT_EQ(m_impatientDriver.examine(target(firstPane()))->detail, *hangs);
    ASSERT_EQ(kill(server, SIGCONT), 0);
    EXPECT_EQ(m_driver.examine(target(firstPane())), std::nullopt);
}

TEST_F(TmuxDriverTest, focusChoosesWindowAndPane)
{
    const QString pane = m_server.openWindow(sleeping);
    split(sleeping);
    m_server.openWindow(sleeping);
    const AttachedTerminal terminal(m_server, u"main"_s);
    ASSERT_NE(terminal.pane(), pane);

    EXPECT_EQ(m_driver.focus(target(pane)), std::nullopt);
    EXPECT_EQ(terminal.pane(), pane);
}

TEST_F(TmuxDriverTest, focusSwitchesTheTerminalToThePanesSession)
{
    const AttachedTerminal terminal(m_server, u"main"_s);
    const QString pane = newSession(u"other session"_s);

    EXPECT_EQ(m_driver.focus(target(pane)), std::nullopt);
    EXPECT_EQ(terminal.session(), u"other session"_s);
    EXPECT_EQ(terminal.pane(), pane);
}

TEST_F(TmuxDriverTest, focusUsesTheTerminalThatShowsTheSession)
{
    const QString pane = newSession(u"other"_s);
    const AttachedTerminal showsIt(m_server, u"other"_s);
    AttachedTerminal usedLast(m_server, u"main"_s);
    ASSERT_TRUE(eventually([&] {
        usedLast.use();
        return usedLast.lastUse() > showsIt.lastUse();
    }));
    m_applications.windowsOfProcesses = { { showsIt.pid(), 11 }, { usedLast.pid(), 22 } };

    EXPECT_EQ(m_driver.focus(target(pane)), std::nullopt);
    EXPECT_EQ(usedLast.session(), u"main"_s);
    EXPECT_EQ(m_applications.calls(), QStringList { u"raise 11"_s });
}

TEST_F(TmuxDriverTest, focusUsesTheTerminalThatWasUsedLast)
{
    AttachedTerminal usedLast(m_server, u"main"_s);
    const AttachedTerminal idle(m_server, u"main"_s);
    const QString pane = newSession(u"other"_s);
    ASSERT_TRUE(eventually([&] {
        usedLast.use();
        return usedLast.lastUse() > idle.lastUse();
    }));

    EXPECT_EQ(m_driver.focus(target(pane)), std::nullopt);
    EXPECT_EQ(usedLast.session(), u"other"_s);
    EXPECT_EQ(idle.session(), u"main"_s);
}

TEST_F(TmuxDriverTest, focusStaysInTheSessionWhereTheWindowIsLinkedIntoSeveral)
{
    const QString pane = newSession(u"other"_s);
    m_server.run({ u"link-window"_s, u"-d"_s, u"-s"_s, u"other:"_s, u"-t"_s, u"main:"_s });
    const AttachedTerminal terminal(m_server, u"main"_s);
    ASSERT_NE(terminal.pane(), pane);

    EXPECT_EQ(m_driver.focus(target(pane)), std::nullopt);
    EXPECT_EQ(terminal.session(), u"main"_s);
    EXPECT_EQ(terminal.pane(), pane);
}

TEST_F(TmuxDriverTest, focusStaysInTheSessionOfAGroup)
{
    const QString pane = m_server.openWindow(sleeping);
    m_server.run({ u"new-session"_s, u"-d"_s, u"-t"_s, u"main"_s, u"-s"_s, u"grouped"_s });
    m_server.run({ u"select-window"_s, u"-t"_s, u"main:0"_s });
    m_server.run({ u"select-window"_s, u"-t"_s, u"grouped:0"_s });
    const AttachedTerminal terminal(m_server, u"grouped"_s);

    EXPECT_EQ(m_driver.focus(target(pane)), std::nullopt);
    EXPECT_EQ(terminal.session(), u"grouped"_s);
    EXPECT_EQ(terminal.pane(), pane);
    EXPECT_EQ(currentPane(u"main"_s), firstPane());
}

TEST_F(TmuxDriverTest, focusWithoutATerminalSaysHowToAttachOne)
{
    m_server.run({ u"rename-session"_s, u"it's mine"_s });
    const QString pane = m_server.openWindow(sleeping);
    m_server.run({ u"select-window"_s, u"-t"_s, u":0"_s });

    const auto failure = m_driver.focus(target(pane));
    EXPECT_EQ(failure, u"no terminal is attached to this tmux session; attach one with: tmux -S '" + m_server.socket() +
                           u"' attach -t 'it'\\''s mine'");
    EXPECT_EQ(currentPane(u"it's mine"_s), pane);
}

TEST_F(TmuxDriverTest, focusPassesOverProgramsThatControlTmux)
{
    QProcess control;
    control.start(u"tmux"_s, { u"-S"_s, m_server.socket(), u"-C"_s, u"attach"_s });
    ASSERT_TRUE(eventually([&] { return !m_server.run({ u"list-clients"_s }).isEmpty(); }));

    EXPECT_TRUE(m_driver.focus(target(firstPane())));
    const AttachedTerminal terminal(m_server, u"main"_s);
    EXPECT_EQ(m_driver.focus(target(firstPane())), std::nullopt);
    control.kill();
    control.waitForFinished();
}

TEST_F(TmuxDriverTest, focusRaisesTheWindowThatTheTerminalNames)
{
    const AttachedTerminal terminal(m_server, u"main"_s, { u"WINDOWID=4711"_s });
    m_applications.windows = { 4711 };
    m_applications.windowsOfProcesses = { { terminal.pid(), 22 } };
    EXPECT_EQ(m_driver.focus(target(firstPane())), std::nullopt);
    EXPECT_EQ(m_applications.calls(), QStringList { u"raise 4711"_s });
}

TEST_F(TmuxDriverTest, focusRaisesTheWindowOfTheTerminalsProcessWhereTheNamedOneIsGone)
{
    const AttachedTerminal terminal(m_server, u"main"_s, { u"WINDOWID=4711"_s });
    m_applications.windowsOfProcesses = { { terminal.pid(), 22 } };
    EXPECT_EQ(m_driver.focus(target(firstPane())), std::nullopt);
    EXPECT_EQ(m_applications.calls(), (QStringList { u"raise 4711"_s, u"raise 22"_s }));
}

TEST_F(TmuxDriverTest, focusWorksWithoutAnyWindow)
{
    const AttachedTerminal terminal(m_server, u"main"_s);
    EXPECT_EQ(m_driver.focus(target(firstPane())), std::nullopt);
    EXPECT_EQ(m_applications.calls(), QStringList {});
}

TEST_F(TmuxDriverTest, focusHasTheTerminalsOwnDriverShowItsTab)
{
    const AttachedTerminal terminal(m_server, u"main"_s,
                                    { u"KITTY_LISTEN_ON=unix:/k"_s, u"KITTY_WINDOW_ID=3"_s, u"WINDOWID=4711"_s });
    m_applications.windows = { 4711 };
    FakeTerminalDriver kitty(u"kitty"_s, u"kitty-window"_s);
    TmuxDriver driver(m_applications, m_processes, { &kitty });
    EXPECT_EQ(driver.focus(target(firstPane())), std::nullopt);
    EXPECT_EQ(kitty.calls(), QStringList { u"focus unix:/k,3"_s });
    EXPECT_EQ(m_applications.calls(), QStringList {});

    kitty.setFailure(u"it is gone"_s);
    EXPECT_EQ(driver.focus(target(firstPane())), std::nullopt);
    EXPECT_EQ(m_applications.calls(), QStringList { u"raise 4711"_s });
}

TEST_F(TmuxDriverTest, focusGoesThroughTmuxInTmux)
{
    const QString pane = m_server.openWindow(sleeping);
    m_server.run({ u"select-window"_s, u"-t"_s, u":0"_s });
    const TmuxServer outer(u"outer"_s);
    // As one nests them: the variable that says "inside tmux" is cleared.
    const QString holder = outer.openWindow(
        { u"sh"_s, u"-c"_s, QString(u"TMUX= TERM=xterm tmux -S '" + m_server.socket() + u"' attach; sleep 1000") });
    outer.openWindow(sleeping);
    const AttachedTerminal terminal(outer, u"main"_s, { u"WINDOWID=4711"_s });
    m_applications.windows = { 4711 };
    ASSERT_TRUE(eventually([&] { return !m_server.run({ u"list-clients"_s }).isEmpty(); }));
    ASSERT_NE(terminal.pane(), holder);

    EXPECT_EQ(m_driver.focus(target(pane)), std::nullopt);
    EXPECT_EQ(currentPane(u"main"_s), pane);
    EXPECT_EQ(terminal.pane(), holder);
    EXPECT_EQ(m_applications.calls(), QStringList { u"raise 4711"_s });
}

TEST_F(TmuxDriverTest, opensAWindowInTheFolderAndRunsTheCommandThere)
{
    const QString folder = path(u"it's #[a] #(touch x) #{pane_id};"_s);
    ASSERT_TRUE(QDir().mkpath(folder));
    const AttachedTerminal terminal(m_server, u"main"_s);
    const QString before = terminal.pane();
    const QString result = path(u"result"_s);

    EXPECT_EQ(m_driver.open(target(firstPane()), { folder, QString(u"{ pwd; printf '%s\\n' 'two words;' ';'; } >'" +
                                                                   result + u"'; echo;") }),
              std::nullopt);
    QFile file(result);
    EXPECT_TRUE(eventually([&] { return file.size() > 0; }));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(QString::fromUtf8(file.readAll()), folder + u"\ntwo words;\n;\n");
    EXPECT_NE(terminal.pane(), before);
    EXPECT_EQ(m_driver.examine(target(terminal.pane())), std::nullopt) << "the shell did not stay";
    EXPECT_EQ(QDir(folder).count(), 2U) << "the folder's name was run as a command";
}

TEST_F(TmuxDriverTest, opensInThePanesSessionWhenNoTerminalIsAttached)
{
    const QString pane = newSession(u"other"_s);
    EXPECT_EQ(m_driver.open(target(pane), { m_folder.path(), u"true"_s }), std::nullopt);
    EXPECT_NE(currentPane(u"other"_s), pane);
    EXPECT_EQ(currentPane(u"main"_s), firstPane());
}

TEST_F(TmuxDriverTest, opensNothingInAFolderThatIsMissing)
{
    EXPECT_EQ(m_driver.open(target(firstPane()), { u"/no/such"_s, u"true"_s }), u"there is no folder /no/such"_s);
    EXPECT_EQ(m_server.run({ u"list-panes"_s, u"-a"_s }).count(u'\n'), 0);
}

TEST_F(TmuxDriverTest, closesThePaneAlone)
{
    const QString pane = m_server.openWindow(sleeping);
    const QString neighbour = split(sleeping);
    EXPECT_EQ(m_driver.close(target(pane)), std::nullopt);
    EXPECT_EQ(m_server.run({ u"list-panes"_s, u"-F"_s, u"#{pane_id}"_s }), neighbour);
}

TEST_F(TmuxDriverTest, findsNothingWrongWithALivePane)
{
    EXPECT_EQ(m_driver.examine(target(firstPane())), std::nullopt);
}

TEST_F(TmuxDriverTest, saysThatTmuxIsMissing)
{
    const Variable searchPath("PATH", QFile::encodeName(m_folder.path()));
    EXPECT_TRUE(m_driver.typeText(target(firstPane()), u"x"_s));
    EXPECT_TRUE(m_driver.examine(target(firstPane()))->detail.contains(u"not on the PATH"));
}

TEST_F(TmuxDriverTest, saysThatTmuxIsTooOld)
{
    for (const auto &[version, isTooOld] : { std::pair("2.9a", true),
                                             { "3.1c", true },
                                             { "", true },
                                             { "3.2", false },
                                             { "3.3a", false },
                                             { "3.10", false },
                                             { "10.0", false },
                                             { "next-3.5", false },
                                             { "master", false },
                                             { "openbsd-7.1", false } }) {
        QFile program(path(u"tmux"_s));
        ASSERT_TRUE(program.open(QIODevice::WriteOnly));
        program.write("#!/bin/sh\necho '" + QByteArray(version) + " %0'\n");
        program.close();
        program.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        const Variable searchPath("PATH", QFile::encodeName(m_folder.path()));
        EXPECT_EQ(m_driver.examine(target(firstPane())).has_value(), isTooOld) << version;
    }
}

} // namespace vantry::test
