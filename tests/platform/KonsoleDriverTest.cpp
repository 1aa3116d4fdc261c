#include "platform/linux/KonsoleDriver.h"

#include "platform/FakeKonsole.h"
#include "platform/PrivateBus.h"
#include "support/FakeApplications.h"

#include <QCoreApplication>
#include <QProcess>

#include <gmock/gmock.h>

#include <unistd.h>

#include <future>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::Optional;

constexpr auto noFailure = std::nullopt;
constexpr TerminalDriver::Abilities all { .focus = true, .type = true, .open = true, .close = true };

/// A konsole with one window, 71 on the desktop, and the sessions 1 and 2 in it.
class KonsoleDriverProtocol : public ::testing::Test
{
protected:
    KonsoleDriverProtocol() { konsole.addWindow(1, 71, { u"1"_s, u"2"_s }); }

    /// The driver blocks its thread, while the konsole of this one has to answer.
    template <typename Call>
    auto ask(Call call)
    {
        return ask(driver, call);
    }
    template <typename Call>
    auto ask(KonsoleDriver &asked, Call call)
    {
        auto result = std::async(std::launch::async, [&] { return call(asked); });
        while (result.wait_for(1ms) != std::future_status::ready)
            QCoreApplication::processEvents();
        return result.get();
    }
    TerminalDriver::Failure type(const QString &text)
    {
        return ask([&](auto &d) { return d.typeText(target(), text); });
    }
    TerminalDriver::Failure focus(int session = 1)
    {
        return ask([&](auto &d) { return d.focus(target(session)); });
    }
    TerminalDriver::Failure open(const TerminalCommand &command)
    {
        return ask([&](auto &d) { return d.open(target(), command); });
    }
    TerminalDriver::Failure close()
    {
        return ask([&](auto &d) { return d.close(target()); });
    }
    std::optional<TerminalDriver::Problem> examine()
    {
        return ask([&](auto &d) { return d.examine(target()); });
    }
    [[nodiscard]] TerminalTarget target(int session = 1) const
    {
        return { u"konsole-session"_s, konsole.target(session) };
    }

    PrivateBus bus;
    FakeKonsole konsole { bus.address() };
    FakeApplications applications;
    KonsoleDriver driver { bus.address(), applications, 20s };
};

TEST_F(KonsoleDriverProtocol, canDoAllWithAUsableTargetAndNothingWithoutOne)
{
    EXPECT_EQ(driver.abilities({ u"konsole-session"_s, u":1.42,/Sessions/7"_s }), all);
    for (const QString &id :
         { u""_s, u","_s, u":1.42"_s, u":1.42,"_s, u":1.42,/Sessions/"_s, u":1.42,/Sessions/0"_s,
           u":1.42,/Sessions/-1"_s, u":1.42,/Sessions/1/x"_s, u":1.42,/Sessions/1\n"_s, u":1.42,/Windows/1"_s,
           u":1.42,Sessions/1"_s, u"1.42,/Sessions/1"_s, u"org.kde.konsole,/Sessions/1"_s, u":1.42, /Sessions/1"_s,
           u":1.42,/Sessions/99999999999"_s, u":1.٤,/Sessions/1"_s }) {
        const TerminalTarget bad { u"konsole-session"_s, id };
        EXPECT_EQ(driver.abilities(bad), TerminalDriver::Abilities {}) << id.toStdString();
        EXPECT_NE(driver.typeText(bad, u"x"_s), noFailure);
        EXPECT_NE(driver.focus(bad), noFailure);
        EXPECT_NE(driver.close(bad), noFailure);
        EXPECT_NE(driver.open(bad, { u"/"_s, u"true"_s }), noFailure);
        EXPECT_NE(driver.examine(bad), std::nullopt);
    }
    EXPECT_TRUE(driver.handles(u"konsole-session"_s));
    EXPECT_FALSE(driver.handles(u"konsole"_s));
}

