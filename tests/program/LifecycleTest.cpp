#include "Eventually.h"
#include "Vantry.h"

#include <QDir>
#include <QFileInfo>

#include <gmock/gmock.h>

#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <regex>
#include <sstream>

namespace vantry::test {
namespace {

/// Another program that listens on the port.
class PortSquatter
{
public:
    PortSquatter()
        : m_socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        const int yes = 1;
        ::setsockopt(m_socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
        sockaddr_in address {};
        address.sin_family = AF_INET;
        address.sin_port = htons(HookCall::port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        m_listens =
            ::bind(m_socket, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0 && ::listen(m_socket, 8) == 0;
    }
    ~PortSquatter() { leave(); }
    PortSquatter(const PortSquatter &) = delete;
    PortSquatter &operator=(const PortSquatter &) = delete;

    [[nodiscard]] bool listens() const { return m_listens; }
    void leave()
    {
        if (m_socket >= 0)
            ::close(m_socket);
        m_socket = -1;
    }

private:
    int m_socket;
    bool m_listens { false };
};

unsigned modeOf(const QString &path)
{
    struct stat status
    {};
    return ::stat(path.toUtf8().constData(), &status) == 0 ? status.st_mode & 0777U : 0U;
}

TEST(Lifecycle, endsCleanlyOnEitherSignal)
{
    for (const int signal : { SIGTERM, SIGINT }) {
        Vantry vantry;
        vantry.start();
        HookCall held = HookCall::post(permissionRequest("one"));
        ASSERT_TRUE(vantry.shows("one", "heldPermissions", 1));

        EXPECT_EQ(vantry.end(signal), 0);

        EXPECT_EQ(held.response(), "") << "a held request gets no invented answer";
        EXPECT_FALSE(QFileInfo::exists(vantry.database() + "-wal")) << "the database was closed";
        EXPECT_EQ(vantry.logLinesWith("HTTPHookServer: stopped\n"), 1);
        EXPECT_FALSE(isHealthy());
    }
}

TEST(Lifecycle, quitEndsTheApplication)
{
    Vantry vantry;
    vantry.start();

    EXPECT_EQ(vantry.run({ "quit" }).exitCode, 0);

    EXPECT_EQ(vantry.application().finish().exitCode, 0);
    EXPECT_EQ(vantry.run({ "quit" }).exitCode, 3);
}

TEST(Lifecycle, secondStartFindsTheFirst)
{
    Vantry vantry;
    vantry.start();

    const CommandResult second = vantry.run({ "--headless" });

    EXPECT_EQ(second.exitCode, 0) << second.err;
    EXPECT_TRUE(vantry.isRunning());
    EXPECT_TRUE(isHealthy());
    EXPECT_EQ(vantry.logLinesWith("applicationDidFinishLaunching started"), 1);
}

TEST(Lifecycle, secondStartThatCannotReachTheFirstIsRefused)
{
    Vantry vantry;
    vantry.start();
    QProcessEnvironment elsewhere;
    elsewhere.insert("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");

    const CommandResult second = vantry.other(VANTRY_PROGRAM, { "--headless" }, elsewhere)->finish();

    EXPECT_EQ(second.exitCode, 1);
    EXPECT_EQ(std::count(second.err.begin(), second.err.end(), '\n'), 1) << second.err;
    EXPECT_TRUE(isHealthy());
}

TEST(Lifecycle, runsWithoutABusAndSaysSoOnce)
{
    Vantry vantry { Vantry::Bus::None };
    vantry.start();

    vantry.post(event("SessionStart", "one"));

    EXPECT_TRUE(eventually([&] { return vantry.logLinesWith("type=SessionStart session=one") == 1; }));
    EXPECT_EQ(vantry.logLinesWith("can't be controlled from outside"), 1);
    EXPECT_EQ(vantry.run({ "status" }).exitCode, 3);
    EXPECT_EQ(vantry.end(SIGTERM), 0);
    EXPECT_EQ(vantry.query("SELECT session_id FROM sessions"), std::vector<std::string> { "one" });
}

TEST(Lifecycle, keepsWhatItWritesToItself)
{
    Vantry vantry;
    vantry.start();
    vantry.post(event("SessionStart", "one"));
    ASSERT_TRUE(vantry.shows("one", "state", "ready"));

    EXPECT_EQ(modeOf(vantry.dataFolder()), 0700U);
    const auto files = QDir(vantry.dataFolder()).entryInfoList(QDir::Files | QDir::Hidden);
    EXPECT_GE(files.size(), 2);
    for (const QFileInfo &file : files)
        EXPECT_EQ(modeOf(file.filePath()), 0600U) << file.fileName().toStdString();
}

TEST(Lifecycle, writesWholeDatedLogLines)
{
    Vantry vantry;
    vantry.start();
    vantry.post(event("SessionStart", "line\nfeed\x1b[1m"));
    vantry.post(event("Stop", "one"));
    ASSERT_TRUE(vantry.shows("one", "state", "ready"));

    std::istringstream log(vantry.logText());
    const std::regex form(R"(\[\d{4}-\d\d-\d\d(T\d\d:\d\d:\d\dZ| \d\d:\d\d:\d\d \+0000)\] [^\x01-\x1f\x7f]+)");
    int lines = 0;
    for (std::string line; std::getline(log, line); ++lines)
        EXPECT_TRUE(std::regex_match(line, form)) << line;
    EXPECT_GE(lines, 5);
    EXPECT_EQ(vantry.logLinesWith("HTTPHookServer: listening on port 49152\n"), 1);
    EXPECT_EQ(vantry.logLinesWith("HTTPHookServer: received Stop for session one\n"), 1);
    EXPECT_EQ(vantry.logLinesWith("onEvent fired: Stop session=one\n"), 1);
}

TEST(Lifecycle, neverLogsTheBodyOfARequest)
{
    Vantry vantry;
    vantry.start();
    vantry.post(event("UserPromptSubmit", "one", { { "prompt", "a-secret-prompt" } }));
    vantry.post(
        event("Stop", "one", { { "last_assistant_message", "a-secret-answer" }, { "is_interrupt", "a-secret-flaw" } }));
    ASSERT_TRUE(vantry.shows("one", "lastPrompt", "a-secret-prompt"));

    EXPECT_EQ(vantry.logLinesWith("a-secret"), 0);
}

TEST(Lifecycle, takesThePortOverWhenItBecomesFree)
{
    PortSquatter squatter;
    ASSERT_TRUE(squatter.listens()) << "port 49152 is taken";
    Vantry vantry;
    vantry.launch();
    ASSERT_TRUE(eventually([&] { return vantry.document().is_object(); }));
    EXPECT_EQ(vantry.document().at("listening"), false);
    EXPECT_EQ(vantry.runJson({ "status", "--json" }).at("listening"), false);
    const auto watch = vantry.begin({ "watch", "--json" });
    ASSERT_EQ(Json::parse(watch->nextLine()).at("listening"), false);

    squatter.leave();

    EXPECT_EQ(watch->nextLine(), R"({"event":"listening","listening":true})");
    EXPECT_TRUE(isHealthy());
    EXPECT_GE(vantry.logLinesWith(" — retrying in 5s\n"), 1);
}

TEST(Lifecycle, bringsLiveSessionsBackAfterARestart)
{
    Vantry vantry;
    FakeAgent agent;
    FakeAgent gone;
    vantry.start();
    vantry.post(event("UserPromptSubmit", "alive", { { "pid", agent.pid() }, { "prompt", "Go on" } }));
    vantry.post(event("UserPromptSubmit", "gone", { { "pid", gone.pid() } }));
    vantry.post(event("UserPromptSubmit", "nobody"));
    ASSERT_TRUE(vantry.shows("nobody", "state", "working"));
    const Json before = vantry.session("alive");
    ASSERT_EQ(vantry.end(SIGTERM), 0);
    gone.kill();

    vantry.start();

    const Json after = vantry.document().at("sessions");
    ASSERT_EQ(after.size(), 1);
    EXPECT_EQ(after.at(0).at("id"), "alive");
    for (const auto &key : { "state", "lastPrompt", "pid", "pidStartTime", "startedAt", "lastUpdated", "cwd" })
        EXPECT_EQ(after.at(0).at(key), before.at(key)) << key;
    EXPECT_EQ(vantry.logLinesWith("SessionManager: loaded 3 sessions from DB (1 confirmed alive via PID)\n"), 1);
}

TEST(Lifecycle, noticesThatAnAgentWasKilled)
{
    Vantry vantry;
    FakeAgent agent;
    vantry.start();
    vantry.post(event("UserPromptSubmit", "one", { { "pid", agent.pid() } }));
    ASSERT_TRUE(vantry.shows("one", "statusText", "Working..."));

    agent.kill();

    EXPECT_TRUE(vantry.shows("one", "statusText", "Finished"));
    EXPECT_TRUE(vantry.session("one").at("endedAt").is_null());
}

TEST(Lifecycle, killEndsTheAgentAndTheSession)
{
    Vantry vantry;
    FakeAgent agent;
    vantry.start();
    vantry.post(event("UserPromptSubmit", "one", { { "pid", agent.pid() } }));
    ASSERT_TRUE(vantry.shows("one", "statusText", "Working..."));

    EXPECT_EQ(vantry.run({ "kill", "one" }).exitCode, 0);

    EXPECT_EQ(agent.signalThatEndedIt(), SIGTERM);
    EXPECT_TRUE(vantry.shows("one", "statusText", "Finished"));
    EXPECT_FALSE(vantry.session("one").at("endedAt").is_null());
    EXPECT_EQ(vantry.run({ "kill", "one" }).exitCode, 1);
}

TEST(Lifecycle, startsOverABrokenDatabase)
{
    Vantry vantry;
    ASSERT_TRUE(QDir().mkpath(vantry.dataFolder()));
    QFile file(vantry.database());
    ASSERT_TRUE(file.open(QFile::WriteOnly));
    file.write(QByteArray(8192, 'x'));
    file.close();

    vantry.start();
    vantry.post(event("SessionStart", "one"));

    EXPECT_TRUE(vantry.shows("one", "state", "ready"));
    EXPECT_EQ(vantry.end(SIGTERM), 0);
}

} // namespace
} // namespace vantry::test
