#include "app/demo/Demo.h"

#include "app/DisplayMode.h"
#include "support/ManualMainQueue.h"
#include "support/ManualScheduler.h"

#include <QDir>
#include <QFile>

#include <gmock/gmock.h>

namespace vantry {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

class DemoTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(demo.isUsable());
        demo.start();
    }
    void TearDown() override { demo.delegate().applicationWillTerminate(); }

    void pass(std::chrono::seconds time)
    {
        for (auto passed = 0ms; passed < time; passed += 100ms) {
            scheduler.advance(100ms);
            mainQueue.drainAll();
        }
    }
    /// Until the agents' projects are there and all agents have come.
    void letAgentsCome()
    {
        for (int i = 0; i < 100 && sessions().isEmpty(); ++i) {
            ASSERT_TRUE(mainQueue.drainWhenPosted());
            pass(1s);
        }
        pass(6s);
    }
    [[nodiscard]] const QList<SessionPtr> &sessions() { return demo.delegate().sessionManager().sessions(); }
    [[nodiscard]] SessionPtr named(const QString &project)
    {
        for (const SessionPtr &session : sessions()) {
            if (session->displayName() == project)
                return session;
        }
        return nullptr;
    }
    [[nodiscard]] SessionPtr waitFor(const QString &project, SessionState state)
    {
        for (int i = 0; i < 1200; ++i) {
            if (const SessionPtr session = named(project); session && session->state() == state)
                return session;
            pass(1s);
        }
        ADD_FAILURE() << project.toStdString() << " never gets there";
        return nullptr;
    }

    test::ManualClock clock;
    test::ManualScheduler scheduler { clock };
    test::ManualMainQueue mainQueue;
    demo::Demo demo { clock, scheduler, mainQueue };
};

TEST_F(DemoTest, agentsComeToLifeWithBranchesAndAlive)
{
    letAgentsCome();

    EXPECT_EQ(sessions().size(), 5);
    for (const SessionPtr &session : sessions()) {
        EXPECT_TRUE(session->isAlive());
        EXPECT_TRUE(session->gitBranch().has_value()) << session->displayName().toStdString();
        EXPECT_EQ(session->terminalType(), u"demo"_s);
    }
}

TEST_F(DemoTest, anAllowedRequestLetsTheAgentGoOn)
{
    letAgentsCome();
    const SessionPtr session = waitFor(u"storefront-web"_s, SessionState::needsPermission);
    ASSERT_TRUE(session);
    EXPECT_TRUE(demo.delegate().sessionActions().hasAlwaysAllowSuggestions(session->id()));

    demo.delegate().sessionActions().allow(session->id());

    EXPECT_EQ(demo.delegate().pendingPermissions().heldCount(session->id()), 0);
    EXPECT_TRUE(waitFor(u"storefront-web"_s, SessionState::ready));
}

TEST_F(DemoTest, aDeniedRequestIsLeftOut)
{
    letAgentsCome();
    const SessionPtr session = waitFor(u"storefront-web"_s, SessionState::needsPermission);
    ASSERT_TRUE(session);

    demo.delegate().sessionActions().deny(session->id(), SessionActions::Denial::AgentGoesOn);
    pass(3s);

    EXPECT_EQ(session->state(), SessionState::ready);
    EXPECT_EQ(session->lastMessage(), u"Understood, I leave that out."_s);
}

TEST_F(DemoTest, aQuestionTakesItsAnswerFromTheTerminal)
{
    letAgentsCome();
    const SessionPtr session = waitFor(u"ledger-api"_s, SessionState::hasQuestion);
    ASSERT_TRUE(session);

    demo.delegate().sessionActions().answerQuestion(session->id(), 1);
    ASSERT_TRUE(mainQueue.drainWhenPosted());

    EXPECT_TRUE(waitFor(u"ledger-api"_s, SessionState::ready));
    QFile transcript(session->transcriptPath().value());
    ASSERT_TRUE(transcript.open(QIODevice::ReadOnly));
    EXPECT_THAT(transcript.readAll().toStdString(), ::testing::HasSubstr("\"content\":\"Half-up\""));
}

TEST_F(DemoTest, whatIsTypedIsAnswered)
{
    letAgentsCome();
    const SessionPtr session = waitFor(u"atlas-tiles"_s, SessionState::ready);
    ASSERT_TRUE(session);

    demo.delegate().sessionActions().sendText(session->id(), u"Go on"_s);
    for (int i = 0; i < 5; ++i) {
        mainQueue.drainWhenPosted(200ms);
        pass(1s);
    }

    EXPECT_EQ(session->lastPrompt(), u"Go on"_s);
}

TEST_F(DemoTest, anAgentThatIsEndedStaysAway)
{
    letAgentsCome();
    const SessionPtr session = named(u"photon-cli"_s);
    ASSERT_TRUE(session);

    demo.delegate().sessionActions().killSession(session->id());
    pass(30s);

    EXPECT_FALSE(session->isAlive());
}

TEST_F(DemoTest, aLaunchedAgentComesToLife)
{
    letAgentsCome();
    const QString folder = demo.paths().home + u"/projects/fieldnotes";

    demo.delegate().sessionActions().launch(folder, TerminalBridge::Fresh {}, {});
    for (int i = 0; i < 10 && !named(u"fieldnotes"_s); ++i) {
        mainQueue.drainWhenPosted(200ms);
        pass(1s);
    }

    ASSERT_TRUE(named(u"fieldnotes"_s));
    EXPECT_EQ(named(u"fieldnotes"_s)->cwd(), folder);
}

TEST_F(DemoTest, showsTheNotchBesideTheIcon)
{
    EXPECT_EQ(displayMode(demo.delegate().defaults()), DisplayMode::both);
}

TEST_F(DemoTest, oldConversationsAreFoundAndEverythingStaysInTheScratchFolder)
{
    letAgentsCome();

    EXPECT_FALSE(demo.delegate().httpServer().isRunning());
    EXPECT_TRUE(QFile::exists(demo.paths().database()));
    EXPECT_TRUE(demo.paths().database().startsWith(QDir::tempPath()));
    EXPECT_EQ(QDir(demo.paths().agentFolder() + u"/projects"_s).entryList(QDir::Dirs | QDir::NoDotAndDotDot).size(), 6);
}

} // namespace
} // namespace vantry
