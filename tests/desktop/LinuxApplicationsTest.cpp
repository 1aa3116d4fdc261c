#include "platform/linux/LinuxApplications.h"

#include "base/Cancellation.h"
#include "desktop/support/Desktop.h"
#include "platform/linux/LinuxProcessTable.h"

#include <gmock/gmock.h>

#include <csignal>
#include <thread>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;
using ::testing::Contains;
using ::testing::IsEmpty;
using ::testing::IsSupersetOf;
using ::testing::Not;

/// A desktop with terminals whose windows stand for those of other programs.
class LinuxApplicationsTest : public ::testing::Test
{
protected:
    explicit LinuxApplicationsTest(Desktop::Options options = { .windowManager = true })
        : desktop(options)
    {
        // As the program does.
        std::signal(SIGPIPE, [](int) {});
    }

    struct Window
    {
        ChildProcess &process;
        quint64 id;
    };
    /// A window of this class, which has the focus once it is there.
    Window open(const QString &windowClass)
    {
        ChildProcess &process = desktop.start(u"xterm"_s, { u"-class"_s, windowClass });
        return { process, desktop.waitForWindow(windowClass) };
    }
    Window openActive(const QString &windowClass)
    {
        const Window window = open(windowClass);
        EXPECT_TRUE(desktop.waitUntilActive(window.id));
        return window;
    }
    void iconify(quint64 window)
    {
        static_cast<void>(desktop.outputOf(u"xdotool"_s, { u"windowminimize"_s, QString::number(window) }));
        EXPECT_TRUE(eventually([&] { return stateOf(window).contains(u"HIDDEN"_s); }));
    }
    [[nodiscard]] QString stateOf(quint64 window) const
    {
        return desktop.outputOf(u"xprop"_s, { u"-id"_s, QString::number(window), u"_NET_WM_STATE"_s });
    }
    void setProperty(quint64 window, const QString &name, const QString &format, const QString &value)
    {
        static_cast<void>(desktop.outputOf(
            u"xprop"_s, { u"-id"_s, QString::number(window), u"-f"_s, name, format, u"-set"_s, name, value }));
    }
    [[nodiscard]] QString currentDesktop() const
    {
        return desktop.outputOf(u"xprop"_s, { u"-root"_s, u"_NET_CURRENT_DESKTOP"_s }).section(u'=', 1).trimmed();
    }
    /// The first window inside of another one.
    [[nodiscard]] quint64 childOf(quint64 window) const
    {
        const QString text = desktop.outputOf(u"xwininfo"_s, { u"-children"_s, u"-id"_s, QString::number(window) });
        return text.section(u"child"_s, 1).section(u"0x"_s, 1, 1).section(u' ', 0, 0).toULongLong(nullptr, 16);
    }

    Desktop desktop;
    LinuxProcessTable processes { desktop.path(u"data"_s) };
    LinuxApplications applications { processes };
};

TEST_F(LinuxApplicationsTest, namesWhatRuns)
{
    open(u"Code"_s);
    open(u"kitty"_s);
    open(u"Some-Program"_s);

    EXPECT_THAT(applications.runningNames(), IsSupersetOf({ u"Visual Studio Code"_s, u"kitty"_s, u"Some-Program"_s }));
}

TEST_F(LinuxApplicationsTest, namesNothingThatHasEnded)
{
    open(u"kitty"_s).process.killAndWait();

    EXPECT_TRUE(eventually([&] { return applications.runningNames().isEmpty(); }));
}

TEST_F(LinuxApplicationsTest, bringsAnApplicationForwardByName)
{
    const auto kitty = openActive(u"kitty"_s);
    openActive(u"Other"_s);

    EXPECT_TRUE(applications.activate(u"kitty"_s));

    EXPECT_TRUE(desktop.waitUntilActive(kitty.id));
}

TEST_F(LinuxApplicationsTest, bringsAnApplicationForwardByItsBundle)
{
    const auto editor = openActive(u"Code"_s);
    openActive(u"Code - Insiders"_s);

    EXPECT_TRUE(applications.activateBundle(u"com.microsoft.VSCode"_s));

    EXPECT_TRUE(desktop.waitUntilActive(editor.id));
}

