#include "alerts/SoundService.h"

#include "sessions/SessionManagerFixture.h"
#include "support/FakeSoundPlayer.h"

#include <QFile>
#include <QTemporaryDir>

#include <gmock/gmock.h>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;
using Type = NotificationType;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class SoundServiceTest : public SessionManagerFixture
{
protected:
    /// What is played over the event, which the session manager doesn't get.
    QStringList soundsOf(const HookEvent &event)
    {
        player.played.clear();
        service.handleEvent(event, manager);
        return player.played;
    }
    QStringList soundsOfSelection(const QString &selection)
    {
        player.played.clear();
        service.playSelection(selection);
        return player.played;
    }
    static EventBuilder notification(Type type)
    {
        EventBuilder event(HookEventType::notification);
        event.notification(type);
        return event;
    }
    static EventBuilder stop(const QString &lastWords)
    {
        EventBuilder event(HookEventType::stop);
        event.lastAssistantMessage(lastWords);
        return event;
    }
    /// Puts a file of settings in place of the present ones.
    void setDefaults(const QByteArray &json)
    {
        QFile file(folder.filePath(u"settings.json"_s));
        ASSERT_TRUE(file.open(QFile::WriteOnly));
        file.write(json);
        file.close();
        defaults.emplace(file.fileName(), mainQueue, log);
    }

    QTemporaryDir folder;
    std::optional<Defaults> defaults { std::in_place, folder.filePath(u"settings.json"_s), mainQueue, log };
    FakeSoundPlayer player;
    SoundService service { *defaults, player, log };
};

const QString blow = u"named Blow"_s;
const QString glass = u"named Glass"_s;
const QString purr = u"named Purr"_s;

TEST_F(SoundServiceTest, withoutDefaultsAPermissionPromptPlaysBlow)
{
    service.play(SoundEvent::permissionPrompt);

    EXPECT_THAT(player.played, ElementsAre(blow));
}

TEST_F(SoundServiceTest, momentsAreListedWithNamesKeysAndDefaults)
{
    QStringList all;
    for (const SoundEvent event : allSoundEvents)
        all += QString::fromStdString(std::string(rawValue(event))) + u' ' + selectionKey(event) + u' ' +
               defaultSelection(event);

    EXPECT_THAT(all, ElementsAre(u"permissionPrompt sound_permissionPrompt system:Blow"_s,
                                 u"taskComplete sound_taskComplete system:Glass"_s,
                                 u"question sound_question system:Purr"_s));
}

TEST_F(SoundServiceTest, theUsersSelectionIsPlayed)
{
    defaults->setString(u"sound_permissionPrompt"_s, u"system:Tink"_s);
    defaults->setString(u"sound_taskComplete"_s, u"none"_s);
    defaults->setString(u"sound_question"_s, u"/music/ask.mp3"_s);

    for (const SoundEvent event : allSoundEvents)
        service.play(event);

    EXPECT_THAT(player.played, ElementsAre(u"named Tink"_s, u"file /music/ask.mp3"_s));
}

TEST_F(SoundServiceTest, aSelectionOfAnotherTypeCountsAsAbsent)
{
    setDefaults(R"({"sound_taskComplete": 7})");

    service.play(SoundEvent::taskComplete);

    EXPECT_THAT(player.played, ElementsAre(glass));
}

TEST_F(SoundServiceTest, selectionsAreNoneANameOrAPath)
{
    EXPECT_THAT(soundsOfSelection(u"none"_s), IsEmpty());
    EXPECT_THAT(soundsOfSelection(u"system:Glass"_s), ElementsAre(glass));
    EXPECT_THAT(soundsOfSelection(u"system:none"_s), ElementsAre(u"named none"_s));
    EXPECT_THAT(soundsOfSelection(u"system:"_s), ElementsAre(u"named "_s));
    EXPECT_THAT(soundsOfSelection(u"/a b/ü.wav"_s), ElementsAre(u"file /a b/ü.wav"_s));
}

TEST_F(SoundServiceTest, aBareFileNameIsAPath)
{
    EXPECT_THAT(soundsOfSelection(u"Glass"_s), ElementsAre(u"file Glass"_s));
    EXPECT_THAT(soundsOfSelection(u"None"_s), ElementsAre(u"file None"_s));
    EXPECT_THAT(soundsOfSelection(u"System:Glass"_s), ElementsAre(u"file System:Glass"_s));
    EXPECT_THAT(soundsOfSelection(QString()), ElementsAre(u"file "_s));
}

TEST_F(SoundServiceTest, thePreviewPlaysAlsoWhenSoundsAreOff)
{
    defaults->setBoolean(u"sounds_enabled"_s, false);

    service.play(SoundEvent::question);
    EXPECT_THAT(player.played, IsEmpty());

    service.playSelection(u"system:Purr"_s);
    EXPECT_THAT(player.played, ElementsAre(purr));
}

TEST_F(SoundServiceTest, soundsAreOnWhereTheSettingIsNoBool)
{
    setDefaults(R"({"sounds_enabled": 0})");

    EXPECT_THAT(soundsOf(notification(Type::taskComplete)), ElementsAre(glass));
}

