#include "panels/ChatFixture.h"

namespace vantry::test {
namespace {

class ChatDictation : public ChatFixture
{
protected:
    void dictate(const QString &text = {})
    {
        chat->toggleDictation();
        mainQueue.drainAll();
        if (!text.isEmpty())
            understand(text);
    }
};

TEST_F(ChatDictation, withoutAServiceThereIsNone)
{
    hasDictation = false;
    openChat();
    dictate();
    EXPECT_EQ(chat->dictation(), nullptr);
    EXPECT_FALSE(chat->isDictating());
}

TEST_F(ChatDictation, everyChatHasItsOwn)
{
    openChat();
    const ChatViewModel other(services(), callbacks(), session());
    dictate();
    EXPECT_TRUE(chat->dictation()->isListening());
    EXPECT_FALSE(other.dictation()->isListening());
}

TEST_F(ChatDictation, theFieldFollowsTheTranscript)
{
    openChat();
    dictate();
    EXPECT_TRUE(chat->isDictating());
    EXPECT_EQ(chat->placeholder(), u"Speak now..."_s);
    EXPECT_FALSE(chat->canSend());
    understand(u"go"_s);
    EXPECT_EQ(chat->typedText(), u"go"_s);
    EXPECT_TRUE(chat->canSend());
    understand(u"go on"_s);
    EXPECT_EQ(chat->typedText(), u"go on"_s);
}

TEST_F(ChatDictation, theSecondToggleSendsTheTrimmedTranscript)
{
    openChat();
    dictate(u"  go on \n"_s);
    dictate();

    EXPECT_EQ(calls, QStringList { u"send s: go on"_s });
    EXPECT_FALSE(chat->isDictating());
    EXPECT_FALSE(chat->dictation()->isListening());
    EXPECT_EQ(chat->typedText(), QString());
    EXPECT_NE(chat->placeholder(), u"Speak now..."_s);
}

TEST_F(ChatDictation, sendingDoesTheSame)
{
    openChat();
    dictate(u"go on"_s);
    chat->send();

    EXPECT_EQ(calls, QStringList { u"send s: go on"_s });
    EXPECT_FALSE(chat->isDictating());
    EXPECT_EQ(texts(), QStringList { u"go on"_s });
}

TEST_F(ChatDictation, nothingUnderstoodIsNothingSent)
{
    openChat();
    dictate();
    chat->send();

    EXPECT_TRUE(calls.isEmpty());
    EXPECT_FALSE(chat->isDictating());
}

TEST_F(ChatDictation, whatWasTypedBeforeComesBackAfterwards)
{
    openChat();
    chat->setTypedText(u"a draft"_s);
    dictate(u"go on"_s);
    EXPECT_EQ(chat->typedText(), u"go on"_s);
    chat->send();

    EXPECT_EQ(calls, QStringList { u"send s: go on"_s });
    EXPECT_EQ(chat->typedText(), u"a draft"_s);
}

TEST_F(ChatDictation, theTranscriptOfTheLastTimeIsNotSentAgain)
{
    openChat();
    dictate(u"go on"_s);
    chat->send();
    microphone.answersAccess = false;
    dictate();
    dictate();

    EXPECT_EQ(calls.size(), 1);
}

TEST_F(ChatDictation, leaveThatComesAfterTheEndStartsNothing)
{
    openChat();
    microphone.answersAccess = false;
    dictate();
    chat->send();
    microphone.heldAccess(true);
    mainQueue.drainAll();

    EXPECT_FALSE(chat->dictation()->isListening());
    EXPECT_EQ(microphone.starts, 0);
}

TEST_F(ChatDictation, refusedLeaveEndsItWithItsError)
{
    openChat();
    chat->setTypedText(u"a draft"_s);
    speech.authorisation = SpeechRecogniser::Authorisation::Denied;
    for (int attempt = 0; attempt < 2; ++attempt) {
        dictate();
        EXPECT_FALSE(chat->isDictating());
        EXPECT_EQ(chat->dictation()->error(), u"Speech recognition not authorized"_s);
        EXPECT_EQ(chat->typedText(), u"a draft"_s);
    }
}

TEST_F(ChatDictation, aRecogniserThatIsNotThereEndsItEachTime)
{
    openChat();
    speech.available = false;
    for (int attempt = 0; attempt < 2; ++attempt) {
        dictate();
        EXPECT_FALSE(chat->isDictating());
        EXPECT_EQ(chat->dictation()->error(), u"Speech recognition unavailable"_s);
    }
}

TEST_F(ChatDictation, aMicrophoneThatDoesNotStartEndsIt)
{
    openChat();
    microphone.answersStart = false;
    dictate();
    EXPECT_TRUE(chat->isDictating());
    microphone.handlers.onStarted(u"busy"_s);

    EXPECT_FALSE(chat->isDictating());
    EXPECT_EQ(chat->dictation()->error(), u"Failed to start audio: busy"_s);
}

TEST_F(ChatDictation, anErrorLeavesWhatWasUnderstoodInTheField)
{
    openChat();
    chat->setTypedText(u"Please"_s);
    dictate(u"go on"_s);
    speech.fail(1, u"Too loud"_s);
    mainQueue.drainAll();

    EXPECT_FALSE(chat->isDictating());
    EXPECT_TRUE(calls.isEmpty());
    EXPECT_EQ(chat->typedText(), u"Please go on"_s);
}

TEST_F(ChatDictation, aCancelledRecognitionEndsIt)
{
    openChat();
    dictate(u"go on"_s);
    speech.fail(SpeechRecogniser::cancelled, u"Cancelled"_s);
    mainQueue.drainAll();

    EXPECT_FALSE(chat->isDictating());
    EXPECT_EQ(chat->typedText(), u"go on"_s);
}

TEST_F(ChatDictation, leavingTheViewStopsIt)
{
    openChat();
    dictate(u"go on"_s);
    chat->setVisible(false);

    EXPECT_FALSE(chat->isDictating());
    EXPECT_EQ(microphone.recordings, 0);
    EXPECT_TRUE(calls.isEmpty());
    EXPECT_EQ(chat->typedText(), u"go on"_s);
}

TEST_F(ChatDictation, closingTheChatStopsIt)
{
    openChat();
    dictate(u"go on"_s);
    chat.reset();
    EXPECT_EQ(microphone.recordings, 0);
    microphone.speak({ 1, 1, 1 });
    understand(u"go on and on"_s);
}

TEST_F(ChatDictation, aSessionThatTakesNoTextIsNotDictatedTo)
{
    openChat();
    change([](VantrySession &s) { s.setAlive(false); });
    dictate();
    EXPECT_FALSE(chat->isDictating());
}

TEST_F(ChatDictation, aSessionThatFinishesEndsItAndKeepsTheText)
{
    openChat();
    dictate(u"go on"_s);
    change([](VantrySession &s) { s.setAlive(false); });

    EXPECT_FALSE(chat->isDictating());
    EXPECT_EQ(microphone.recordings, 0);
    EXPECT_TRUE(calls.isEmpty());
    EXPECT_EQ(chat->typedText(), u"go on"_s);
}

} // namespace
} // namespace vantry::test