TEST_F(KonsoleDriverProtocol, typesTextAndReturn)
{
    EXPECT_EQ(type(u"a\"\\ ;ä"_s), noFailure);
    EXPECT_EQ(ask([&](auto &d) { return d.pressReturn(target()); }), noFailure);

    EXPECT_THAT(konsole.calls, ElementsAre(u"/Sessions/1 sendText a\"\\ ;ä"_s, u"/Sessions/1 sendText \r"_s));
}

TEST_F(KonsoleDriverProtocol, typesNothingIntoATabWhoseProgramHasEnded)
{
    konsole.set(u"/Sessions/1"_s, u"processId"_s, 0);

    EXPECT_EQ(type(u"x"_s), u"the program in the konsole session has ended"_s);
    EXPECT_THAT(konsole.calls, IsEmpty());
}

TEST_F(KonsoleDriverProtocol, saysWhatToDoWhenKonsoleDoesNotAllowTyping)
{
    for (const auto &error :
         { u"org.freedesktop.DBus.Error.AccessDenied"_s, u"org.freedesktop.DBus.Error.UnknownMethod"_s }) {
        konsole.fail(u"/Sessions/1"_s, u"sendText"_s, error);

        EXPECT_EQ(type(u"x"_s), u"konsole refuses to be controlled: for a reason"_s);
        const auto problem = examine();
        ASSERT_TRUE(problem);
        EXPECT_TRUE(problem->advice.contains(u"\"EnableSecuritySensitiveDBusAPI=true\""));
        EXPECT_TRUE(problem->advice.contains(u"konsolerc"));
    }
}

TEST_F(KonsoleDriverProtocol, opensNoTabWhereItMayNotType)
{
    konsole.fail(u"/Sessions/1"_s, u"sendText"_s, u"org.freedesktop.DBus.Error.AccessDenied"_s);

    EXPECT_NE(open({ u"/"_s, u"true"_s }), noFailure);
    EXPECT_THAT(konsole.calls,
                Not(Contains(::testing::Truly([](const QString &call) { return call.contains(u"newSession"); }))));
}

TEST_F(KonsoleDriverProtocol, typesTheCommandIntoANewTabOfTheSameWindow)
{
    konsole.addWindow(2, 72, { u"5"_s });
    konsole.set(u"/Windows/1"_s, u"newSession"_s, 6);
    konsole.addSession(u"6"_s, u"/Windows/1"_s, 71);
    applications.windows = { 71, 72 };

    KonsoleDriver impatient(bus.address(), applications, 1s);
    const auto result = ask(impatient, [&](auto &d) {
        return d.open(target(2), { u"/usr"_s, u"cd '/usr' && claude"_s });
    });

    EXPECT_EQ(result, noFailure);
    EXPECT_THAT(konsole.calls, ElementsAre(u"/Sessions/2 sendText "_s, u"/Windows/1 newSession  /usr"_s,
                                           u"/Sessions/6 sendText cd '/usr' && claude\r"_s));
    EXPECT_THAT(applications.calls(), ElementsAre(u"raise 71"_s));
}

TEST_F(KonsoleDriverProtocol, opensNothingForACommandThatHoldsKeys)
{
    EXPECT_NE(open({ u"/"_s, u"cd '/a\tb' && claude"_s }), noFailure);
    EXPECT_NE(open({ u"/"_s, u"true\n"_s }), noFailure);
    EXPECT_NE(open({ u"/there/is/no/such/folder"_s, u"true"_s }), noFailure);
    EXPECT_THAT(konsole.calls, IsEmpty());
}

TEST_F(KonsoleDriverProtocol, raisesTheWindowInWhichTheTabsWereStarted)
{
    konsole.addWindow(2, 72, { u"5"_s });
    applications.windows = { 71, 72 };

    EXPECT_EQ(focus(2), noFailure);
    EXPECT_EQ(focus(5), noFailure);

    EXPECT_THAT(konsole.calls, ElementsAre(u"/Windows/1 setCurrentSession 2"_s, u"/Windows/2 setCurrentSession 5"_s));
    EXPECT_THAT(applications.calls(), ElementsAre(u"raise 71"_s, u"raise 72"_s));
}