TEST_F(LinuxApplicationsTest, doesNothingForAnApplicationThatDoesNotRun)
{
    const auto other = openActive(u"Other"_s);

    EXPECT_FALSE(applications.activate(u"kitty"_s));
    EXPECT_FALSE(applications.activate({}));
    EXPECT_FALSE(applications.activateBundle(u"com.microsoft.VSCode"_s));
    EXPECT_FALSE(applications.activateBundle({}));

    EXPECT_EQ(desktop.activeWindow(), other.id);
}

TEST_F(LinuxApplicationsTest, takesTheWindowThatWasUsedLast)
{
    const auto first = openActive(u"kitty"_s);
    ChildProcess &second = desktop.start(u"xterm"_s, { u"-class"_s, u"kitty"_s });
    ASSERT_TRUE(eventually([&] { return desktop.windowsOfClass(u"kitty"_s).size() == 2; }));
    ASSERT_TRUE(eventually([&] { return desktop.activeWindow() != first.id && desktop.activeWindow() != 0; }));
    const quint64 last = desktop.activeWindow();
    openActive(u"Other"_s);

    EXPECT_TRUE(applications.activate(u"kitty"_s));

    EXPECT_TRUE(desktop.waitUntilActive(last));
    second.killAndWait();
}

TEST_F(LinuxApplicationsTest, ratherTakesAWindowThatIsNotIconified)
{
    const auto shown = openActive(u"kitty"_s);
    const auto iconified = openActive(u"Kitty"_s);
    openActive(u"Other"_s);
    iconify(iconified.id);

    EXPECT_TRUE(applications.activate(u"kitty"_s));

    EXPECT_TRUE(desktop.waitUntilActive(shown.id));
}

TEST_F(LinuxApplicationsTest, bringsAnIconifiedWindowBack)
{
    const auto kitty = openActive(u"kitty"_s);
    openActive(u"Other"_s);
    iconify(kitty.id);

    EXPECT_TRUE(applications.activate(u"kitty"_s));

    EXPECT_TRUE(desktop.waitUntilActive(kitty.id));
    EXPECT_FALSE(stateOf(kitty.id).contains(u"HIDDEN"_s));
}

TEST_F(LinuxApplicationsTest, goesToTheDesktopThatTheWindowIsOn)
{
    const auto kitty = openActive(u"kitty"_s);
    static_cast<void>(
        desktop.outputOf(u"xdotool"_s, { u"set_desktop_for_window"_s, QString::number(kitty.id), u"2"_s }));
    ASSERT_TRUE(eventually([&] { return desktop.activeWindow() != kitty.id; }));
    ASSERT_EQ(currentDesktop(), u"0"_s);

    EXPECT_TRUE(applications.raise(kitty.id));

    EXPECT_TRUE(desktop.waitUntilActive(kitty.id));
    EXPECT_EQ(currentDesktop(), u"2"_s);
}

TEST_F(LinuxApplicationsTest, raisesAWindow)
{
    const auto window = openActive(u"One"_s);
    openActive(u"Other"_s);

    EXPECT_TRUE(applications.raise(window.id));

    EXPECT_TRUE(desktop.waitUntilActive(window.id));
}

TEST_F(LinuxApplicationsTest, raisesTheWindowAroundOneThatIsInside)
{
    const auto window = openActive(u"One"_s);
    const quint64 inside = childOf(window.id);
    ASSERT_NE(inside, 0U);
    openActive(u"Other"_s);

    EXPECT_TRUE(applications.raise(inside));

    EXPECT_TRUE(desktop.waitUntilActive(window.id));
}

TEST_F(LinuxApplicationsTest, raisesNothingForAWindowThatIsNotThere)
{
    const auto other = openActive(u"Other"_s);
    const auto gone = open(u"Gone"_s);
    gone.process.killAndWait();
    ASSERT_TRUE(eventually([&] { return desktop.windowsOfClass(u"Gone"_s).isEmpty(); }));
    const quint64 root = desktop.outputOf(u"xwininfo"_s, { u"-root"_s })
                             .section(u"Window id: "_s, 1)
                             .section(u' ', 0, 0)
                             .toULongLong(nullptr, 16);
    ASSERT_NE(root, 0U);

    const QList<std::uint64_t> windows {
        0, gone.id, root, 0xffffffff, (std::uint64_t { 1 } << 32) + other.id, ~std::uint64_t { 0 }
    };
    for (const std::uint64_t window : windows)
        EXPECT_FALSE(applications.raise(window)) << window;
}

