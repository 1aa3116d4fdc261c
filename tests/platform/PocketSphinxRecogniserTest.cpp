#include "platform/linux/PocketSphinxRecogniser.h"

#include "platform/linux/SphinxDecoder.h"
#include "support/ManualMainQueue.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;

/// The model takes its time on a busy machine.
constexpr std::chrono::seconds patience { 60 };

/// Speech, with some silence around it.
std::vector<float> speech(const QString &text)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(u"speech.wav"_s);
    EXPECT_EQ(QProcess::execute(u"flite"_s, { u"-voice"_s, u"slt"_s, u"-t"_s, text, u"-o"_s, path }), 0);
    QFile file(path);
    EXPECT_TRUE(file.open(QFile::ReadOnly));
    constexpr qsizetype headerSize = 44;
    const QByteArray bytes = file.readAll().mid(headerSize);
    std::vector<std::int16_t> samples(static_cast<std::size_t>(bytes.size()) / 2);
    std::memcpy(samples.data(), bytes.constData(), samples.size() * 2);

    std::vector<float> all(Microphone::sampleRate / 3, 0.0F);
    for (const std::int16_t sample : samples)
        all.push_back(static_cast<float>(sample) / 32768);
    all.insert(all.end(), Microphone::sampleRate, 0.0F);
    return all;
}

void append(SpeechRecogniser::Request &request, const std::vector<float> &samples)
{
    constexpr std::size_t frames = Microphone::framesPerBlock;
    const Microphone::Block all(samples);
    for (std::size_t i = 0; i < all.size(); i += frames)
        request.append(all.subspan(i, std::min(frames, all.size() - i)));
}

class PocketSphinxRecogniserTest : public ::testing::Test
{
protected:
    [[nodiscard]] SpeechRecogniser::Handlers handlers()
    {
        return { [this](const QString &text) { mainQueue.post([this, text] { results.append(text); }); },
                 [this](const SpeechRecogniser::Failure &failure) {
                     mainQueue.post([this, failure] { failures.append(failure.description); });
                 } };
    }
    /// Lets the results come until this one is there.
    void waitForResult(const QString &words)
    {
        while (results.isEmpty() || !results.constLast().contains(words))
            ASSERT_TRUE(mainQueue.drainWhenPosted(patience));
    }

    ManualMainQueue mainQueue;
    QStringList results;
    QStringList failures;
    PocketSphinxRecogniser recogniser { SphinxDecoder::systemModel() };
};

TEST_F(PocketSphinxRecogniserTest, itIsThereWhereItsModelIs)
{
    EXPECT_TRUE(recogniser.isAvailable());
    EXPECT_FALSE(PocketSphinxRecogniser(u"/nonexistent"_s).isAvailable());
}

TEST_F(PocketSphinxRecogniserTest, aModelThatIsNotWholeIsNone)
{
    const QTemporaryDir folder;
    QDir(folder.path()).mkpath(u"en-us/mdef"_s);
    EXPECT_FALSE(PocketSphinxRecogniser(folder.path()).isAvailable());
}

TEST_F(PocketSphinxRecogniserTest, leaveIsGiven)
{
    using Status = SpeechRecogniser::Authorisation;
    std::optional<Status> answer;
    recogniser.requestAuthorisation([&](Status status) { mainQueue.post([&answer, status] { answer = status; }); });
    EXPECT_TRUE(mainQueue.drainWhenPosted(patience));
    EXPECT_EQ(answer, Status::Authorised);
    EXPECT_TRUE(recogniser.isAvailable());
}

TEST_F(PocketSphinxRecogniserTest, speechIsUnderstoodAsItComesAlsoWhatCameBefore)
{
    const auto request = recogniser.makeRequest();
    append(*request, speech(u"please run the tests"_s));
    const auto task = recogniser.recognise(request, handlers());
    waitForResult(u"test"_s);
    EXPECT_GT(results.size(), 1) << "no partial results";
    EXPECT_TRUE(results.constLast().startsWith(u"please"_s));

    append(*request, speech(u"show me the results"_s));
    request->endAudio();
    waitForResult(u"results"_s);
    EXPECT_TRUE(results.constLast().contains(u"test"_s)) << "a pause does not end it";
    EXPECT_TRUE(failures.isEmpty());
}

TEST_F(PocketSphinxRecogniserTest, aCancelledRecognitionTellsNothingMore)
{
    const auto request = recogniser.makeRequest();
    const auto task = recogniser.recognise(request, handlers());
    append(*request, speech(u"please run the tests"_s));
    task->cancel();
    append(*request, { 0, 0, 0 });
    request->endAudio();
    // Comes after all that.
    recogniser.requestAuthorisation([this](auto) { mainQueue.post([] {}); });
    EXPECT_TRUE(mainQueue.drainWhenPosted(patience));

    EXPECT_TRUE(results.isEmpty());
    EXPECT_TRUE(failures.isEmpty());
}

TEST_F(PocketSphinxRecogniserTest, aRequestThatIsNeverRecognisedIsForgotten)
{
    const auto request = recogniser.makeRequest();
    append(*request, { 0, 0, 0 });
    request->endAudio();
}

} // namespace
} // namespace vantry::test
