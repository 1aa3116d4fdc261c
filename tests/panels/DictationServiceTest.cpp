#include "panels/DictationService.h"

#include "panels/AudioLevel.h"
#include "support/FakeMicrophone.h"
#include "support/FakeSpeechRecogniser.h"
#include "support/ManualMainQueue.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <thread>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;
using Status = SpeechRecogniser::Authorisation;

std::vector<float> blockOf(float sample, std::size_t frames = 1024)
{
    return std::vector<float>(frames, sample);
}

class DictationServiceTest : public ::testing::Test
{
protected:
    static QList<qreal> silence() { return QList<qreal>(7, 0.0); }
    void makeService() { service = std::make_unique<DictationService>(microphone, &recogniser, mainQueue); }
    void start()
    {
        service->start();
        mainQueue.drainAll();
    }
    void speak(const std::vector<float> &samples)
    {
        microphone.speak(samples);
        mainQueue.drainAll();
    }
    void understand(const QString &text)
    {
        recogniser.understand(text);
        mainQueue.drainAll();
    }
    void fail(int code, const QString &description)
    {
        recogniser.fail(code, description);
        mainQueue.drainAll();
    }
    /// What the completion was told, one after another.
    std::vector<bool> requestAuthorization()
    {
        auto answers = std::make_shared<std::vector<bool>>();
        service->requestAuthorization([answers](bool isGranted) { answers->push_back(isGranted); });
        mainQueue.drainAll();
        return *answers;
    }

    ManualMainQueue mainQueue;
    FakeMicrophone microphone;
    FakeSpeechRecogniser recogniser;
    std::unique_ptr<DictationService> service = std::make_unique<DictationService>(microphone, &recogniser, mainQueue);
};

// Loudness

TEST(AudioLevelTest, aSilentBlockIsAtZero)
{
    EXPECT_EQ(audioLevel(blockOf(0)), 0.0F);
}

TEST(AudioLevelTest, aFullScaleBlockIsAtOneAndNothingIsAbove)
{
    EXPECT_FLOAT_EQ(audioLevel(blockOf(1)).value(), 1);
    EXPECT_FLOAT_EQ(audioLevel(blockOf(-1)).value(), 1);
    EXPECT_EQ(audioLevel(blockOf(100)), 1.0F);
}

TEST(AudioLevelTest, fiftyDecibelsSpanTheRange)
{
    EXPECT_NEAR(audioLevel(blockOf(0.1F)).value(), 0.6, 1e-5) << "-20 dB";
    EXPECT_NEAR(audioLevel(blockOf(std::pow(10.0F, -2.0F))).value(), 0.2, 1e-5) << "-40 dB";
    EXPECT_NEAR(audioLevel(blockOf(std::pow(10.0F, -2.5F))).value(), 0, 1e-5) << "-50 dB";
    EXPECT_EQ(audioLevel(blockOf(1e-4F)), 0.0F) << "-80 dB";
}

TEST(AudioLevelTest, everySampleCounts)
{
    for (const std::size_t frames : { 1U, 7U, 8U, 9U, 1023U, 1024U }) {
        std::vector<float> block(frames);
        for (const std::size_t loud : { std::size_t { 0 }, frames - 1 }) {
            block.assign(frames, 0);
            block[loud] = 1;
            const float expected = (20 * std::log10(std::sqrt(1 / static_cast<float>(frames))) + 50) / 50;
            EXPECT_NEAR(audioLevel(block).value(), expected, 1e-5) << frames << " frames, number " << loud;
        }
    }
}

TEST(AudioLevelTest, anEmptyBlockHasNone)
{
    EXPECT_EQ(audioLevel({}), std::nullopt);
}

TEST(AudioLevelTest, samplesThatAreNoNumbersStayWithinTheRange)
{
    EXPECT_EQ(audioLevel(blockOf(std::numeric_limits<float>::quiet_NaN())), 0.0F);
    EXPECT_EQ(audioLevel(blockOf(std::numeric_limits<float>::infinity())), 1.0F);
    EXPECT_EQ(audioLevel(blockOf(std::numeric_limits<float>::max())), 1.0F);
}

