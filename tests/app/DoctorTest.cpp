#include "app/control/DoctorChecks.h"

#include "base/DebugLog.h"
#include "sessions/SessionStore.h"
#include "support/FakeControlClient.h"
#include "support/FakePeerIdentity.h"
#include "support/FakeTerminalDriver.h"
#include "support/ManualClock.h"
#include "support/RecordingConsole.h"
#include "support/RecordingLog.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gmock/gmock.h>

#include <netinet/in.h>
#include <sqlite3.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <future>
#include <memory>
#include <thread>

namespace vantry {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using Weight = DoctorCheck::Weight;

class FakeListeningPorts final : public ListeningPorts
{
public:
    [[nodiscard]] std::optional<QString> holder(std::uint16_t) const override { return u"nc (process 4711)"_s; }
};

class Doctor : public ::testing::Test
{
protected:
    /// A port that nobody listens on.
    static constexpr std::uint16_t freePort = 47'393;

    Doctor() { QDir().mkpath(paths.dataFolder); }

    /// A program of this name in the search path, whose text a shell runs.
    void install(const QString &name, const QByteArray &script) const
    {
        QFile file(home.filePath(name));
        ASSERT_TRUE(file.open(QFile::WriteOnly));
        file.write("#!/bin/sh\n" + script + '\n');
        file.close();
        file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
    void makePrivate() const
    {
        QFile::setPermissions(paths.dataFolder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
    [[nodiscard]] QList<DoctorCheck> all() const
    {
        QList<DoctorCheck> found;
        for (const DoctorInspection &inspection : checks.inspections())
            found += inspection.look();
        return found;
    }
    /// The checks on a desktop like this.
    [[nodiscard]] DoctorChecks on(DoctorChecks::Desktop desktop)
    {
        return DoctorChecks({ .paths = paths,
                              .client = client,
                              .peers = peers,
                              .ports = ports,
                              .searchPath = { home.path() },
                              .port = freePort,
                              .desktop = std::move(desktop) });
    }
    static void write(const QString &path, const QByteArray &bytes)
    {
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        ASSERT_TRUE(file.open(QFile::WriteOnly));
        file.write(bytes);
    }

    QTemporaryDir home;
    Paths paths { .home = home.path(),
                  .dataFolder = home.filePath(u"data"_s),
                  .configFile = home.filePath(u"config/Vantry/settings.json"_s),
                  .runtimeFolder = {} };
    test::FakeControlClient client;
    test::FakePeerIdentity peers;
    FakeListeningPorts ports;
    DoctorChecks checks { { .paths = paths,
                            .client = client,
                            .peers = peers,
                            .ports = ports,
                            .searchPath = { home.path() },
                            .port = freePort,
                            .findTool = [this](const QString &name) -> std::optional<QString> {
                                const QString path = home.filePath(name);
                                return QFileInfo::exists(path) ? std::optional(path) : std::nullopt;
                            } } };
};

TEST_F(Doctor, looksAtEverythingOnce)
{
    QStringList names;
    for (const DoctorCheck &check : all())
        names.append(check.name);

    const QStringList expected { u"application"_s,
                                 u"listener"_s,
                                 u"session bus"_s,
                                 u"hook"_s,
                                 u"python3"_s,
                                 u"agent"_s,
                                 u"git"_s,
                                 u"data folder"_s,
                                 u"database"_s,
                                 u"log"_s,
                                 u"settings"_s,
                                 u"autostart"_s,
                                 u"peer identity"_s,
                                 u"display"_s,
                                 u"tray"_s,
                                 u"notch"_s,
                                 u"notifications"_s,
                                 u"sound"_s,
                                 u"microphone"_s,
                                 u"speech recognition"_s,
                                 u"secret service"_s,
                                 u"terminal programs"_s,
                                 u"terminals"_s };
    EXPECT_EQ(names, expected);
}

TEST_F(Doctor, givesAdviceOnWhatIsNotInOrderOnly)
{
    client.stopRunning();
    for (const DoctorCheck &check : all()) {
        EXPECT_NE(check.ok, check.advice.has_value()) << check.name.toStdString();
        EXPECT_FALSE(check.detail.isEmpty()) << check.name.toStdString();
    }
}

TEST_F(Doctor, doesNotNeedARunningApplication)
{
    client.stopRunning();

    EXPECT_FALSE(checks.application().ok);
    EXPECT_EQ(checks.application().weight, Weight::Helpful);
    EXPECT_TRUE(checks.listener().ok) << "the port is free";
}

TEST_F(Doctor, noticesAnApplicationThatDoesNotListen)
{
    EXPECT_TRUE(checks.application().ok);
    EXPECT_FALSE(checks.listener().ok);
    EXPECT_EQ(checks.listener().weight, Weight::Essential);
}

/// Takes a connection on a port of its own, and ends it without an answer.
class SilentListener
{
public:
    SilentListener()
    {
        sockaddr_in address {};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        auto *generic = reinterpret_cast<sockaddr *>(&address);
        EXPECT_EQ(::bind(m_socket, generic, size), 0);
        EXPECT_EQ(::listen(m_socket, 1), 0);
        EXPECT_EQ(::getsockname(m_socket, generic, &size), 0);
        m_port = ntohs(address.sin_port);
        m_thread = std::thread([this] {
            const int accepted = ::accept4(m_socket, nullptr, nullptr, SOCK_CLOEXEC);
            if (accepted >= 0)
                ::close(accepted);
        });
    }
    ~SilentListener()
    {
        ::shutdown(m_socket, SHUT_RDWR);
        m_thread.join();
        ::close(m_socket);
    }
    SilentListener(const SilentListener &) = delete;
    SilentListener &operator=(const SilentListener &) = delete;

    [[nodiscard]] std::uint16_t port() const { return m_port; }

private:
    int m_socket { ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0) };
    std::uint16_t m_port { 0 };
    std::thread m_thread;
};

TEST_F(Doctor, namesTheProgramThatTookThePort)
{
    const SilentListener listener;
    const DoctorChecks taken(
        { .paths = paths, .client = client, .peers = peers, .ports = ports, .port = listener.port() });

    const DoctorCheck check = taken.listener();

    EXPECT_FALSE(check.ok);
    EXPECT_EQ(check.weight, Weight::Essential);
    EXPECT_THAT(check.detail.toStdString(), EndsWith(" is held by nc (process 4711), which isn't Vantry"));
}

TEST_F(Doctor, tellsAVantryThatHangsFromAnotherProgram)
{
    const SilentListener listener;
    client.failure = ControlFailure { ControlFailure::Kind::Unanswered, u"the running Vantry did not answer"_s };
    const DoctorChecks hung(
        { .paths = paths, .client = client, .peers = peers, .ports = ports, .port = listener.port() });

    EXPECT_EQ(hung.application().detail, u"The running Vantry did not answer"_s);
    EXPECT_TRUE(hung.application().advice->startsWith(u"End that process"));
    EXPECT_THAT(hung.listener().detail.toStdString(), EndsWith("nc (process 4711), which does not answer"));
}

TEST_F(Doctor, noticesThatTheDataFolderCannotBeMade)
{
    write(home.filePath(u"file"_s), "");
    paths.dataFolder = home.filePath(u"file/share/Vantry"_s);

    EXPECT_FALSE(checks.dataFolder().ok);
    EXPECT_THAT(checks.dataFolder().detail.toStdString(), HasSubstr("/file can't be written to"));
}

TEST_F(Doctor, doesNotWaitForADatabaseThatIsAFifo)
{
    ASSERT_EQ(::mkfifo(QFile::encodeName(paths.database()).constData(), 0600), 0);

    EXPECT_FALSE(checks.database().ok);
}

TEST_F(Doctor, noticesThatThereIsNoBus)
{
    EXPECT_TRUE(checks.sessionBus().ok);
    client.connected = false;
    EXPECT_FALSE(checks.sessionBus().ok);
}

TEST_F(Doctor, noticesAMissingHook)
{
    const DoctorCheck check = checks.hook();

    EXPECT_FALSE(check.ok);
    EXPECT_EQ(check.weight, Weight::Essential);
}

TEST_F(Doctor, needsAPythonThatIsNewEnough)
{
    EXPECT_FALSE(checks.python().ok);
    install(u"python3"_s, "echo 3.7.9");
    EXPECT_FALSE(checks.python().ok);
    install(u"python3"_s, "exit 1");
    EXPECT_FALSE(checks.python().ok);
    install(u"python3"_s, "echo 3.8.0");
    EXPECT_TRUE(checks.python().ok);
    install(u"python3"_s, "echo 3.13.0rc1");
    EXPECT_TRUE(checks.python().ok);
}

TEST_F(Doctor, looksForTheAgent)
{
    EXPECT_FALSE(checks.agent().ok);
    install(u"claude"_s, "[ $1 = --version ] && echo 2.0.1 && echo more");
    EXPECT_TRUE(checks.agent().ok);
    EXPECT_THAT(checks.agent().detail.toStdString(), EndsWith("/claude is version 2.0.1"));
    EXPECT_EQ(checks.agent().weight, Weight::Helpful);
    install(u"claude"_s, "exit 127");
    EXPECT_FALSE(checks.agent().ok);
}

TEST_F(Doctor, takesAMissingDatabaseAsSound)
{
    EXPECT_TRUE(checks.database().ok);
    EXPECT_FALSE(QFile::exists(paths.database())) << "looking makes none";
}

TEST_F(Doctor, checksTheDatabase)
{
    test::ManualClock clock;
    test::RecordingLog log;
    {
        SessionStore store(paths.database(), clock, log);
        store.queue().sync([&] { store.open(); });
    }
    EXPECT_TRUE(checks.database().ok) << checks.database().detail.toStdString();

    write(paths.database(), QByteArray(8192, 'x'));
    EXPECT_FALSE(checks.database().ok);
    EXPECT_EQ(checks.database().weight, Weight::Essential);
}

TEST_F(Doctor, tellsWhatIsInTheDatabase)
{
    write(paths.database(), "");
    EXPECT_TRUE(checks.database().detail.endsWith(u": empty")) << checks.database().detail.toStdString();

    test::ManualClock clock;
    test::RecordingLog log;
    {
        SessionStore store(paths.database(), clock, log);
        store.queue().sync([&] { store.open(); });
    }
    EXPECT_TRUE(checks.database().ok);
    EXPECT_THAT(checks.database().detail.toStdString(), HasSubstr(": 0 sessions, "));
    EXPECT_THAT(checks.database().detail.toStdString(), EndsWith(" kB, sound"));
}

TEST_F(Doctor, noticesADatabaseOfAnotherProgram)
{
    sqlite3 *other = nullptr;
    ASSERT_EQ(sqlite3_open(paths.database().toUtf8().constData(), &other), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(other, "CREATE TABLE bills (id)", nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(other);

    EXPECT_FALSE(checks.database().ok);
    EXPECT_THAT(checks.database().detail.toStdString(), HasSubstr("no such table: sessions"));
}

TEST_F(Doctor, noticesADatabaseThatIsATextFile)
{
    write(paths.database(), "Dear diary,\nnothing happened today, again, and it goes on like this for a while.\n");

    EXPECT_FALSE(checks.database().ok);
    EXPECT_THAT(checks.database().detail.toStdString(), HasSubstr("file is not a database"));
}

TEST_F(Doctor, takesMissingSettingsAsSound)
{
    EXPECT_TRUE(checks.settings().ok);
    write(paths.configFile, "{\"displayMode\": \"both\"}");
    EXPECT_TRUE(checks.settings().ok) << checks.settings().detail.toStdString();
}

TEST_F(Doctor, tellsTheLineInWhichTheSettingsAreBroken)
{
    write(paths.configFile, "{\n  \"sounds_enabled\": true,\n  \"displayMode\": both\n}\n");
    EXPECT_FALSE(checks.settings().ok);
    EXPECT_EQ(checks.settings().weight, Weight::Helpful);
    EXPECT_THAT(checks.settings().detail.toStdString(), EndsWith("is not JSON: see line 3"));

    write(paths.configFile, "{\"a\": 1,\n\n");
    EXPECT_FALSE(checks.settings().ok);
    write(paths.configFile, "");
    EXPECT_FALSE(checks.settings().ok);
    write(paths.configFile, "\xff\xfe{}");
    EXPECT_FALSE(checks.settings().ok);
}

TEST_F(Doctor, noticesSettingsThatAreNoObject)
{
    write(paths.configFile, "[]");
    EXPECT_FALSE(checks.settings().ok);
    EXPECT_THAT(checks.settings().detail.toStdString(), EndsWith("is no JSON object"));
}

TEST_F(Doctor, doesNotWaitForSettingsThatAreAFifo)
{
    QDir().mkpath(QFileInfo(paths.configFile).path());
    ASSERT_EQ(::mkfifo(QFile::encodeName(paths.configFile).constData(), 0600), 0);

    EXPECT_FALSE(checks.settings().ok);
}

class DoctorOfAutostart : public Doctor
{
protected:
    void enter(const QByteArray &lines) const
    {
        write(home.filePath(u"config/autostart/com.vantry.app.desktop"_s), "[Desktop Entry]\n" + lines);
    }
};

TEST_F(DoctorOfAutostart, takesNoneAsSound)
{
    EXPECT_TRUE(checks.autostart().ok);
    enter("Exec=/nowhere/vantry\nHidden=true\n");
    EXPECT_TRUE(checks.autostart().ok);
    enter("Exec=/nowhere/vantry\nX-GNOME-Autostart-enabled=false\n");
    EXPECT_TRUE(checks.autostart().ok);
}

TEST_F(DoctorOfAutostart, findsTheProgramThatIsStarted)
{
    install(u"vantry"_s, "");
    enter("Exec=" + home.filePath(u"vantry"_s).toUtf8() + " --headless\n");
    EXPECT_TRUE(checks.autostart().ok);
    enter("Exec=vantry\n");
    EXPECT_TRUE(checks.autostart().ok) << "on the path";
    enter("Exec=\"" + home.filePath(u"vantry"_s).toUtf8() + "\"\n");
    EXPECT_TRUE(checks.autostart().ok);
}

TEST_F(DoctorOfAutostart, noticesAProgramThatHasGone)
{
    enter("Exec=/nowhere/vantry\n");
    EXPECT_FALSE(checks.autostart().ok);
    EXPECT_EQ(checks.autostart().weight, Weight::Helpful);
    EXPECT_THAT(checks.autostart().detail.toStdString(), EndsWith(": /nowhere/vantry"));
    enter("Name=Vantry\n[Desktop Action quit]\nExec=/bin/true\n");
    EXPECT_FALSE(checks.autostart().ok);
}

TEST_F(Doctor, tellsThatNoTerminalCanBeTypedInto)
{
    ASSERT_EQ(checks.terminalPrograms().size(), 1);
    EXPECT_FALSE(checks.terminalPrograms().first().ok);
    EXPECT_TRUE(checks.terminalPrograms().first().advice->contains(u"tmux"));
}

TEST_F(Doctor, needsATmuxThatIsNewEnough)
{
    const auto check = [this](const QByteArray &version) {
        install(u"tmux"_s, version);
        return checks.terminalPrograms().first();
    };

    EXPECT_TRUE(check("echo tmux 3.3a").ok);
    EXPECT_TRUE(check("echo tmux 3.2").ok);
    EXPECT_TRUE(check("echo tmux next-3.5").ok);
    EXPECT_TRUE(check("echo tmux master").ok);
    EXPECT_FALSE(check("echo tmux 3.1c").ok);
    EXPECT_FALSE(check("echo tmux 2.9").ok);
    EXPECT_FALSE(check("exit 1").ok);
}

TEST_F(Doctor, readsWhetherKittyLetsItselfBeDriven)
{
    install(u"kitty"_s, "");
    const auto check = [this](const QByteArray &configuration) {
        write(home.filePath(u"config/kitty/kitty.conf"_s), configuration);
        return checks.terminalPrograms().first();
    };

    EXPECT_FALSE(checks.terminalPrograms().first().ok);
    EXPECT_FALSE(check("").ok);
    EXPECT_FALSE(check("# allow_remote_control yes\nlisten_on unix:/tmp/kitty\n").ok);
    EXPECT_FALSE(check("allow_remote_control yes\n").ok);
    EXPECT_FALSE(check("allow_remote_control yes\nlisten_on none\n").ok);
    EXPECT_FALSE(check("allow_remote_control password\nlisten_on unix:/tmp/kitty\n").ok);
    EXPECT_FALSE(check("allow_remote_control yes\nlisten_on unix:/tmp/kitty\nallow_remote_control no\n").ok);
    EXPECT_TRUE(check("  allow_remote_control   socket-only\nlisten_on unix:/tmp/kitty").ok);
    EXPECT_TRUE(check("include other.conf\n").ok) << "it may stand there";
}

TEST_F(Doctor, needsTheBusForKonsole)
{
    install(u"konsole"_s, "");
    EXPECT_TRUE(checks.terminalPrograms().first().ok);
    client.connected = false;
    EXPECT_FALSE(checks.terminalPrograms().first().ok);
}

TEST_F(Doctor, asksTheRunningApplicationOnce)
{
    (void)all();

    EXPECT_EQ(client.calls, QStringList { u"list"_s });
}

TEST_F(Doctor, wantsTheDataFolderToItself)
{
    makePrivate();
    EXPECT_TRUE(checks.dataFolder().ok);
    QFile::setPermissions(paths.dataFolder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner | QFile::ReadOther);
    EXPECT_FALSE(checks.dataFolder().ok);
    EXPECT_EQ(checks.dataFolder().weight, Weight::Helpful);
}

TEST_F(Doctor, needsAFolderForItsData)
{
    QDir().rmdir(paths.dataFolder);
    EXPECT_TRUE(checks.dataFolder().ok);
    write(paths.dataFolder, "a file");
    EXPECT_FALSE(checks.dataFolder().ok);
    EXPECT_EQ(checks.dataFolder().weight, Weight::Essential);
}

TEST_F(Doctor, wantsALogThatCanBeWritten)
{
    EXPECT_TRUE(checks.log().ok);
    QDir().mkpath(paths.debugLog());
    EXPECT_FALSE(checks.log().ok);
}

TEST_F(Doctor, noticesThatPeersCannotBeTold)
{
    EXPECT_TRUE(checks.peerIdentity().ok);
    peers.peer = PeerIdentity::Peer::Unknown;
    EXPECT_FALSE(checks.peerIdentity().ok);
}

class DoctorOfTerminals : public Doctor
{
protected:
    DoctorOfTerminals()
    {
        client.document = u"{\"sessions\":[%1,%2,%3]}"_s.arg(session(u"one"_s, u"tmux-pane"_s, true),
                                                             session(u"two"_s, u"vscode"_s, true),
                                                             session(u"gone"_s, u"tmux-pane"_s, false));
    }

    [[nodiscard]] static QString session(const QString &id, const QString &terminalType, bool isAlive)
    {
        return u"{\"id\":\"%1\",\"projectName\":\"shop\",\"terminalType\":\"%2\",\"terminalSessionID\":\"%1\","
               "\"shellPid\":7,\"isAlive\":%3}"_s.arg(id, terminalType, isAlive ? u"true"_s : u"false"_s);
    }

    test::FakeTerminalDriver terminal;
    DoctorChecks withTerminals { { .paths = paths,
                                   .client = client,
                                   .peers = peers,
                                   .ports = ports,
                                   .searchPath = { home.path() },
                                   .port = freePort,
                                   .terminals = { &terminal },
                                   .desktop = { .hasDisplay = true } } };
};

TEST_F(DoctorOfTerminals, areInOrder)
{
    const QList<DoctorCheck> found = withTerminals.terminals();

    ASSERT_EQ(found.size(), 1);
    EXPECT_TRUE(found.first().ok);
    EXPECT_EQ(terminal.calls(), QStringList { u"examine one"_s });
}

TEST_F(DoctorOfTerminals, thatCannotBeDrivenAreNamedWithWhatToDo)
{
    terminal.setProblem(TerminalDriver::Problem { u"it listens nowhere"_s, u"let it listen"_s });

    const QList<DoctorCheck> found = withTerminals.terminals();

    ASSERT_EQ(found.size(), 2);
    EXPECT_TRUE(found.first().ok) << "the other session's";
    EXPECT_FALSE(found.last().ok);
    EXPECT_EQ(found.last().detail, u"one (shop): it listens nowhere");
    EXPECT_EQ(found.last().advice, u"let it listen");
    EXPECT_EQ(found.last().weight, Weight::Helpful);
}

TEST_F(DoctorOfTerminals, thatGiveTheirNameAloneAreLookedAt)
{
    client.document = u"{\"sessions\":[%1]}"_s.arg(session(u"one"_s, u"tmux"_s, true));
    terminal.setProblem(TerminalDriver::Problem { u"it listens nowhere"_s, u"let it listen"_s });

    ASSERT_EQ(withTerminals.terminals().size(), 1);
    EXPECT_FALSE(withTerminals.terminals().first().ok);
}

TEST_F(DoctorOfTerminals, areNoneWhenNothingRuns)
{
    client.stopRunning();

    ASSERT_EQ(withTerminals.terminals().size(), 1);
    EXPECT_TRUE(withTerminals.terminals().first().ok);
    EXPECT_TRUE(terminal.calls().isEmpty());
}

TEST_F(DoctorOfTerminals, wantADisplay)
{
    EXPECT_TRUE(withTerminals.display().ok);
    EXPECT_FALSE(checks.display().ok);
    EXPECT_EQ(checks.display().weight, Weight::Helpful);
}

TEST_F(Doctor, tellsHowToGetATray)
{
    EXPECT_TRUE(on({ .hasTray = [] { return true; } }).tray().ok);
    const DoctorCheck missing = on({ .hasDisplay = true }).tray();
    EXPECT_FALSE(missing.ok);
    EXPECT_TRUE(missing.advice->contains(u"gnome-shell-extension-appindicator"));
    EXPECT_EQ(missing.weight, Weight::Helpful);
    EXPECT_EQ(checks.tray().advice, u"Start Vantry from the desktop"_s) << "there is no display either";
}

TEST_F(Doctor, tellsWhetherThereCanBeANotch)
{
    const auto check = [this](bool hasDisplay, bool canPlaceWindows) {
        return on({ .hasDisplay = hasDisplay, .canPlaceWindows = [=] { return canPlaceWindows; } }).notch();
    };

    EXPECT_TRUE(check(true, true).ok);
    EXPECT_FALSE(check(true, false).ok);
    EXPECT_TRUE(check(true, false).advice->contains(u"xwayland"));
    EXPECT_FALSE(check(false, false).ok);
    EXPECT_EQ(check(true, false).weight, Weight::Helpful);
}

TEST_F(Doctor, tellsWhatKeepsSoundsFromBeingHeard)
{
    EXPECT_TRUE(checks.sound().ok);
    const DoctorCheck broken = on({ .soundProblem = [] {
                                   return SoundPlayer::Problem { u"No device"_s, u"Get one"_s };
                               } }).sound();
    EXPECT_FALSE(broken.ok);
    EXPECT_EQ(broken.detail, u"No device"_s);
    EXPECT_EQ(broken.advice, u"Get one"_s);
    EXPECT_EQ(broken.weight, Weight::Helpful);
}

TEST_F(Doctor, tellsWhatKeepsSecretsFromBeingKept)
{
    EXPECT_TRUE(checks.secretService().ok);
    const DoctorCheck locked = on({ .secretStoreProblem = [] {
                                   return SecretStore::Problem { u"Locked"_s, u"Unlock it"_s };
                               } }).secretService();
    EXPECT_FALSE(locked.ok);
    EXPECT_EQ(locked.detail, u"Locked"_s);
    EXPECT_EQ(locked.advice, u"Unlock it"_s);
    EXPECT_EQ(locked.weight, Weight::Helpful);
}

TEST_F(Doctor, tellsHowToGetNotifications)
{
    using Server = NotificationCentre::Server;
    const auto check = [this](const Server &server) {
        return on({ .notificationServer = [server] { return server; } }).notifications();
    };

    EXPECT_TRUE(check({ Server::Presence::Present, { u"actions"_s } }).ok);
    EXPECT_TRUE(check({ Server::Presence::Startable, {} }).ok);
    const QList<Server> lacking { { Server::Presence::Present, { u"body"_s } },
                                  { Server::Presence::Unknown, {} },
                                  { Server::Presence::Absent, {} } };
    for (const Server &server : lacking) {
        EXPECT_FALSE(check(server).ok);
        EXPECT_TRUE(check(server).advice);
        EXPECT_EQ(check(server).weight, Weight::Helpful);
    }
    EXPECT_EQ(check({ Server::Presence::Present, { u"actions"_s }, u"dunst 1.9.0"_s }).detail,
              u"dunst 1.9.0 shows notifications with buttons"_s);
}

TEST_F(Doctor, tellsWhatKeepsFromDictating)
{
    EXPECT_TRUE(checks.microphone().ok);
    EXPECT_TRUE(checks.speech().ok);

    const DoctorChecks lacking = on({ .microphoneProblem = [] { return u"Connection refused"_s; },
                                      .speechProblem = [] { return u"there is no model"_s; } });
    for (const DoctorCheck &check : { lacking.microphone(), lacking.speech() }) {
        EXPECT_FALSE(check.ok);
        EXPECT_TRUE(check.advice);
        EXPECT_EQ(check.weight, Weight::Helpful);
    }
    EXPECT_EQ(lacking.microphone().detail, u"Nothing can be dictated: Connection refused"_s);
}

TEST_F(DoctorOfTerminals, areNotAskedTwiceInOnePlace)
{
    client.document = u"{\"sessions\":[%1,%1]}"_s.arg(session(u"one"_s, u"tmux-pane"_s, true));
    terminal.setProblem(TerminalDriver::Problem { u"it listens nowhere"_s, u"let it listen"_s });

    EXPECT_EQ(withTerminals.terminals().size(), 2);
    EXPECT_EQ(terminal.calls(), QStringList { u"examine one"_s });
}

QList<DoctorCheck> fine(const QString &name)
{
    return { { .name = name, .ok = true, .detail = u"fine"_s } };
}

TEST(DoctorInspections, areReportedInTheirOrder)
{
    std::promise<void> secondHasEnded;
    const DoctorReport report = inspectAll({ { u"first"_s, Weight::Helpful,
                                               [&] {
                                                   secondHasEnded.get_future().wait();
                                                   return fine(u"first"_s);
                                               } },
                                             { u"second"_s, Weight::Helpful,
                                               [&] {
                                                   secondHasEnded.set_value();
                                                   return fine(u"second"_s) + fine(u"third"_s);
                                               } } },
                                           1h);

    ASSERT_EQ(report.checks.size(), 3);
    EXPECT_EQ(report.checks[0].name, u"first"_s);
    EXPECT_EQ(report.checks[2].name, u"third"_s);
    EXPECT_TRUE(report.isFinished);
}

TEST(DoctorInspections, thatHangHaveFailed)
{
    const auto release = std::make_shared<std::promise<void>>();
    const auto hasEnded = std::make_shared<std::promise<void>>();
    const DoctorReport report = inspectAll({ { u"hung"_s, Weight::Essential,
                                               [release, hasEnded] {
                                                   release->get_future().wait();
                                                   hasEnded->set_value();
                                                   return fine(u"hung"_s);
                                               } } },
                                           1ms);

    ASSERT_EQ(report.checks.size(), 1);
    EXPECT_EQ(report.checks[0].name, u"hung"_s);
    EXPECT_FALSE(report.checks[0].ok);
    EXPECT_TRUE(report.checks[0].advice);
    EXPECT_EQ(report.checks[0].weight, Weight::Essential);
    EXPECT_FALSE(report.isFinished);
    // The look comes late, and finds nobody waiting.
    release->set_value();
    hasEnded->get_future().wait();
}

TEST(DoctorInspections, thatThrowHaveFailed)
{
    const DoctorReport report = inspectAll(
        { { u"broken"_s, Weight::Helpful, []() -> QList<DoctorCheck> { throw std::runtime_error("no luck"); } } }, 1h);

    ASSERT_EQ(report.checks.size(), 1);
    EXPECT_FALSE(report.checks[0].ok);
    EXPECT_THAT(report.checks[0].detail.toStdString(), EndsWith("no luck"));
    EXPECT_TRUE(report.isFinished);
}

const QList<DoctorCheck> report { { u"bus"_s, true, u"fine"_s, {}, Weight::Helpful },
                                  { u"agent"_s, false, u"gone"_s, u"Get one"_s, Weight::Helpful } };
const DoctorCheck failure { u"hook"_s, false, u"missing"_s, u"Install it"_s, Weight::Essential };

TEST(DoctorReport, hasThePromisedKeys)
{
    EXPECT_EQ(jsonLine(doctorJson(report)), R"({"checks":[{"name":"bus","ok":true,"detail":"fine","advice":null},)"
                                            R"({"name":"agent","ok":false,"detail":"gone","advice":"Get one"}]})");
}

TEST(DoctorReport, isOneLineForEachCheck)
{
    const QString text = doctorText(report + QList { failure }, {});

    EXPECT_EQ(text, u"ok    bus    fine\nnote  agent  gone. Get one\nFAIL  hook   missing. Install it\n");
}

TEST(DoctorReport, goesOnBelowWhereTheTerminalIsTooNarrow)
{
    const QList<DoctorCheck> checks { { u"tray"_s, false, u"There is no tray for the icon"_s,
                                        u"Add one to the desktop's bar"_s, Weight::Helpful } };

    EXPECT_EQ(doctorText(checks, { .width = 44 }), u"note  tray  There is no tray for the icon\n"
                                                   "            → Add one to the desktop's bar\n");
    EXPECT_EQ(doctorText(checks, { .width = 42 }), u"note  tray  There is no tray for the icon\n"
                                                   "            → Add one to the desktop's bar\n");
    EXPECT_EQ(doctorText(checks, { .width = 20 }), u"note  tray  There is no tray for the icon. Add one to the "
                                                   "desktop's bar\n");
}

TEST(DoctorReport, keepsLongWordsWhole)
{
    const QString path = u"/a/long/path/that/has/no/blanks/and/is/wider/than/all"_s;
    const QList<DoctorCheck> checks { { u"data"_s, true, u"See "_s + path, {}, Weight::Helpful } };

    EXPECT_EQ(doctorText(checks, { .width = 44 }), u"ok    data  See\n            "_s + path + u'\n');
}

TEST(DoctorReport, isDoneWhileTheMainJobCanBeDone)
{
    test::RecordingConsole console;

    EXPECT_EQ(printDoctor({}, report, console), exitCode::done);
    EXPECT_TRUE(console.errors.empty());
}

TEST(DoctorReport, namesWhatTheMainJobNeeds)
{
    test::RecordingConsole console;

    EXPECT_EQ(printDoctor({ OutputForm::Json }, report + QList { failure }, console), exitCode::refused);
    EXPECT_THAT(console.errors, ElementsAre(HasSubstr("hook")));
    EXPECT_EQ(Json::parse(console.output).at("checks").size(), 3U);
}

} // namespace
} // namespace vantry