TEST_F(LinuxApplicationsTest, findsTheWindowOfAProcessOrOfItsParents)
{
    ChildProcess &process =
        desktop.start(u"xterm"_s, { u"-class"_s, u"One"_s, u"-e"_s, u"sh"_s, u"-c"_s,
                                    u"echo $$ >"_s + desktop.path(u"pid"_s) + u"; sleep 3600 && :"_s });
    const quint64 window = desktop.waitForWindow(u"One"_s);
    std::int64_t shell = 0;
    ASSERT_TRUE(eventually([&] {
        QFile file(desktop.path(u"pid"_s));
        shell = file.open(QFile::ReadOnly) ? file.readAll().trimmed().toLongLong() : 0;
        return shell != 0;
    }));

    EXPECT_EQ(applications.windowOf(process.processId()), window);
    EXPECT_EQ(applications.windowOf(shell), window);
}

TEST_F(LinuxApplicationsTest, findsNoWindowOfAProcessThatHasNone)
{
    open(u"One"_s);

    for (const std::int64_t pid :
         { std::int64_t { 0 }, std::int64_t { 1 }, std::int64_t { -5 }, std::int64_t { ::getpid() },
           std::numeric_limits<std::int64_t>::max(), std::numeric_limits<std::int64_t>::min() })
        EXPECT_FALSE(applications.windowOf(pid)) << pid;
}

TEST_F(LinuxApplicationsTest, findsNoWindowOfAProcessThatOnlyHasTheSameNumberElsewhere)
{
    const auto window = open(u"One"_s);
    const std::int64_t pid = window.process.processId();

    setProperty(window.id, u"WM_CLIENT_MACHINE"_s, u"8s"_s, u"elsewhere"_s);

    EXPECT_FALSE(applications.windowOf(pid));
}

TEST_F(LinuxApplicationsTest, takesAPanelForNobodysWindow)
{
    const auto panel = open(u"Panel"_s);
    setProperty(panel.id, u"_NET_WM_WINDOW_TYPE"_s, u"32a"_s, u"_NET_WM_WINDOW_TYPE_DOCK"_s);

    EXPECT_FALSE(applications.windowOf(panel.process.processId()));
    EXPECT_FALSE(applications.activate(u"Panel"_s));
}

TEST_F(LinuxApplicationsTest, copesWithPropertiesOfAnotherForm)
{
    const auto window = open(u"One"_s);
    setProperty(window.id, u"_NET_WM_PID"_s, u"8s"_s, u"no number"_s);
    setProperty(window.id, u"_NET_WM_STATE"_s, u"8s"_s, u"x"_s);
    setProperty(window.id, u"WM_CLASS"_s, u"32c"_s, u"7"_s);

    EXPECT_THAT(applications.runningNames(), IsEmpty());
    EXPECT_FALSE(applications.windowOf(window.process.processId()));
}

TEST_F(LinuxApplicationsTest, goesOnWithoutTheWindowManagerThatHasCrashed)
{
    const auto window = openActive(u"kitty"_s);
    openActive(u"Other"_s);

    desktop.windowManager().killAndWait();

    // The server takes the windows out of their frames once it has noticed.
    EXPECT_TRUE(eventually([&] { return applications.runningNames().contains(u"kitty"_s); }));
    EXPECT_TRUE(eventually([&] {
        return applications.activate(u"kitty"_s) &&
               desktop.outputOf(u"xdotool"_s, { u"getwindowfocus"_s }).toULongLong() == window.id;
    }));
}

TEST_F(LinuxApplicationsTest, hasNothingOnceTheServerIsGone)
{
    const auto window = openActive(u"kitty"_s);

    desktop.server().killAndWait();

    EXPECT_THAT(applications.runningNames(), IsEmpty());
    EXPECT_FALSE(applications.activate(u"kitty"_s));
    EXPECT_FALSE(applications.raise(window.id));
    EXPECT_FALSE(applications.windowOf(window.process.processId()));
}

TEST_F(LinuxApplicationsTest, doesNotWaitForAServerThatHangs)
{
    const auto window = openActive(u"kitty"_s);
    desktop.server().sendSignal(SIGSTOP);

    EXPECT_FALSE(applications.raise(window.id));

    desktop.server().sendSignal(SIGCONT);
    EXPECT_TRUE(applications.raise(window.id));
}