// Leave

TEST_F(DictationServiceTest, leaveIsForSpeechAndForTheMicrophone)
{
    EXPECT_EQ(requestAuthorization(), std::vector { true });
    EXPECT_EQ(service->error(), std::nullopt);
    EXPECT_FALSE(service->isListening());
}

TEST_F(DictationServiceTest, withoutLeaveForSpeechTheMicrophoneIsNotAskedFor)
{
    for (const Status status : { Status::NotDetermined, Status::Denied, Status::Restricted }) {
        makeService();
        recogniser.authorisation = status;
        EXPECT_EQ(requestAuthorization(), std::vector { false });
        EXPECT_EQ(service->error(), u"Speech recognition not authorized"_s);
        EXPECT_EQ(microphone.accessRequests, 0);
    }
}

TEST_F(DictationServiceTest, leaveForTheMicrophoneMayBeRefused)
{
    microphone.isGranted = false;
    EXPECT_EQ(requestAuthorization(), std::vector { false });
    EXPECT_EQ(service->error(), u"Microphone access not authorized"_s);
}

TEST_F(DictationServiceTest, theAnswerComesOnTheMainThread)
{
    recogniser.answersAuthorisation = false;
    microphone.answersAccess = false;
    std::vector<bool> answers;
    service->requestAuthorization([&](bool isGranted) { answers.push_back(isGranted); });
    std::thread([this] { recogniser.heldAuthorisation(Status::Authorised); }).join();
    EXPECT_EQ(microphone.accessRequests, 0) << "asked by the other thread";
    mainQueue.drainAll();
    std::thread([this] { microphone.heldAccess(true); }).join();
    EXPECT_TRUE(answers.empty());
    mainQueue.drainAll();

    EXPECT_EQ(answers, std::vector { true });
}

TEST_F(DictationServiceTest, nothingHappensWhenTheServiceGoesBeforeTheAnswer)
{
    const auto unexpected = [](bool) { ADD_FAILURE() << "there is nobody left"; };
    recogniser.answersAuthorisation = false;
    service->requestAuthorization(unexpected);
    service.reset();
    recogniser.heldAuthorisation(Status::Authorised);
    mainQueue.drainAll();
    EXPECT_EQ(microphone.accessRequests, 0);

    recogniser.answersAuthorisation = true;
    microphone.answersAccess = false;
    makeService();
    service->requestAuthorization(unexpected);
    mainQueue.drainAll();
    microphone.heldAccess(true);
    service.reset();
    mainQueue.drainAll();
}

// Listening

TEST_F(DictationServiceTest, isQuietAtFirst)
{
    EXPECT_EQ(service->transcript(), QString());
    EXPECT_FALSE(service->isListening());
    EXPECT_EQ(service->error(), std::nullopt);
    EXPECT_EQ(service->audioLevels(), silence());
}

TEST_F(DictationServiceTest, whatIsSpokenIsRecognised)
{
    start();
    EXPECT_TRUE(service->isListening());
    speak(blockOf(1));
    speak(blockOf(1, 100));
    EXPECT_EQ(recogniser.request->frames, 1124U);
    understand(u"go"_s);
    EXPECT_EQ(service->transcript(), u"go"_s);
    understand(u"go on"_s);
    EXPECT_EQ(service->transcript(), u"go on"_s);
    EXPECT_TRUE(service->isListening()) << "no result ends it";
}

TEST_F(DictationServiceTest, whatIsSpokenBeforeTheRecognitionHasBegunIsKept)
{
    microphone.answersStart = false;
    service->start();
    microphone.speak(blockOf(1));
    microphone.handlers.onStarted(std::nullopt);

    EXPECT_EQ(recogniser.request->frames, 1024U);
}

