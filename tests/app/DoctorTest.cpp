#include "app/control/Doctor.h"

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

#include <sys/stat.h>

namespace vantry {
namespace {

using namespace Qt::StringLiterals;
using ::testing::ElementsAre;
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
    static void write(const QString &path, const QByteArray &bytes)
    {
        QFile file(path);
        ASSERT_TRUE(file.open(QFile::WriteOnly));
        file.write(bytes);
    }

    QTemporaryDir home;
    Paths paths { .home = home.path(), .dataFolder = home.filePath(u"data"_s), .configFile = {}, .runtimeFolder = {} };
    test::FakeControlClient client;
    test::FakePeerIdentity peers;
    FakeListeningPorts ports;
    DoctorChecks checks { { paths, client, peers, ports, { home.path() }, freePort } };
};

TEST_F(Doctor, looksAtEverythingOnce)
{
    QStringList names;
    for (const DoctorCheck &check : checks.all())
        names.append(check.name);

    EXPECT_EQ(names, (QStringList { u"application"_s,
                                    u"listener"_s,
                                    u"session bus"_s,
                                    u"hook"_s,
                                    u"python3"_s,
                                    u"agent"_s,
                                    u"git"_s,
                                    u"database"_s,
                                    u"data folder"_s,
                                    u"log"_s,
                                    u"peer identity"_s,
                                    u"display"_s,
                                    u"tray"_s,
                                    u"notch"_s,
                                    u"notifications"_s,
                                    u"sound"_s,
                                    u"microphone"_s,
                                    u"speech recognition"_s,
                                    u"secret service"_s,
                                    u"terminals"_s }));
}

TEST_F(Doctor, givesAdviceOnWhatIsNotInOrderOnly)
{
    client.stopRunning();
    for (const DoctorCheck &check : checks.all()) {
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

TEST_F(Doctor, noticesThatTheDataFolderCannotBeMade)
{
    write(home.filePath(u"file"_s), "");
    paths.dataFolder = home.filePath(u"file/share/Vantry"_s);
    const DoctorChecks here { { paths, client, peers, ports, { home.path() }, freePort } };

    EXPECT_FALSE(here.dataFolder().ok);
    EXPECT_THAT(here.dataFolder().detail.toStdString(), HasSubstr("/file can't be written to"));
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
    install(u"claude"_s, "");
    EXPECT_TRUE(checks.agent().ok);
    EXPECT_EQ(checks.agent().weight, Weight::Helpful);
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
    DoctorChecks withTerminals { { paths, client, peers, ports, { home.path() }, freePort, { &terminal }, true } };
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
    const DoctorChecks withTray({ .paths = paths,
                                  .client = client,
                                  .peers = peers,
                                  .ports = ports,
                                  .port = freePort,
                                  .hasDisplay = true,
                                  .hasTray = true });

    EXPECT_TRUE(withTray.tray().ok);
    EXPECT_FALSE(checks.tray().ok);
    EXPECT_TRUE(checks.tray().advice->contains(u"gnome-shell-extension-appindicator"));
    EXPECT_EQ(checks.tray().weight, Weight::Helpful);
}

TEST_F(Doctor, tellsWhetherThereCanBeANotch)
{
    const auto check = [this](bool hasDisplay, bool canPlaceWindows) {
        return DoctorChecks({ .paths = paths,
                              .client = client,
                              .peers = peers,
                              .ports = ports,
                              .port = freePort,
                              .hasDisplay = hasDisplay,
                              .canPlaceWindows = canPlaceWindows })
            .notch();
    };

    EXPECT_TRUE(check(true, true).ok);
    EXPECT_FALSE(check(true, false).ok);
    EXPECT_TRUE(check(true, false).advice->contains(u"xwayland"));
    EXPECT_FALSE(check(false, false).ok);
    EXPECT_EQ(check(true, false).weight, Weight::Helpful);
}

TEST_F(Doctor, tellsWhatKeepsSoundsFromBeingHeard)
{
    const auto check = [this](std::optional<SoundPlayer::Problem> problem) {
        return DoctorChecks({ .paths = paths,
                              .client = client,
                              .peers = peers,
                              .ports = ports,
                              .port = freePort,
                              .soundProblem = std::move(problem) })
            .sound();
    };

    EXPECT_TRUE(check({}).ok);
    const DoctorCheck broken = check(SoundPlayer::Problem { u"No device"_s, u"Get one"_s });
    EXPECT_FALSE(broken.ok);
    EXPECT_EQ(broken.detail, u"No device"_s);
    EXPECT_EQ(broken.advice, u"Get one"_s);
    EXPECT_EQ(broken.weight, Weight::Helpful);
}

TEST_F(Doctor, tellsHowToGetNotifications)
{
    using Server = NotificationCentre::Server;
    const auto check = [this](const Server &server) {
        return DoctorChecks({ .paths = paths,
                              .client = client,
                              .peers = peers,
                              .ports = ports,
                              .port = freePort,
                              .notificationServer = server })
            .notifications();
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
}

TEST_F(Doctor, tellsWhatKeepsFromDictating)
{
    const DoctorChecks well({ .paths = paths, .client = client, .peers = peers, .ports = ports, .port = freePort });
    EXPECT_TRUE(well.microphone().ok);
    EXPECT_TRUE(well.speech().ok);

    const DoctorChecks lacking({ .paths = paths,
                                 .client = client,
                                 .peers = peers,
                                 .ports = ports,
                                 .port = freePort,
                                 .microphoneProblem = u"Connection refused"_s,
                                 .speechProblem = u"there is no model"_s });
    for (const DoctorCheck &check : { lacking.microphone(), lacking.speech() }) {
        EXPECT_FALSE(check.ok);
        EXPECT_TRUE(check.advice);
        EXPECT_EQ(check.weight, Weight::Helpful);
    }
    EXPECT_EQ(lacking.microphone().detail, u"Nothing can be dictated: Connection refused"_s);
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