TEST_F(SoundServiceTest, whenSoundsAreOffNoEventPlaysOrLogsAnything)
{
    defaults->setBoolean(u"sounds_enabled"_s, false);
    log.clear();

    EXPECT_THAT(soundsOf(notification(Type::taskComplete)), IsEmpty());
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(SoundServiceTest, whatIsPlayedIsLogged)
{
    log.clear();
    sessionIn(SessionState::needsPermission);
    log.clear();

    soundsOf(notification(Type::elicitationDialog));
    soundsOf(notification(Type::taskComplete));
    soundsOf(notification(Type::permissionPrompt));

    EXPECT_THAT(log.lines(), ElementsAre(u"SoundService: playing question"_s, u"SoundService: playing taskComplete"_s,
                                         u"SoundService: playing permissionPrompt"_s));
}

TEST_F(SoundServiceTest, aMomentWhoseSoundIsNoneIsStillLogged)
{
    defaults->setString(u"sound_taskComplete"_s, u"none"_s);
    log.clear();

    EXPECT_THAT(soundsOf(notification(Type::taskComplete)), IsEmpty());
    EXPECT_THAT(log.lines(), ElementsAre(u"SoundService: playing taskComplete"_s));
}

TEST_F(SoundServiceTest, aPermissionPromptIsHeardOnlyWhileTheSessionWaitsForOne)
{
    sessionIn(SessionState::needsPermission);
    EXPECT_THAT(soundsOf(notification(Type::permissionPrompt)), ElementsAre(blow));

    for (const SessionState state : { SessionState::ready, SessionState::working, SessionState::hasQuestion }) {
        session()->setState(state);
        EXPECT_THAT(soundsOf(notification(Type::permissionPrompt)), IsEmpty());
    }
}

TEST_F(SoundServiceTest, aPermissionPromptOfAnUnknownSessionIsSilent)
{
    sessionIn(SessionState::needsPermission);

    EXPECT_THAT(soundsOf(notification(Type::permissionPrompt).session(u"other"_s)), IsEmpty());
}

TEST_F(SoundServiceTest, questionsAndFinishedTasksOfUnknownSessionsAreHeard)
{
    EXPECT_THAT(soundsOf(notification(Type::elicitationDialog)), ElementsAre(purr));
    EXPECT_THAT(soundsOf(notification(Type::taskComplete)), ElementsAre(glass));
    EXPECT_THAT(soundsOf(stop(u"Shall I?"_s)), ElementsAre(purr));
}

TEST_F(SoundServiceTest, theToolThatAsksAndTheDialogAfterItBothPlay)
{
    EXPECT_THAT(soundsOf(EventBuilder(HookEventType::preToolUse).tool(u"AskUserQuestion"_s)), ElementsAre(purr));
    EXPECT_THAT(soundsOf(notification(Type::elicitationDialog)), ElementsAre(purr));
}

TEST_F(SoundServiceTest, otherToolsAreSilent)
{
    EXPECT_THAT(soundsOf(EventBuilder(HookEventType::preToolUse).tool(u"Bash"_s)), IsEmpty());
    EXPECT_THAT(soundsOf(EventBuilder(HookEventType::preToolUse).tool(u"askuserquestion"_s)), IsEmpty());
    EXPECT_THAT(soundsOf(EventBuilder(HookEventType::preToolUse)), IsEmpty());
    EXPECT_THAT(soundsOf(EventBuilder(HookEventType::postToolUse).tool(u"AskUserQuestion"_s)), IsEmpty());
    EXPECT_THAT(soundsOf(EventBuilder(HookEventType::permissionRequest).tool(u"AskUserQuestion"_s)), IsEmpty());
}

TEST_F(SoundServiceTest, anEndOfTurnIsHeardOnlyWithAQuestion)
{
    EXPECT_THAT(soundsOf(stop(u"Done.\nShall I go on?\n"_s)), ElementsAre(purr));
    EXPECT_THAT(soundsOf(stop(u"Done."_s)), IsEmpty());
    EXPECT_THAT(soundsOf(EventBuilder(HookEventType::stop)), IsEmpty());
    EXPECT_THAT(soundsOf(EventBuilder(HookEventType::subagentStop).lastAssistantMessage(u"Shall I?"_s)), IsEmpty());
}

TEST_F(SoundServiceTest, olderNamesOfEventsSoundAlike)
{
    EventBuilder event(HookEventType::legacyStop);

    EXPECT_THAT(soundsOf(event.lastAssistantMessage(u"Shall I?"_s)), ElementsAre(purr));
    EXPECT_THAT(soundsOf(EventBuilder(HookEventType::legacyPreToolUse).tool(u"AskUserQuestion"_s)), ElementsAre(purr));
}

TEST_F(SoundServiceTest, otherNotificationsAreSilent)
{
    sessionIn(SessionState::needsPermission);

    EXPECT_THAT(soundsOf(notification(Type::idlePrompt)), IsEmpty());
    EXPECT_THAT(soundsOf(notification(Type::authSuccess)), IsEmpty());
    EXPECT_THAT(soundsOf(EventBuilder(HookEventType::notification).message(u"permission to use Bash"_s)), IsEmpty());
}

TEST_F(SoundServiceTest, noOtherEventIsHeard)
{
    sessionIn(SessionState::needsPermission);
    for (const HookEventType type :
         { HookEventType::sessionStart, HookEventType::sessionEnd, HookEventType::userPromptSubmit,
           HookEventType::postToolUse, HookEventType::postToolUseFailure, HookEventType::permissionRequest,
           HookEventType::subagentStart, HookEventType::subagentStop, HookEventType::preCompact,
           HookEventType::taskCompleted, HookEventType::teammateIdle, HookEventType::configChange,
           HookEventType::instructionsLoaded, HookEventType::worktreeCreate, HookEventType::worktreeRemove }) {
        EventBuilder event(type);
        event.tool(u"AskUserQuestion"_s).lastAssistantMessage(u"Shall I?"_s).notification(Type::taskComplete);
        EXPECT_THAT(soundsOf(event), IsEmpty()) << rawValue(type);
    }
}

TEST_F(SoundServiceTest, namesAreThePlayers)
{
    player.sounds = { u"Basso"_s, u"bell"_s };

    EXPECT_THAT(service.systemSoundNames(), ElementsAre(u"Basso"_s, u"bell"_s));
}

} // namespace
} // namespace vantry::test