TEST_F(DictationServiceTest, levelsMoveUpFromTheEnd)
{
    start();
    speak(blockOf(1));
    speak(blockOf(0));
    speak(blockOf(1));
    EXPECT_EQ(service->audioLevels(), (QList<qreal> { 0, 0, 0, 0, 1, 0, 1 }));
    for (int i = 0; i < 10; ++i)
        speak(blockOf(1));
    EXPECT_EQ(service->audioLevels(), QList<qreal>(7, 1.0));
}

TEST_F(DictationServiceTest, aBlockWithoutFramesIsNoLevel)
{
    start();
    speak(blockOf(1));
    speak({});
    EXPECT_EQ(service->audioLevels().constLast(), 1);
}

TEST_F(DictationServiceTest, levelsChangeOncePerBlock)
{
    start();
    int changes = 0;
    QObject::connect(service.get(), &DictationService::audioLevelsChanged, [&changes] { ++changes; });
    speak(blockOf(1));
    speak(blockOf(0));
    EXPECT_EQ(changes, 2);
}

TEST_F(DictationServiceTest, startingWhileListeningChangesNothing)
{
    start();
    understand(u"go on"_s);
    speak(blockOf(1));
    start();

    EXPECT_EQ(service->transcript(), u"go on"_s);
    EXPECT_EQ(service->audioLevels().constLast(), 1);
    EXPECT_EQ(microphone.starts, 1);
    EXPECT_EQ(recogniser.tasks, 1);
}

TEST_F(DictationServiceTest, startingWhileTheMicrophoneIsBeingStartedChangesNothing)
{
    microphone.answersStart = false;
    start();
    start();
    EXPECT_EQ(microphone.starts, 1);
    EXPECT_FALSE(service->isListening());
    microphone.handlers.onStarted(std::nullopt);
    EXPECT_TRUE(service->isListening());
}

TEST_F(DictationServiceTest, servicesShareNothing)
{
    FakeMicrophone otherMicrophone;
    FakeSpeechRecogniser otherRecogniser;
    DictationService other(otherMicrophone, &otherRecogniser, mainQueue);
    start();
    understand(u"go on"_s);

    EXPECT_FALSE(other.isListening());
    EXPECT_EQ(other.transcript(), QString());
}

// The stop

TEST_F(DictationServiceTest, stoppingEndsEverythingButTheTranscript)
{
    start();
    speak(blockOf(1));
    understand(u"go on"_s);
    service->stop();

    EXPECT_FALSE(service->isListening());
    EXPECT_EQ(service->audioLevels(), silence());
    EXPECT_EQ(service->transcript(), u"go on"_s);
    EXPECT_EQ(microphone.recordings, 0);
    EXPECT_TRUE(recogniser.request->isEnded);
    EXPECT_EQ(recogniser.cancellations, 1);
}

TEST_F(DictationServiceTest, stoppingTwiceOrBeforeAStartDoesNothing)
{
    service->stop();
    start();
    service->stop();
    int changes = 0;
    QObject::connect(service.get(), &DictationService::isListeningChanged, [&changes] { ++changes; });
    service->stop();

    EXPECT_EQ(changes, 0);
    EXPECT_EQ(recogniser.cancellations, 1);
}

TEST_F(DictationServiceTest, aLevelThatComesAfterTheStopIsDropped)
{
    start();
    microphone.speak(blockOf(1));
    service->stop();
    mainQueue.drainAll();
    EXPECT_EQ(service->audioLevels(), silence());

    speak(blockOf(1));
    EXPECT_EQ(service->audioLevels(), silence());
}

TEST_F(DictationServiceTest, whatIsLeftOfOneDictationDoesNotReachTheNext)
{
    start();
    microphone.speak(blockOf(1));
    recogniser.understand(u"old"_s);
    recogniser.fail(1, u"old"_s);
    service->stop();
    start();

    EXPECT_TRUE(service->isListening());
    EXPECT_EQ(service->transcript(), QString());
    EXPECT_EQ(service->audioLevels(), silence());
    EXPECT_EQ(service->error(), std::nullopt);
}