TEST_F(LinuxApplicationsTest, givesUpWaitingForAServerThatHangsWhenTheWorkIsCancelled)
{
    desktop.server().sendSignal(SIGSTOP);
    Cancellation cancellation;
    const Cancellation::Scope scope(cancellation);
    cancellation.cancel();

    EXPECT_THAT(applications.runningNames(), IsEmpty());

    desktop.server().sendSignal(SIGCONT);
}

TEST_F(LinuxApplicationsTest, survivesAServerThatDiesInTheMidstOfCalls)
{
    open(u"kitty"_s);
    std::atomic_bool isDone { false };
    std::atomic_int answers { 0 };
    std::vector<std::thread> callers;
    for (int index = 0; index < 4; ++index) {
        callers.emplace_back([&] {
            while (!isDone) {
                if (applications.runningNames().contains(u"kitty"_s) && applications.activate(u"kitty"_s))
                    ++answers;
            }
        });
    }

    EXPECT_TRUE(eventually([&] { return answers > 50; }));
    desktop.server().killAndWait();
    EXPECT_FALSE(applications.activate(u"kitty"_s));

    isDone = true;
    for (std::thread &caller : callers)
        caller.join();
}

TEST_F(LinuxApplicationsTest, leaksNoDescriptors)
{
    const auto window = open(u"kitty"_s);
    const auto lowestFree = [] {
        const int descriptor = ::dup(0);
        ::close(descriptor);
        return descriptor;
    };
    const int before = lowestFree();

    EXPECT_TRUE(applications.raise(window.id));
    EXPECT_FALSE(applications.raise(1));
    desktop.server().killAndWait();
    EXPECT_FALSE(applications.raise(window.id));

    EXPECT_LE(lowestFree(), before);
}

TEST_F(LinuxApplicationsTest, hasNothingWithoutADisplay)
{
    open(u"kitty"_s);

    for (const char *display : { "", ":", "nonsense", ":99999999999", ":1234", "elsewhere.invalid:0", "localhost:1234",
                                 "decnet::0", "/nowhere" }) {
        qputenv("DISPLAY", display);
        EXPECT_THAT(applications.runningNames(), IsEmpty()) << display;
        EXPECT_FALSE(applications.activate(u"kitty"_s)) << display;
    }
    qunsetenv("DISPLAY");
    EXPECT_THAT(applications.runningNames(), IsEmpty());
}

TEST_F(LinuxApplicationsTest, findsItsDisplayByOtherNames)
{
    open(u"kitty"_s);

    const QByteArray plain = desktop.display().toLatin1();
    for (const QByteArray &display : QByteArrayList { plain + ".0", "unix" + plain, plain + ".7" }) {
        qputenv("DISPLAY", display);
        EXPECT_THAT(applications.runningNames(), Contains(u"kitty"_s)) << display.toStdString();
    }
}

/// The same where no window manager runs.
class UnmanagedWindowsTest : public LinuxApplicationsTest
{
protected:
    UnmanagedWindowsTest()
        : LinuxApplicationsTest({ .windowManager = false })
    {}
    [[nodiscard]] bool waitUntilFocused(quint64 window) const
    {
        return eventually(
            [&] { return desktop.outputOf(u"xdotool"_s, { u"getwindowfocus"_s }).toULongLong() == window; });
    }
};

TEST_F(UnmanagedWindowsTest, areNamedAndBroughtForward)
{
    const auto kitty = open(u"kitty"_s);
    const auto other = open(u"Other"_s);

    EXPECT_THAT(applications.runningNames(), IsSupersetOf({ u"kitty"_s, u"Other"_s }));
    EXPECT_TRUE(applications.activate(u"kitty"_s));
    EXPECT_TRUE(waitUntilFocused(kitty.id));
    EXPECT_TRUE(applications.raise(other.id));
    EXPECT_TRUE(waitUntilFocused(other.id));
}

TEST_F(UnmanagedWindowsTest, areFoundFromAWindowInsideAndFromAProcess)
{
    const auto kitty = open(u"kitty"_s);

    EXPECT_TRUE(applications.raise(childOf(kitty.id)));
    EXPECT_TRUE(waitUntilFocused(kitty.id));
    EXPECT_EQ(applications.windowOf(kitty.process.processId()), kitty.id);
}

} // namespace
} // namespace vantry::test