TEST_F(KonsoleDriverProtocol, raisesAWindowAllOfWhoseTabsCameFromAnother)
{
    konsole.addWindow(3, 73, { u"5"_s });
    konsole.addSession(u"5"_s, u"/Windows/1"_s, 71);
    applications.windows = { 71, 73 };

    EXPECT_EQ(focus(5), noFailure);

    EXPECT_THAT(applications.calls(), ElementsAre(u"raise 73"_s));
}

TEST_F(KonsoleDriverProtocol, raisesAnyWindowOfTheProcessWhereTheRightOneCantBeTold)
{
    for (const int window : { 3, 4 }) {
        konsole.addWindow(window, 70 + static_cast<quint64>(window), { QString::number(window) });
        konsole.addSession(QString::number(window), u"/Windows/9"_s, 79);
    }
    applications.windows = { 71, 73, 74 };
    applications.windowsOfProcesses = { { ::getpid(), 74 } };

    EXPECT_EQ(focus(3), noFailure);

    EXPECT_THAT(applications.calls(), ElementsAre(u"raise 74"_s));
}

TEST_F(KonsoleDriverProtocol, raisesTheWindowOfAProgramThatHasAKonsoleInIt)
{
    konsole.addChildren(u"/Windows"_s, {});
    konsole.fail(u"/Windows"_s, u"Introspect"_s, u"org.freedesktop.DBus.Error.UnknownObject"_s);
    applications.windows = { 90 };
    applications.windowsOfProcesses = { { ::getpid(), 90 } };

    EXPECT_EQ(focus(), noFailure);
    EXPECT_EQ(type(u"x"_s), noFailure);

    EXPECT_THAT(applications.calls(), ElementsAre(u"raise 90"_s));
}

TEST_F(KonsoleDriverProtocol, tellsWhenTheWindowCantBeRaised)
{
    EXPECT_EQ(focus(), u"konsole's window could not be brought forward"_s);
}

TEST_F(KonsoleDriverProtocol, endsNoProcessThatIsNotKonsolesOwn)
{
    QProcess other;
    other.start(u"sh"_s, { u"-c"_s, u"sleep 1000 & echo $!; wait"_s });
    ASSERT_TRUE(other.waitForReadyRead());
    const int grandchild = other.readLine().trimmed().toInt();
    for (const int pid : { grandchild, static_cast<int>(::getppid()), 1, -1, -4711 }) {
        konsole.set(u"/Sessions/1"_s, u"processId"_s, pid);
        EXPECT_EQ(close(), u"the program in the konsole session can't be found"_s) << pid;
    }
    EXPECT_EQ(::kill(grandchild, 0), 0);
    ::kill(grandchild, SIGKILL);
    other.waitForFinished();
}

TEST_F(KonsoleDriverProtocol, endsTheProgramAndLeavesTheTabToItself)
{
    QProcess program;
    program.start(u"sleep"_s, { u"1000"_s });
    ASSERT_TRUE(program.waitForStarted());
    konsole.set(u"/Sessions/1"_s, u"processId"_s, static_cast<int>(program.processId()));
    konsole.set(u"/Windows/1"_s, u"sessionList"_s, QStringList { u"2"_s });

    EXPECT_EQ(close(), noFailure);

    EXPECT_TRUE(program.state() == QProcess::NotRunning || program.waitForFinished());
    EXPECT_THAT(konsole.calls, IsEmpty());
}

TEST_F(KonsoleDriverProtocol, movesNoTabButTheOneToClose)
{
    konsole.set(u"/Sessions/1"_s, u"processId"_s, 0);
    konsole.set(u"/Windows/1"_s, u"currentSession"_s, 2);
    KonsoleDriver impatient(bus.address(), applications, 1s);
    const auto result = ask(impatient, [&](auto &d) { return d.close(target()); });

    EXPECT_NE(result, noFailure);
    EXPECT_THAT(konsole.calls, ElementsAre(u"/Windows/1 setCurrentSession 1"_s));
}

