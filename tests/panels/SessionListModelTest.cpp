#include "panels/SessionListModel.h"

#include "panels/ListMirror.h"
#include "panels/PanelFixture.h"

#include <random>

namespace vantry::test {
namespace {

using Model = SessionListModel;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class SessionListModelTest : public PanelFixture
{
protected:
    /// The list, visible, as from now on.
    void show()
    {
        list = std::make_unique<SessionListModel>(services(), callbacks());
        list->setVisible(true);
        QObject::connect(list.get(), &SessionListModel::announcement, list.get(),
                         [this](const QString &text) { announcements.append(text); });
    }
    [[nodiscard]] int rowOf(const QString &id) const
    {
        for (int row = 0; row < list->count(); ++row) {
            if (list->index(row).data(Model::SessionIDRole) == id)
                return row;
        }
        return -1;
    }
    [[nodiscard]] QVariant value(const QString &id, Model::Role role) const
    {
        return list->index(rowOf(id)).data(role);
    }
    /// "attention a b, ready c".
    [[nodiscard]] QString sections() const
    {
        QString text;
        QString section;
        for (int row = 0; row < list->count(); ++row) {
            const QModelIndex index = list->index(row);
            if (index.data(Model::SectionRole) != section) {
                section = index.data(Model::SectionRole).toString();
                text += (row > 0 ? u", "_s : u""_s) + section;
            }
            text += u' ' + index.data(Model::SessionIDRole).toString();
        }
        return text;
    }
    void ask(const QString &id, std::vector<HookEvent::Question> questions)
    {
        const SessionPtr session = manager.session(id);
        session->setQuestions(std::move(questions));
        session->setState(SessionState::hasQuestion);
        turn();
    }
    static HookEvent::Question question(const QStringList &labels, bool multiSelect = false)
    {
        HookEvent::Question asked { u"Which?"_s, std::nullopt, std::vector<HookEvent::QuestionOption>(), multiSelect };
        for (const QString &label : labels)
            asked.options->push_back({ label, std::nullopt });
        return asked;
    }

    std::unique_ptr<SessionListModel> list;
    QStringList announcements;
};

TEST_F(SessionListModelTest, sessionsStandInTheirSectionsInTheManagersOrder)
{
    startIn(SessionState::working, u"a"_s);
    startIn(SessionState::ready, u"b"_s);
    startIn(SessionState::hasQuestion, u"c"_s);
    startIn(SessionState::launching, u"d"_s);
    startIn(SessionState::needsPermission, u"e"_s);
    startIn(SessionState::ready, u"f"_s);
    show();

    EXPECT_EQ(sections(), u"attention c e, ready b f, working a d"_s);
    EXPECT_EQ(list->count(), 6);
    EXPECT_EQ(list->attentionCount(), 2);
    EXPECT_EQ(list->readyCount(), 2);
    EXPECT_EQ(list->workingCount(), 2);
    EXPECT_EQ(list->sectionTitle(u"attention"_s), u"Needs Attention"_s);
    EXPECT_EQ(list->sectionTitle(u"ready"_s), u"Ready"_s);
    EXPECT_EQ(list->sectionTitle(u"working"_s), u"Working"_s);
    EXPECT_EQ(list->sectionCount(u"attention"_s), 2);
    EXPECT_EQ(list->sectionCount(u"ready"_s), 2);
    EXPECT_EQ(list->sectionCount(u"working"_s), 2);
}

TEST_F(SessionListModelTest, onlyAliveSessionsCount)
{
    startIn(SessionState::ready, u"a"_s);
    const SessionPtr gone = startIn(SessionState::needsPermission, u"b"_s);
    gone->setAlive(false);
    show();
    EXPECT_EQ(sections(), u"ready a"_s);

    manager.session(u"a"_s)->setAlive(false);
    turn();
    EXPECT_EQ(list->count(), 0);
    EXPECT_EQ(scheduler.activeTimers(), 0U) << "nothing there can change with time";
}

TEST_F(SessionListModelTest, answeredSessionStaysForTheHoldTimeAndInNoOtherSection)
{
    start(u"a"_s);
    request(u"a"_s);
    show();
    EXPECT_DOUBLE_EQ(list->attentionHoldTime(), 3.0);

    wait(300);
    list->allow(u"a"_s);
    turn();
    EXPECT_EQ(manager.session(u"a"_s)->state(), SessionState::working);
    EXPECT_EQ(sections(), u"attention a"_s);
    EXPECT_EQ(value(u"a"_s, Model::IconRole), Model::AnsweredIcon);
    EXPECT_TRUE(value(u"a"_s, Model::IsAttentionRole).toBool());
    EXPECT_FALSE(value(u"a"_s, Model::ShowsPermissionRole).toBool());

    wait(2.999);
    EXPECT_EQ(sections(), u"attention a"_s);
    wait(0.001);
    EXPECT_EQ(sections(), u"working a"_s) << "without an event";
    EXPECT_EQ(value(u"a"_s, Model::IconRole), Model::WorkingIcon);
}

TEST_F(SessionListModelTest, sessionThatAskedJustNowStaysForTheHoldTimeEvenIfNobodySawItWait)
{
    const SessionPtr session = start(u"a"_s);
    session->setLastAttentionDate(clock.now());
    show();
    EXPECT_EQ(sections(), u"attention a"_s);
    wait(2.999);
    EXPECT_EQ(sections(), u"attention a"_s);
    wait(0.001);
    EXPECT_EQ(sections(), u"ready a"_s);
}

TEST_F(SessionListModelTest, sessionThatAsksAgainWhileItStaysWaitsAsBefore)
{
    start(u"a"_s);
    request(u"a"_s);
    show();
    list->allow(u"a"_s);
    turn();
    wait(2);
    request(u"a"_s, u"Edit"_s);
    EXPECT_EQ(value(u"a"_s, Model::IconRole), Model::PermissionIcon);
    wait(5);
    EXPECT_EQ(sections(), u"attention a"_s);
}

TEST_F(SessionListModelTest, holdThatRunsOutUnseenIsOverWhenTheListShows)
{
    const SessionPtr session = start(u"a"_s);
    session->setLastAttentionDate(clock.now());
    turn();
    show();
    EXPECT_EQ(sections(), u"attention a"_s);

    list->setVisible(false);
    EXPECT_EQ(scheduler.activeTimers(), 0U);
    wait(10);
    list->setVisible(true);
    EXPECT_EQ(sections(), u"ready a"_s);
}

TEST_F(SessionListModelTest, noTimerRunsWhileInvisibleWhateverHappens)
{
    show();
    list->setVisible(false);
    start(u"a"_s);
    request(u"a"_s);
    held.dismissAll(u"a"_s); // Its own timer ends with it.
    manager.session(u"a"_s)->setState(SessionState::working);
    turn();

    EXPECT_EQ(sections(), u"attention a"_s) << "events are followed all the same";
    EXPECT_EQ(scheduler.activeTimers(), 0U);
}

TEST_F(SessionListModelTest, elapsedTextMovesOnWithTheTime)
{
    start(u"a"_s);
    show();
    EXPECT_EQ(value(u"a"_s, Model::ElapsedTextRole), u"just now"_s);
    ListMirror mirror(*list, Model::SessionIDRole);
    wait(59.9);
    EXPECT_THAT(mirror.changedKeys, IsEmpty());
    wait(0.1);
    EXPECT_EQ(value(u"a"_s, Model::ElapsedTextRole), u"1m ago"_s);
    EXPECT_THAT(mirror.changedRoles,
                ::testing::UnorderedElementsAre(Model::ElapsedTextRole, Model::AccessibleTextRole));
    wait(3'540);
    EXPECT_EQ(value(u"a"_s, Model::ElapsedTextRole), u"1h ago"_s);
}

TEST_F(SessionListModelTest, elapsedTextIsRightSoonAfterTheClockWasSet)
{
    start(u"a"_s);
    show();
    clock.setWallClock(clock.now() + std::chrono::hours { 5 });
    wait(60);
    EXPECT_EQ(value(u"a"_s, Model::ElapsedTextRole), u"5h ago"_s);
}

TEST_F(SessionListModelTest, permissionShowsToolAndButtons)
{
    start(u"a"_s);
    request(u"a"_s, u"Bash"_s, u"make test"_s);
    show();

    EXPECT_EQ(value(u"a"_s, Model::IconRole), Model::PermissionIcon);
    EXPECT_TRUE(value(u"a"_s, Model::ShowsPermissionRole).toBool());
    EXPECT_EQ(value(u"a"_s, Model::ToolNameRole), u"Bash"_s);
    EXPECT_EQ(value(u"a"_s, Model::ToolDetailRole), u"make test"_s);
    EXPECT_FALSE(value(u"a"_s, Model::HasAlwaysAllowRole).toBool());
    EXPECT_FALSE(value(u"a"_s, Model::AllowPressedRole).toBool());
}

TEST_F(SessionListModelTest, permissionWithoutAToolHasNoButtons)
{
    startIn(SessionState::needsPermission, u"a"_s);
    show();
    EXPECT_FALSE(value(u"a"_s, Model::ShowsPermissionRole).toBool());
    EXPECT_EQ(value(u"a"_s, Model::StatusLineRole), u"Needs permission"_s);
    list->allow(u"a"_s);
    EXPECT_THAT(calls, IsEmpty());
}

TEST_F(SessionListModelTest, alwaysAllowIsOfferedWhereTheRequestBringsRules)
{
    start(u"a"_s);
    show();
    EventBuilder event(HookEventType::permissionRequest);
    event.session(u"a"_s).tool(u"Bash"_s).suggestion(R"({"type":"addRules"})");
    held.add(event, std::make_shared<FakeHookConnection>());
    manager.handleEvent(event);
    turn();
    EXPECT_TRUE(value(u"a"_s, Model::HasAlwaysAllowRole).toBool());

    list->alwaysAllow(u"a"_s);
    turn();
    EXPECT_EQ(calls, QStringList { u"always a"_s });
    EXPECT_FALSE(value(u"a"_s, Model::HasAlwaysAllowRole).toBool());
}

TEST_F(SessionListModelTest, allowIsPressedAtOnceAndSentOnce)
{
    start(u"a"_s);
    request(u"a"_s);
    SessionCallbacks given = callbacks();
    // An answer that takes its time: the session still waits.
    given.onAllowSession = [this](const SessionPtr &s) {
        EXPECT_TRUE(value(s->id(), Model::AllowPressedRole).toBool()) << "shown before it is sent";
        calls.append(u"allow "_s + s->id());
    };
    list = std::make_unique<SessionListModel>(services(), given);

    list->allow(u"a"_s);
    EXPECT_TRUE(value(u"a"_s, Model::AllowPressedRole).toBool());
    clock.advance(Seconds { 5 });
    list->allow(u"a"_s);
    list->deny(u"a"_s);
    list->alwaysAllow(u"a"_s);
    EXPECT_EQ(calls, QStringList { u"allow a"_s });
}

TEST_F(SessionListModelTest, pressedAllowFallsBackWithTheNextRequest)
{
    start(u"a"_s);
    EventBuilder second(HookEventType::permissionRequest);
    second.session(u"a"_s).agent(u"other"_s).tool(u"Edit"_s).detail(u"file"_s);
    request(u"a"_s);
    held.add(second, std::make_shared<FakeHookConnection>());
    manager.handleEvent(second);
    turn();
    show();

    list->allow(u"a"_s);
    turn();
    EXPECT_EQ(value(u"a"_s, Model::ToolNameRole), u"Edit"_s) << "the second one shows now";
    EXPECT_FALSE(value(u"a"_s, Model::AllowPressedRole).toBool());
    wait(1);
    list->allow(u"a"_s);
    EXPECT_EQ(calls, (QStringList { u"allow a"_s, u"allow a"_s }));
}

TEST_F(SessionListModelTest, pressedAllowFallsBackWithTheNextRequestThatStandsInTheTerminalAlone)
{
    const SessionPtr session = startIn(SessionState::needsPermission, u"a"_s);
    session->setToolName(u"Bash"_s);
    session->setLastAttentionDate(clock.now());
    turn();
    SessionCallbacks given = callbacks();
    given.onAllowSession = [](const SessionPtr &) {};
    list = std::make_unique<SessionListModel>(services(), given);
    list->allow(u"a"_s);
    EXPECT_TRUE(value(u"a"_s, Model::AllowPressedRole).toBool());

    // Answered and asked again within one turn, about the same tool.
    clock.advance(Seconds { 1 });
    session->setState(SessionState::working);
    session->setState(SessionState::needsPermission);
    session->setLastAttentionDate(clock.now());
    turn();
    EXPECT_FALSE(value(u"a"_s, Model::AllowPressedRole).toBool());
}

TEST_F(SessionListModelTest, secondPressOfADoubleOneDoesNotAnswerTheNextRequest)
{
    start(u"a"_s);
    EventBuilder second(HookEventType::permissionRequest);
    second.session(u"a"_s).agent(u"other"_s).tool(u"Edit"_s);
    request(u"a"_s);
    held.add(second, std::make_shared<FakeHookConnection>());
    manager.handleEvent(second);
    turn();
    show();

    list->deny(u"a"_s);
    turn();
    wait(0.2);
    list->deny(u"a"_s);
    EXPECT_EQ(calls, QStringList { u"deny a"_s });
}

TEST_F(SessionListModelTest, answerToARequestThatIsNoLongerShownIsDropped)
{
    start(u"a"_s);
    const auto connection = request(u"a"_s);
    show();
    // The row hasn't been told yet.
    held.dismissAll(u"a"_s);
    request(u"b"_s);
    EventBuilder next(HookEventType::permissionRequest);
    next.session(u"a"_s).tool(u"Bash"_s).detail(u"rm -rf build"_s);
    held.add(next, std::make_shared<FakeHookConnection>());
    manager.handleEvent(next);

    list->allow(u"a"_s);
    EXPECT_THAT(calls, IsEmpty());
    turn();
    EXPECT_EQ(value(u"a"_s, Model::ToolDetailRole), u"rm -rf build"_s);
}

TEST_F(SessionListModelTest, answersOfAnUnknownOrFinishedSessionDoNothing)
{
    start(u"a"_s);
    request(u"a"_s);
    show();
    manager.session(u"a"_s)->setAlive(false);
    for (const QString &id : { u"a"_s, u"nobody"_s }) {
        list->allow(id);
        list->deny(id);
        list->alwaysAllow(id);
        list->answer(id, 0);
        list->focusTerminal(id);
        list->terminate(id);
    }
    EXPECT_THAT(calls, IsEmpty());
}

TEST_F(SessionListModelTest, terminalIsFocusedAndAgentTerminated)
{
    start(u"a"_s);
    show();
    list->focusTerminal(u"a"_s);
    list->terminate(u"a"_s);
    EXPECT_EQ(calls, (QStringList { u"focus a"_s, u"kill a"_s }));
}

TEST_F(SessionListModelTest, optionsOfOneSingleChoiceAreButtons)
{
    start(u"a"_s);
    show();
    ask(u"a"_s, { question({ u"Half-even"_s, u"Half-up"_s }) });

    EXPECT_EQ(value(u"a"_s, Model::IconRole), Model::QuestionIcon);
    EXPECT_TRUE(value(u"a"_s, Model::ShowsQuestionRole).toBool());
    EXPECT_EQ(value(u"a"_s, Model::StatusLineRole), u"Waiting for your answer"_s);
    EXPECT_EQ(value(u"a"_s, Model::OptionsRole).toStringList(), (QStringList { u"Half-even"_s, u"Half-up"_s }));
    EXPECT_TRUE(value(u"a"_s, Model::CanAnswerRole).toBool());

    list->answer(u"a"_s, 1);
    list->answer(u"a"_s, 1);
    EXPECT_EQ(calls, QStringList { u"answer a 1"_s }) << "once";
}

TEST_F(SessionListModelTest, optionThatIsNotThereCantBeTaken)
{
    start(u"a"_s);
    show();
    ask(u"a"_s, { question({ u"Yes"_s }) });
    list->answer(u"a"_s, -1);
    list->answer(u"a"_s, 1);
    EXPECT_THAT(calls, IsEmpty());
}

TEST_F(SessionListModelTest, whereOneChoiceIsNoAnswerThereAreNoOptions)
{
    start(u"a"_s);
    show();
    ask(u"a"_s, { question({ u"Yes"_s }), question({ u"No"_s }) });
    EXPECT_FALSE(value(u"a"_s, Model::CanAnswerRole).toBool()) << "two questions";
    ask(u"a"_s, { question({ u"Yes"_s, u"No"_s }, true) });
    EXPECT_FALSE(value(u"a"_s, Model::CanAnswerRole).toBool()) << "several choices";
    ask(u"a"_s, { question({}) });
    EXPECT_FALSE(value(u"a"_s, Model::CanAnswerRole).toBool()) << "no options";
    manager.session(u"a"_s)->setQuestions(std::nullopt);
    turn();
    EXPECT_FALSE(value(u"a"_s, Model::CanAnswerRole).toBool()) << "asked in the agent's text";
    EXPECT_TRUE(value(u"a"_s, Model::ShowsQuestionRole).toBool());
    list->answer(u"a"_s, 0);
    EXPECT_THAT(calls, IsEmpty());
}

TEST_F(SessionListModelTest, whereTheTerminalTakesNoAnswerTheReasonIsTold)
{
    start(u"a"_s);
    show();
    answerRefusal = u"nothing can be typed here"_s;
    ask(u"a"_s, { question({ u"Yes"_s }) });
    EXPECT_FALSE(value(u"a"_s, Model::CanAnswerRole).toBool());
    EXPECT_TRUE(value(u"a"_s, Model::OptionsRole).toStringList().isEmpty());
    EXPECT_EQ(value(u"a"_s, Model::AnswerRefusalRole), u"nothing can be typed here"_s);
}

TEST_F(SessionListModelTest, otherRowsShowTheStatusLineThatThereIs)
{
    const SessionPtr session = start(u"a"_s);
    show();
    EXPECT_EQ(value(u"a"_s, Model::StatusLineRole), QString());
    session->setLastMessage(u"# Done\nAll 214 tests pass."_s);
    turn();
    EXPECT_EQ(value(u"a"_s, Model::StatusLineRole), u"# Done"_s);
    session->setState(SessionState::launching);
    turn();
    EXPECT_EQ(value(u"a"_s, Model::StatusLineRole), u"Starting Claude Code..."_s);
    EXPECT_EQ(value(u"a"_s, Model::IconRole), Model::LaunchingIcon);
}

TEST_F(SessionListModelTest, lineCountsAreShownAboveZeroAndShortenedFromTenThousandOn)
{
    const SessionPtr session = start(u"a"_s);
    const auto texts = [&](std::optional<int> added, std::optional<int> removed) {
        session->setGitLinesAdded(added);
        session->setGitLinesRemoved(removed);
        turn();
        return QStringList { value(u"a"_s, Model::LinesAddedTextRole).toString(),
                             value(u"a"_s, Model::LinesRemovedTextRole).toString() };
    };
    show();
    EXPECT_EQ(texts({}, {}), (QStringList { u""_s, u""_s }));
    EXPECT_EQ(texts(0, 0), (QStringList { u""_s, u""_s }));
    EXPECT_EQ(texts(128, 0), (QStringList { u"+128"_s, u""_s }));
    EXPECT_EQ(texts(0, 34), (QStringList { u""_s, u"-34"_s }));
    EXPECT_EQ(texts(9'999, 10'000), (QStringList { u"+9999"_s, u"-10k"_s }));
    EXPECT_EQ(texts(12'999, 1), (QStringList { u"+12k"_s, u"-1"_s }));
    EXPECT_EQ(texts(-5, -1), (QStringList { u""_s, u""_s }));
}

TEST_F(SessionListModelTest, contextIsShownAsUsed)
{
    const SessionPtr session = start(u"a"_s);
    show();
    EXPECT_EQ(value(u"a"_s, Model::ContextUsedRole), -1);
    session->setContextPercent(39);
    turn();
    EXPECT_EQ(value(u"a"_s, Model::ContextUsedRole), 61);
    session->setContextPercent(0);
    turn();
    EXPECT_EQ(value(u"a"_s, Model::ContextUsedRole), 100);
}

TEST_F(SessionListModelTest, nameForScreenReadersTellsAllInOrder)
{
    const SessionPtr session = start(u"a"_s, u"/home/u/storefront"_s);
    show();
    EXPECT_EQ(value(u"a"_s, Model::AccessibleTextRole), u"storefront, Ready, just now"_s);

    session->setGitBranch(u"main"_s);
    session->setGitLinesAdded(12);
    session->setGitLinesRemoved(7);
    session->setContextPercent(39);
    request(u"a"_s, u"Bash"_s, u"make"_s);
    EXPECT_EQ(
        value(u"a"_s, Model::AccessibleTextRole),
        u"storefront, Needs permission, Bash, make, main, 12 lines added, 7 removed, 61% context used, just now"_s);
    session->setGitLinesAdded(1);
    session->setGitLinesRemoved(0);
    turn();
    EXPECT_TRUE(value(u"a"_s, Model::AccessibleTextRole).toString().contains(u", 1 line added, "_s));
    session->setGitLinesAdded(0);
    session->setGitLinesRemoved(2);
    turn();
    EXPECT_TRUE(value(u"a"_s, Model::AccessibleTextRole).toString().contains(u", 2 lines removed, "_s));
}

TEST_F(SessionListModelTest, sessionWithoutAProjectHasTheBeginningOfItsIdentifierForAName)
{
    manager.handleEvent(EventBuilder(HookEventType::sessionStart).session(u"7f3a91c2-aaaa-bbbb"_s));
    turn();
    show();
    EXPECT_EQ(value(u"7f3a91c2-aaaa-bbbb"_s, Model::NameRole), u"7f3a91c2"_s);
}

TEST_F(SessionListModelTest, waitingSessionIsAnnouncedOnceForEachWait)
{
    start(u"a"_s, u"/home/u/storefront"_s);
    show();
    request(u"a"_s);
    manager.session(u"a"_s)->setLastMessage(u"still waiting"_s);
    turn();
    EXPECT_EQ(announcements, QStringList { u"storefront, Needs permission: Bash"_s });

    list->allow(u"a"_s);
    turn();
    manager.session(u"a"_s)->setState(SessionState::hasQuestion);
    turn();
    EXPECT_EQ(announcements, (QStringList { u"storefront, Needs permission: Bash"_s, u"storefront, Has questions"_s }));
}

TEST_F(SessionListModelTest, whatWaitsAlreadyWhenTheListShowsIsNotAnnounced)
{
    start(u"a"_s);
    show();
    list->setVisible(false);
    request(u"a"_s);
    list->setVisible(true);
    turn();
    EXPECT_THAT(announcements, IsEmpty());
}

TEST_F(SessionListModelTest, sessionThatAnswersMovesAloneAndOthersAreNotTouched)
{
    for (const QString &id : { u"a"_s, u"b"_s, u"c"_s })
        startIn(SessionState::ready, id);
    show();
    ListMirror mirror(*list, Model::SessionIDRole);

    request(u"c"_s);
    EXPECT_EQ(sections(), u"attention c, ready a b"_s);
    EXPECT_EQ(mirror.moved, 1);
    EXPECT_EQ(mirror.inserted + mirror.removed, 0);
    EXPECT_THAT(mirror.changedKeys, ElementsAre(u"c"_s));
    mirror.expectEqual();

    mirror.forget();
    manager.session(u"a"_s)->setGitLinesAdded(3);
    turn();
    EXPECT_THAT(mirror.changedKeys, ElementsAre(u"a"_s));
    EXPECT_THAT(mirror.changedRoles, ::testing::UnorderedElementsAre(Model::LinesAddedRole, Model::LinesAddedTextRole,
                                                                     Model::AccessibleTextRole));
}

TEST_F(SessionListModelTest, stormOfEventsChangesTheListRowByRow)
{
    show();
    ListMirror mirror(*list, Model::SessionIDRole);
    std::mt19937 random(11);
    const auto pick = [&](std::size_t count) { return static_cast<int>(random() % count); };
    using Type = HookEventType;
    constexpr std::array types { Type::sessionStart, Type::sessionEnd,        Type::userPromptSubmit,
                                 Type::preToolUse,   Type::postToolUse,       Type::permissionRequest,
                                 Type::stop,         Type::permissionRequest, Type::sessionStart };
    constexpr std::array<QStringView, 4> tools { u"Bash", u"AskUserQuestion", u"ExitPlanMode", u"Edit" };

    bool isVisible = true;
    for (int step = 0; step < 1'500; ++step) {
        if (pick(3) == 0)
            scheduler.advance(Seconds { pick(10) == 0 ? 90.0 : 0.25 * pick(12) });
        if (pick(50) == 0)
            list->setVisible(isVisible = !isVisible);
        mirror.forget();

        const QString id = u"session-%1"_s.arg(pick(30));
        EventBuilder event(types.at(static_cast<std::size_t>(pick(types.size()))));
        event.session(id).projectDir(u"/home/u/"_s + id);
        event.tool(tools.at(static_cast<std::size_t>(pick(tools.size()))).toString());
        event.lastAssistantMessage(pick(2) == 0 ? u"Done."_s : u"Shall I go on?"_s);
        manager.handleEvent(event);
        if (pick(4) == 0)
            manager.cleanUpSessions();
        turn();
        if (pick(3) == 0)
            list->allow(id);
        turn();

        ASSERT_NO_FATAL_FAILURE(mirror.expectEqual());
        ASSERT_FALSE(HasFailure());
        if (isVisible) {
            ASSERT_THAT(mirror.changedKeys, ::testing::Each(id)) << "no other row has changed";
        }
    }
    EXPECT_GT(list->count(), 5);
}

} // namespace
} // namespace vantry::test