TEST_F(DictationServiceTest, aStopWhileTheMicrophoneIsBeingStartedHolds)
{
    microphone.answersStart = false;
    start();
    service->stop();
    EXPECT_EQ(microphone.recordings, 0);
    microphone.handlers.onStarted(std::nullopt);
    EXPECT_FALSE(service->isListening());
    EXPECT_EQ(recogniser.tasks, 0);
}

TEST_F(DictationServiceTest, theNextStartForgetsTheTranscriptAndTheError)
{
    start();
    understand(u"go on"_s);
    fail(1, u"Too loud"_s);
    EXPECT_EQ(service->error(), u"Too loud"_s);
    start();

    EXPECT_EQ(service->transcript(), QString());
    EXPECT_EQ(service->error(), std::nullopt);
    EXPECT_TRUE(service->isListening());
}

TEST_F(DictationServiceTest, nothingHappensWhenTheServiceGoesWhileListening)
{
    start();
    microphone.speak(blockOf(1));
    recogniser.understand(u"go on"_s);
    recogniser.fail(1, u"Too loud"_s);
    service.reset();
    mainQueue.drainAll();
    speak(blockOf(1));
    EXPECT_EQ(microphone.recordings, 0);
}

// Failures

TEST_F(DictationServiceTest, withoutARecogniserSpeechIsUnavailable)
{
    service = std::make_unique<DictationService>(microphone, nullptr, mainQueue);
    EXPECT_EQ(requestAuthorization(), std::vector { true });
    start();
    EXPECT_EQ(service->error(), u"Speech recognition unavailable"_s);
    EXPECT_FALSE(service->isListening());
    EXPECT_EQ(microphone.starts, 0);
}

TEST_F(DictationServiceTest, anUnavailableRecogniserLeavesTheOldTranscript)
{
    start();
    understand(u"go on"_s);
    service->stop();
    recogniser.available = false;
    start();

    EXPECT_EQ(service->error(), u"Speech recognition unavailable"_s);
    EXPECT_EQ(service->transcript(), u"go on"_s);
    EXPECT_FALSE(service->isListening());
}

TEST_F(DictationServiceTest, aMicrophoneThatDoesNotStartSaysWhy)
{
    microphone.failure = u"No such device"_s;
    start();

    EXPECT_EQ(service->error(), u"Failed to start audio: No such device"_s);
    EXPECT_FALSE(service->isListening());
    EXPECT_EQ(microphone.recordings, 0);
    EXPECT_EQ(recogniser.tasks, 0);

    microphone.failure.reset();
    start();
    EXPECT_TRUE(service->isListening());
}

TEST_F(DictationServiceTest, aMicrophoneThatSaysSoLaterIsTheSame)
{
    microphone.answersStart = false;
    start();
    microphone.handlers.onStarted(u"No such device"_s);

    EXPECT_EQ(service->error(), u"Failed to start audio: No such device"_s);
    EXPECT_FALSE(service->isListening());
    EXPECT_EQ(microphone.recordings, 0);
}

TEST_F(DictationServiceTest, aMicrophoneThatGoesStopsListening)
{
    start();
    understand(u"go on"_s);
    microphone.handlers.onLost(u"Unplugged"_s);

    EXPECT_EQ(service->error(), u"Unplugged"_s);
    EXPECT_FALSE(service->isListening());
    EXPECT_EQ(service->transcript(), u"go on"_s);
}

TEST_F(DictationServiceTest, aRecogniserThatFailsStopsListening)
{
    start();
    fail(1, u"Too loud"_s);
    EXPECT_EQ(service->error(), u"Too loud"_s);
    EXPECT_FALSE(service->isListening());
    EXPECT_EQ(microphone.recordings, 0);
}

TEST_F(DictationServiceTest, aCancelledRecognitionStopsListeningAndIsNoError)
{
    start();
    fail(216, u"Cancelled"_s);
    EXPECT_EQ(service->error(), std::nullopt);
    EXPECT_FALSE(service->isListening());
}

} // namespace
} // namespace vantry::test
