#include "TerminalBridgeFixture.h"

namespace vantry::test {
namespace {

class TypedByDriver : public TerminalBridgeFixture
{
protected:
    /// A live session in the pane "%1" of tmux.
    SessionPtr tmuxSession(SessionState state = SessionState::ready)
    {
        return add(sessionIn(u"tmux-pane"_s, u"%1"_s, state));
    }
    SessionPtr askingInTmux(std::vector<HookEvent::Question> questions)
    {
        return add(askingSession(u"tmux-pane"_s, u"%1"_s, std::move(questions)));
    }
    SessionPtr add(const SessionPtr &session)
    {
        live.append(session);
        return session;
    }
    /// Lets time pass until a terminal has been called so often.
    void passUntilCalls(FakeTerminalDriver &terminal, qsizetype count)
    {
        while (terminal.calls().size() < count) {
            if (mainQueue.drainAll() > 0)
                continue;
            if (scheduler.activeTimers() > 0)
                scheduler.advance(Seconds { 0.1 });
            else
                ASSERT_TRUE(mainQueue.drainWhenPosted()) << "nothing more is typed";
        }
    }
};

TEST_F(TypedByDriver, waitsATenthOfASecondBetweenTextAndReturn)
{
    bridge().sendText(*tmuxSession(), u"hello"_s, keep());
    ASSERT_TRUE(mainQueue.drainWhenPosted());
    EXPECT_EQ(tmux.calls(), QStringList { u"type %1: hello"_s });

    scheduler.advance(Seconds { 0.099 });
    mainQueue.drainAll();
    EXPECT_EQ(scheduler.activeTimers(), 1);
    EXPECT_EQ(tmux.calls().size(), 1);

    scheduler.advance(Seconds { 0.002 });
    passUntilCalls(tmux, 2);
    EXPECT_EQ(tmux.calls(), QStringList({ u"type %1: hello"_s, u"return %1"_s }));
    EXPECT_EQ(log.lines(), QStringList { u"TerminalBridge: sendText to tmux-pane, text=hello"_s });
}

TEST_F(TypedByDriver, tellsOnceThatALineIsTypedAndNotOnlyAfterItsReturn)
{
    bridge().sendText(*tmuxSession(), u"hello"_s, keep());
    ASSERT_TRUE(mainQueue.drainWhenPosted());
    EXPECT_EQ(outcomes, QStringList { u"done"_s });

    bridge().pressReturn(*tmuxSession(), keep());
    waitForOutcomes(2);
    EXPECT_EQ(tmux.calls(), QStringList({ u"type %1: hello"_s, u"return %1"_s, u"return %1"_s }));
    EXPECT_EQ(outcomes, QStringList({ u"done"_s, u"done"_s }));
}

TEST_F(TypedByDriver, removesLineBreaksAndOtherKeysFromText)
{
    bridge().sendText(*tmuxSession(), u"a\r\nb\tc\x1b[B\x03\x04\x7f\u0085\u009bd é 漢 🙂"_s, keep());

    EXPECT_EQ(outcome(), u"done"_s);
    EXPECT_EQ(tmux.calls().front(), u"type %1: ab\tc[Bd é 漢 🙂"_s);
}

TEST_F(TypedByDriver, givesTextUnchangedOtherwise)
{
    const QString text = u"-l \"q\" 'a' \\ $(rm -rf x) `y`; {Enter} C-c ;"_s + u"ä"_s.repeated(10'000);
    bridge().sendText(*tmuxSession(), text, keep());

    EXPECT_EQ(outcome(), u"done"_s);
    EXPECT_EQ(tmux.calls().front(), u"type %1: "_s + text);
}

TEST_F(TypedByDriver, pressesReturnAloneForATextOfNothing)
{
    bridge().sendText(*tmuxSession(), u"\n\x1b"_s, keep());

    EXPECT_EQ(outcome(), u"done"_s);
    EXPECT_EQ(tmux.calls(), QStringList { u"return %1"_s });
}

TEST_F(TypedByDriver, pressesReturn)
{
    bridge().pressReturn(*tmuxSession(SessionState::needsPermission), keep());

    EXPECT_EQ(outcome(), u"done"_s);
    EXPECT_EQ(tmux.calls(), QStringList { u"return %1"_s });
    EXPECT_EQ(log.lines(), QStringList { u"TerminalBridge: pressReturn for tmux-pane"_s });
}

TEST_F(TypedByDriver, pressesReturnThoughTheStateHasMovedOn)
{
    // Who approves a permission says so in the session at once.
    const SessionPtr session = tmuxSession(SessionState::needsPermission);
    bridge().pressReturn(*session, keep());
    session->setState(SessionState::working);

    EXPECT_EQ(outcome(), u"done"_s);
}

TEST_F(TypedByDriver, approvesAPlanByTwo)
{
    bridge().approvePlan(*tmuxSession(SessionState::needsPermission), keep());

    EXPECT_EQ(outcome(), u"done"_s);
    EXPECT_EQ(tmux.calls(), QStringList { u"type %1: 2"_s });
}

TEST_F(TypedByDriver, answersByTheDigitAlone)
{
    bridge().answerQuestion(*askingInTmux({ questionWith(9) }), 8, keep());

    EXPECT_EQ(outcome(), u"done"_s);
    EXPECT_EQ(tmux.calls(), QStringList { u"type %1: 9"_s });
    EXPECT_EQ(log.lines(), QStringList { u"TerminalBridge: answerQuestion index=8 for tmux-pane"_s });
}

TEST_F(TypedByDriver, ignoresAnOptionThatTheQuestionDoesNotHave)
{
    const SessionPtr session = askingInTmux({ questionWith(2) });
    bridge().answerQuestion(*session, 2, keep());
    EXPECT_EQ(outcome(), u"there is no option 2"_s);
    bridge().answerQuestion(*session, -1, keep());
    EXPECT_EQ(outcome(), u"there is no option -1"_s);

    EXPECT_TRUE(tmux.calls().isEmpty());
    EXPECT_EQ(log.lines(), QStringList({ u"TerminalBridge: answerQuestion ignored: there is no option 2"_s,
                                         u"TerminalBridge: answerQuestion ignored: there is no option -1"_s }));
    EXPECT_EQ(bridge().refusalOfAnswer(*session, 2), u"there is no option 2"_s);
    EXPECT_EQ(bridge().refusalOfAnswer(*session, 1), std::nullopt);
}

TEST_F(TypedByDriver, bringsTheTerminalForwardWhereOneKeyCannotAnswer)
{
    const QList<SessionPtr> sessions { askingInTmux({ questionWith(2), questionWith(2) }),
                                       askingInTmux({ questionWith(2, true) }), askingInTmux({}),
                                       askingInTmux({ questionWith(10) }), tmuxSession(SessionState::hasQuestion) };
    for (const SessionPtr &session : sessions) {
        bridge().answerQuestion(*session, 9, keep());
        EXPECT_TRUE(outcome().endsWith(u"; the terminal was brought forward"_s));
        EXPECT_NE(bridge().refusalOfAnswer(*session, 9), std::nullopt);
    }
    EXPECT_EQ(tmux.calls(), u"focus %1"_s.repeated(5).replace(u"1f"_s, u"1\nf"_s).split(u'\n'));
}

TEST_F(TypedByDriver, answersNoQuestionBehindAPermission)
{
    const SessionPtr session = askingInTmux({ questionWith(2) });
    session->setState(SessionState::needsPermission);
    bridge().answerQuestion(*session, 0, keep());

    EXPECT_EQ(outcome(), u"the session waits for a permission; the terminal was brought forward"_s);
    EXPECT_EQ(tmux.calls(), QStringList { u"focus %1"_s });
}

TEST_F(TypedByDriver, givesTextAsTheFreeAnswerToOneQuestion)
{
    bridge().sendText(*askingInTmux({ questionWith(3) }), u"neither"_s, keep());

    ASSERT_TRUE(mainQueue.drainWhenPosted());
    EXPECT_EQ(tmux.calls(), QStringList { u"type %1: 4"_s });
    scheduler.advance(Seconds { 0.1 });
    ASSERT_TRUE(mainQueue.drainWhenPosted());
    EXPECT_EQ(tmux.calls(), QStringList({ u"type %1: 4"_s, u"type %1: neither"_s }));
    scheduler.advance(Seconds { 0.1 });
    EXPECT_EQ(outcome(), u"done"_s);
    EXPECT_EQ(tmux.calls().back(), u"return %1"_s);
}

TEST_F(TypedByDriver, givesNoEmptyFreeAnswer)
{
    const SessionPtr session = askingInTmux({ questionWith(3) });
    for (const QString &text : { QString(), u"\n"_s, u" \t"_s, u"\x1b"_s }) {
        bridge().sendText(*session, text, keep());
        EXPECT_EQ(outcome(), u"an empty answer would decline the question; the terminal was brought forward"_s);
    }
    EXPECT_FALSE(tmux.calls().join(u' ').contains(u"type"_s));
}

TEST_F(TypedByDriver, typesNoTextIntoAnOpenDialog)
{
    const QList<SessionPtr> sessions { tmuxSession(SessionState::needsPermission),
                                       askingInTmux({ questionWith(2), questionWith(2) }),
                                       askingInTmux({ questionWith(2, true) }), askingInTmux({}),
                                       askingInTmux({ questionWith(9) }) };
    for (const SessionPtr &session : sessions) {
        EXPECT_TRUE(bridge().canType(*session));
        const auto refusal = bridge().refusalOfText(*session);
        ASSERT_TRUE(refusal);
        bridge().sendText(*session, u"hi"_s, keep());
        EXPECT_EQ(outcome(), *refusal + u"; the terminal was brought forward"_s);
        EXPECT_EQ(log.lines().back(),
                  u"TerminalBridge: sendText refused: "_s + *refusal + u" — focusing terminal instead"_s);
    }
    EXPECT_EQ(tmux.calls(), u"focus %1"_s.repeated(5).replace(u"1f"_s, u"1\nf"_s).split(u'\n'));
}

TEST_F(TypedByDriver, typesWhileTheAgentWorksOrAsksInItsText)
{
    for (const SessionState state :
         { SessionState::launching, SessionState::working, SessionState::ready, SessionState::hasQuestion }) {
        EXPECT_EQ(bridge().refusalOfText(*tmuxSession(state)), std::nullopt);
        bridge().sendText(*tmuxSession(state), u"hi"_s, keep());
        EXPECT_EQ(outcome(), u"done"_s);
    }
}

TEST_F(TypedByDriver, pressesNoReturnWhenAPermissionHasOpenedMeanwhile)
{
    const SessionPtr session = tmuxSession(SessionState::working);
    bridge().sendText(*session, u"hi"_s, keep());
    ASSERT_TRUE(mainQueue.drainWhenPosted());
    session->setState(SessionState::needsPermission);
    scheduler.advance(Seconds { 0.2 });
    mainQueue.drainAll();

    EXPECT_EQ(tmux.calls(), QStringList { u"type %1: hi"_s });
    EXPECT_EQ(
        log.lines().back(),
        u"TerminalBridge: failed to type into tmux: the session waits for a permission, which text would grant"_s);
}

TEST_F(TypedByDriver, typesNoTextThatWaitedUntilADialogOpened)
{
    tmux.hold(u"%1"_s);
    const SessionPtr session = tmuxSession(SessionState::working);
    bridge().pressReturn(*session, keep());
    bridge().sendText(*session, u"hi"_s, keep());
    tmux.waitForCalls(1);
    session->setQuestions(std::vector { questionWith(2) });
    tmux.release(u"%1"_s);
    waitForOutcomes(2);

    EXPECT_EQ(outcomes, QStringList({ u"done"_s, u"the session asks something else by now"_s }));
    EXPECT_EQ(tmux.calls(), QStringList { u"return %1"_s });
}

TEST_F(TypedByDriver, givesNoAnswerToAnotherQuestionThanTheOneMeant)
{
    tmux.hold(u"%1"_s);
    const SessionPtr session = askingInTmux({ questionWith(2) });
    bridge().pressReturn(*session, keep());
    bridge().answerQuestion(*session, 1, keep());
    tmux.waitForCalls(1);
    HookEvent::Question other = questionWith(2);
    other.question = u"Really?"_s;
    session->setQuestions(std::vector { other });
    tmux.release(u"%1"_s);
    waitForOutcomes(2);

    EXPECT_EQ(outcomes.back(), u"the session asks something else by now"_s);
    EXPECT_EQ(tmux.calls(), QStringList { u"return %1"_s });
}

TEST_F(TypedByDriver, answersAQuestionOnce)
{
    const SessionPtr session = askingInTmux({ questionWith(2) });
    bridge().answerQuestion(*session, 0, keep());
    bridge().answerQuestion(*session, 1, keep());
    bridge().sendText(*session, u"neither"_s, keep());
    waitForOutcomes(3);

    // What is brought forward doesn't wait for what is typed.
    QStringList calls = tmux.calls();
    calls.sort();
    outcomes.sort();
    EXPECT_EQ(outcomes,
              QStringList({ u"done"_s, u"the question has just been answered; the terminal was brought forward"_s,
                            u"the question has just been answered; the terminal was brought forward"_s }));
    EXPECT_EQ(calls, QStringList({ u"focus %1"_s, u"focus %1"_s, u"type %1: 1"_s }));
}

TEST_F(TypedByDriver, answersTheNextQuestionAtOnce)
{
    const SessionPtr session = askingInTmux({ questionWith(2) });
    bridge().answerQuestion(*session, 0, keep());
    EXPECT_EQ(outcome(), u"done"_s);
    session->setQuestions(std::vector { questionWith(3) });
    bridge().answerQuestion(*session, 1, keep());

    EXPECT_EQ(outcome(), u"done"_s);
    EXPECT_EQ(tmux.calls(), QStringList({ u"type %1: 1"_s, u"type %1: 2"_s }));
}

TEST_F(TypedByDriver, answersAgainWhereTheAgentDidNotTakeTheAnswer)
{
    const SessionPtr session = askingInTmux({ questionWith(2) });
    bridge().answerQuestion(*session, 0, keep());
    EXPECT_EQ(outcome(), u"done"_s);
    scheduler.advance(Seconds { 3 });
    bridge().answerQuestion(*session, 0, keep());
    EXPECT_EQ(outcome(), u"done"_s);

    scheduler.advance(Seconds { 3 });
    tmux.setFailure(u"the pane is gone"_s);
    bridge().answerQuestion(*session, 0, keep());
    EXPECT_EQ(outcome(), u"the pane is gone"_s);
    bridge().answerQuestion(*session, 0, keep());
    EXPECT_EQ(outcome(), u"the pane is gone"_s) << "what was not typed may be tried again at once";
}

TEST_F(TypedByDriver, typesNothingForASessionThatHasGone)
{
    tmux.hold(u"%1"_s);
    SessionPtr session = tmuxSession();
    bridge().pressReturn(*session, keep());
    bridge().sendText(*session, u"hi"_s, keep());
    session.reset();
    live.clear();
    tmux.release(u"%1"_s);
    waitForOutcomes(2);

    EXPECT_EQ(outcomes.back(), u"the session has gone"_s);
}

TEST_F(TypedByDriver, stopsAtTheFirstKeyThatFails)
{
    tmux.setFailure(u"the pane is gone"_s);
    bridge().sendText(*tmuxSession(), u"hi"_s, keep());

    EXPECT_EQ(outcome(), u"the pane is gone"_s);
    EXPECT_EQ(tmux.calls(), QStringList { u"type %1: hi"_s }) << "no Return, and not focused";
    EXPECT_EQ(log.lines().back(), u"TerminalBridge: failed to type into tmux: the pane is gone"_s);
}

TEST_F(TypedByDriver, showsATerminalWhileItIsTypedInto)
{
    tmux.hold(u"%1"_s);
    bridge().sendText(*tmuxSession(), u"hi"_s);
    tmux.waitForCalls(1);
    bridge().focusTerminal(*tmuxSession(), keep());
    tmux.waitForCalls(2);
    tmux.release(u"%1"_s);

    EXPECT_EQ(outcome(), u"done"_s);
    EXPECT_EQ(tmux.calls().mid(0, 2), QStringList({ u"type %1: hi"_s, u"focus %1"_s }));
}

TEST_F(TypedByDriver, neverMixesTheKeysOfTwoOperations)
{
    const SessionPtr session = tmuxSession();
    bridge().sendText(*session, u"one"_s, keep());
    bridge().sendText(*session, u"two"_s, keep());
    bridge().pressReturn(*tmuxSession(), keep());
    passUntilCalls(tmux, 5);

    EXPECT_EQ(tmux.calls(),
              QStringList({ u"type %1: one"_s, u"return %1"_s, u"type %1: two"_s, u"return %1"_s, u"return %1"_s }));
}

TEST_F(TypedByDriver, waitsBeforeTheNextOperationsKeys)
{
    const SessionPtr session = tmuxSession();
    bridge().pressReturn(*session, keep());
    bridge().sendText(*session, u"two"_s, keep());
    ASSERT_TRUE(mainQueue.drainWhenPosted());
    EXPECT_EQ(outcomes.size(), 1) << "the first one has ended";
    mainQueue.drainAll();
    EXPECT_EQ(tmux.calls(), QStringList { u"return %1"_s });

    passUntilCalls(tmux, 3);
    EXPECT_EQ(tmux.calls(), QStringList({ u"return %1"_s, u"type %1: two"_s, u"return %1"_s }));
}

TEST_F(TypedByDriver, aTerminalThatHangsHoldsUpNoOther)
{
    tmux.hold(u"%1"_s);
    bridge().sendText(*tmuxSession(), u"one"_s, keep());
    bridge().sendText(*tmuxSession(), u"two"_s, keep());
    tmux.waitForCalls(1);
    bridge().sendText(*add(sessionIn(u"tmux-pane"_s, u"%2"_s)), u"three"_s, keep());
    bridge().sendText(*add(sessionIn(u"kitty-window"_s, u"%1"_s)), u"four"_s, keep());
    passUntilCalls(kitty, 2);
    passUntilCalls(tmux, 3);

    EXPECT_EQ(kitty.calls(), QStringList({ u"type %1: four"_s, u"return %1"_s }));
    EXPECT_EQ(tmux.calls(), QStringList({ u"type %1: one"_s, u"type %2: three"_s, u"return %2"_s }));
    tmux.release(u"%1"_s);
    waitForOutcomes(4);
}

TEST_F(TypedByDriver, endsWithoutHarmWhileKeysAreTyped)
{
    tmux.hold(u"%1"_s);
    const SessionPtr session = tmuxSession();
    bridge().sendText(*session, u"one"_s, keep());
    bridge().sendText(*session, u"two"_s, keep());
    bridge().sendText(*add(sessionIn(u"kitty-window"_s, u"%1"_s)), u"three"_s, keep());
    tmux.waitForCalls(1);
    kitty.waitForCalls(1);
    tmux.release(u"%1"_s);
    destroyBridge();
    mainQueue.drainAll();
    scheduler.advance(Seconds { 1 });
    mainQueue.drainAll();

    EXPECT_TRUE(outcomes.isEmpty());
    EXPECT_EQ(tmux.calls(), QStringList { u"type %1: one"_s });
    EXPECT_EQ(scheduler.activeTimers(), 0);
}

TEST_F(TypedByDriver, endsWithoutHarmInAPauseBetweenKeys)
{
    bridge().sendText(*tmuxSession(), u"one"_s, keep());
    ASSERT_TRUE(mainQueue.drainWhenPosted());
    EXPECT_EQ(scheduler.activeTimers(), 1);
    destroyBridge();

    EXPECT_EQ(scheduler.activeTimers(), 0);
}

TEST_F(TypedByDriver, mayBeDestroyedByACompletion)
{
    const SessionPtr session = tmuxSession();
    bool hasEnded = false;
    bridge().pressReturn(*session, [&](const auto &) {
        hasEnded = true;
        destroyBridge();
    });
    bridge().pressReturn(*session, keep());
    while (!hasEnded)
        ASSERT_TRUE(mainQueue.drainWhenPosted());
    mainQueue.drainAll();

    EXPECT_TRUE(outcomes.isEmpty());
}

TEST_F(TypedByDriver, fallsBackWhereItsDriverCannotType)
{
    tmux.setAbilities({ .focus = true });
    bridge().sendText(*tmuxSession(), u"hi"_s, keep());

    EXPECT_EQ(outcome(), u"nothing can be typed into tmux; the terminal was brought forward"_s);
    EXPECT_EQ(tmux.calls(), QStringList { u"focus %1"_s });
    EXPECT_EQ(log.lines().back(),
              u"TerminalBridge: sendText not supported for 'tmux-pane' — focusing terminal instead"_s);
    EXPECT_FALSE(bridge().canType(*tmuxSession()));
    EXPECT_EQ(bridge().refusalOfText(*tmuxSession()), u"nothing can be typed into tmux"_s);
    EXPECT_EQ(bridge().refusalOfAnswer(*tmuxSession(), 0), u"nothing can be typed into tmux"_s);
}

TEST_F(TypedByDriver, tellsBothThatItCannotTypeAndThatItCannotFocus)
{
    tmux.setAbilities({ .focus = true });
    tmux.setFailure(u"no client is attached"_s);
    bridge().sendText(*tmuxSession(), u"hi"_s, keep());

    EXPECT_EQ(outcome(),
              u"nothing can be typed into tmux; bringing the terminal forward failed: no client is attached"_s);
}

} // namespace
} // namespace vantry::test
