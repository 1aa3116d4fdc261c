#include "platform/linux/LinuxSpeechRecogniser.h"

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

const QString program = QStringLiteral(VANTRY_SPEECH_PROGRAM);

class LinuxSpeechRecogniserTest : public ::testing::Test
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
    LinuxSpeechRecogniser recogniser { program, LinuxSpeechRecogniser::systemModel() };
};

/// A program that stands for the recogniser's.
class Script
{
public:
    explicit Script(const QByteArray &text)
    {
        QFile file(path());
        EXPECT_TRUE(file.open(QFile::WriteOnly));
        file.write("#!/bin/sh\n" + text);
        file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
    [[nodiscard]] QString path() const { return m_folder.filePath(u"recogniser"_s); }

private:
    const QTemporaryDir m_folder;
};

TEST_F(LinuxSpeechRecogniserTest, itIsThereWhereItsModelIs)
{
    EXPECT_TRUE(recogniser.isAvailable());
    EXPECT_EQ(recogniser.problem(), std::nullopt);
    const LinuxSpeechRecogniser other(program, u"/nonexistent"_s);
    EXPECT_FALSE(other.isAvailable());
    EXPECT_EQ(other.problem(), u"there is no model in /nonexistent"_s);
}

TEST_F(LinuxSpeechRecogniserTest, aModelThatIsNotWholeIsNone)
{
    const QTemporaryDir folder;
    QDir(folder.path()).mkpath(u"en-us/mdef"_s);
    EXPECT_FALSE(LinuxSpeechRecogniser(program, folder.path()).isAvailable());
}

TEST_F(LinuxSpeechRecogniserTest, leaveIsGiven)
{
    using Status = SpeechRecogniser::Authorisation;
    std::optional<Status> answer;
    recogniser.requestAuthorisation([&](Status status) { mainQueue.post([&answer, status] { answer = status; }); });
    EXPECT_TRUE(mainQueue.drainWhenPosted(patience));
    EXPECT_EQ(answer, Status::Authorised);
    EXPECT_TRUE(recogniser.isAvailable());
}

TEST_F(LinuxSpeechRecogniserTest, aProgramThatDoesNotRunIsFoundOutWhenLeaveIsAskedFor)
{
    const Script script("exit 127\n");
    for (const QString &path : { u"/nonexistent"_s, script.path() }) {
        LinuxSpeechRecogniser other(path, LinuxSpeechRecogniser::systemModel());
        EXPECT_TRUE(other.isAvailable());
        other.requestAuthorisation([this](auto) { mainQueue.post([] {}); });
        EXPECT_TRUE(mainQueue.drainWhenPosted(patience));
        EXPECT_FALSE(other.isAvailable()) << path.toStdString();
        EXPECT_TRUE(other.problem().has_value());
    }
}

TEST_F(LinuxSpeechRecogniserTest, speechIsUnderstoodAsItComesAlsoWhatCameBefore)
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

TEST_F(LinuxSpeechRecogniserTest, twoAreRecognisedAtOnce)
{
    const auto silent = recogniser.makeRequest();
    const auto silentTask = recogniser.recognise(silent, handlers());
    const auto request = recogniser.makeRequest();
    append(*request, speech(u"please run the tests"_s));
    const auto task = recogniser.recognise(request, handlers());
    waitForResult(u"test"_s);
}

TEST_F(LinuxSpeechRecogniserTest, aCancelledRecognitionTellsNothingMore)
{
    {
        LinuxSpeechRecogniser other(program, LinuxSpeechRecogniser::systemModel());
        const auto request = other.makeRequest();
        const auto task = other.recognise(request, handlers());
        append(*request, speech(u"please run the tests"_s));
        task->cancel();
        append(*request, { 0, 0, 0 });
        request->endAudio();
        other.makeRequest()->append(std::vector<float> { 0, 0, 0 });
    }
    mainQueue.drain();
    EXPECT_TRUE(results.isEmpty());
    EXPECT_TRUE(failures.isEmpty());
}

TEST_F(LinuxSpeechRecogniserTest, aRequestThatIsNeverRecognisedIsForgotten)
{
    const auto request = recogniser.makeRequest();
    append(*request, { 0, 0, 0 });
    request->endAudio();
}

TEST_F(LinuxSpeechRecogniserTest, aDamagedModelIsAFailureAndNothingElse)
{
    const QTemporaryDir folder;
    for (const QString &file : { u"en-us/mdef"_s, u"en-us.lm.bin"_s, u"cmudict-en-us.dict"_s }) {
        QDir(folder.path()).mkpath(u"en-us"_s);
        QFile damaged(folder.filePath(file));
        EXPECT_TRUE(damaged.open(QFile::WriteOnly));
        damaged.write(QByteArray(4096, '\x7f'));
    }
    LinuxSpeechRecogniser other(program, folder.path());
    EXPECT_TRUE(other.isAvailable());
    const auto request = other.makeRequest();
    const auto task = other.recognise(request, handlers());
    append(*request, speech(u"please"_s));
    EXPECT_TRUE(mainQueue.drainWhenPosted(patience));
    EXPECT_EQ(failures, QStringList { u"The speech model can't be loaded"_s });
    EXPECT_TRUE(results.isEmpty());
}

TEST_F(LinuxSpeechRecogniserTest, aProgramThatCannotBeStartedIsAFailure)
{
    LinuxSpeechRecogniser other(u"/nonexistent"_s, {});
    const auto task = other.recognise(other.makeRequest(), handlers());
    EXPECT_TRUE(mainQueue.drainWhenPosted(patience));
    EXPECT_EQ(failures, QStringList { u"/nonexistent can't be started"_s });
}

TEST_F(LinuxSpeechRecogniserTest, aProgramThatIsKilledIsAFailureAndWhatItToldStays)
{
    const Script script("echo; echo first; read _; echo; kill -9 $$\n");
    LinuxSpeechRecogniser other(script.path(), {});
    const auto request = other.makeRequest();
    const auto task = other.recognise(request, handlers());
    waitForResult(u"first"_s);
    // A line feed, by its code.
    request->append(std::vector<float>(1, 10 / 32767.0F));
    while (failures.isEmpty())
        ASSERT_TRUE(mainQueue.drainWhenPosted(patience));
    EXPECT_EQ(failures, QStringList { u"The speech recogniser has ended"_s });
    EXPECT_EQ(results, QStringList { u"first"_s });
    append(*request, { 0, 0, 0 });
    request->endAudio();
}

TEST_F(LinuxSpeechRecogniserTest, oddOutputIsTakenAsFarAsItGoes)
{
    const Script script(
        "printf '\\n\\377\\000x\\n'; head -c 300000 /dev/zero | tr '\\0' a; printf '\\nlast\\nunfinished'\n");
    LinuxSpeechRecogniser other(script.path(), {});
    const auto task = other.recognise(other.makeRequest(), handlers());
    waitForResult(u"last"_s);
    EXPECT_TRUE(failures.isEmpty());
}

TEST_F(LinuxSpeechRecogniserTest, aProgramThatHangsIsEndedWithTheRecognition)
{
    const Script script("trap '' TERM; while :; do sleep 1; done\n");
    LinuxSpeechRecogniser other(script.path(), {});
    auto request = other.makeRequest();
    auto task = other.recognise(request, handlers());
    append(*request, std::vector<float>(Microphone::sampleRate, 0.0F));
    task.reset();
    const auto second = other.recognise(other.makeRequest(), handlers());
}

TEST_F(LinuxSpeechRecogniserTest, aProgramThatFallsBehindByMinutesIsGivenUp)
{
    const Script script("echo; while :; do sleep 1; done\n");
    LinuxSpeechRecogniser other(script.path(), {});
    const auto request = other.makeRequest();
    const auto task = other.recognise(request, handlers());
    const std::vector<float> minute(std::size_t { 60 } * Microphone::sampleRate, 0.0F);
    for (int i = 0; i < 8; ++i)
        request->append(minute);
    EXPECT_TRUE(mainQueue.drainWhenPosted(patience));
    EXPECT_EQ(failures.size(), 1);
}

} // namespace
} // namespace vantry::test