TEST_F(KonsoleDriverProtocol, closesNoWindowWithoutHavingMovedTheTabThere)
{
    konsole.set(u"/Sessions/1"_s, u"processId"_s, 0);
    konsole.set(u"/Windows/1"_s, u"currentSession"_s, 1);
    KonsoleDriver impatient(bus.address(), applications, 1s);
    const auto result = ask(impatient, [&](auto &d) { return d.close(target()); });

    EXPECT_EQ(result, u"what ran in the tab has ended, but konsole keeps it"_s);
    EXPECT_THAT(konsole.calls, ElementsAre(u"/Windows/1 setCurrentSession 1"_s,
                                           u"/konsole/MainWindow_1 activateAction detach-view"_s));
}

TEST_F(KonsoleDriverProtocol, bearsWithAnswersOfAnotherForm)
{
    konsole.set(u"/Windows/1"_s, u"sessionList"_s, QStringList { u"x"_s, u""_s, u"99999999999"_s, u"1"_s });
    konsole.set(u"/Sessions/1"_s, u"environment"_s,
                QStringList { u"KONSOLE_DBUS_WINDOW=/Windows/1"_s, u"WINDOWID=x"_s });
    konsole.set(u"/konsole/MainWindow_1"_s, u"winId"_s, u"text"_s);
    EXPECT_NE(focus(), noFailure);
    konsole.set(u"/Windows/1"_s, u"sessionList"_s, 3);
    EXPECT_NE(focus(), noFailure);
    konsole.set(u"/Windows"_s, u"Introspect"_s, u"<node><node name=\"1\"/><nod"_s);
    EXPECT_NE(focus(), noFailure);
    konsole.set(u"/Windows"_s, u"Introspect"_s, 5);
    EXPECT_NE(focus(), noFailure);
    konsole.set(u"/Sessions/1"_s, u"processId"_s, u"text"_s);
    EXPECT_NE(type(u"x"_s), noFailure);
}

TEST_F(KonsoleDriverProtocol, givesUpOnAKonsoleThatDoesNotAnswer)
{
    konsole.silence(u"/Sessions/1"_s, u"processId"_s);
    KonsoleDriver impatient(bus.address(), applications, 50ms);
    const auto result = ask(impatient, [&](auto &d) { return d.typeText(target(), u"x"_s); });

    EXPECT_EQ(result, u"konsole did not answer in time"_s);
}

TEST_F(KonsoleDriverProtocol, findsNoPlaceToOpenAmongOtherPrograms)
{
    EXPECT_EQ(ask([](auto &d) { return d.findPlaceToOpen(); }), std::nullopt);
}

TEST_F(KonsoleDriverProtocol, findsNothingWrongWhereTypingIsAllowed)
{
    EXPECT_EQ(examine(), std::nullopt);
}

TEST(KonsoleDriverWithoutABus, saysSo)
{
    FakeApplications applications;
    KonsoleDriver driver({}, applications);
    const TerminalTarget target { u"konsole-session"_s, u":1.1,/Sessions/1"_s };

    EXPECT_EQ(driver.typeText(target, u"x"_s), u"there is no session bus to reach konsole over"_s);
    EXPECT_EQ(driver.focus(target), u"there is no session bus to reach konsole over"_s);
    EXPECT_EQ(driver.close(target), u"there is no session bus to reach konsole over"_s);
    EXPECT_EQ(driver.open(target, { u"/"_s, u"true"_s }), u"there is no session bus to reach konsole over"_s);
    EXPECT_EQ(driver.findPlaceToOpen(), std::nullopt);
    ASSERT_TRUE(driver.examine(target));
    EXPECT_TRUE(driver.examine(target)->advice.contains(u"DBUS_SESSION_BUS_ADDRESS"));
}

TEST(KonsoleDriverOnABusThatHasGone, saysSo)
{
    PrivateBus bus;
    FakeApplications applications;
    KonsoleDriver driver(bus.address(), applications);
    bus.stop();

    EXPECT_NE(driver.typeText({ u"konsole-session"_s, u":1.1,/Sessions/1"_s }, u"x"_s), noFailure);
}

} // namespace
} // namespace vantry::test
