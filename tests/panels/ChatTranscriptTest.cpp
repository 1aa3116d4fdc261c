#include "panels/ChatTranscript.h"

#include "support/ManualMainQueue.h"

#include <QFile>
#include <QStringList>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <future>
#include <optional>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;

class ChatTranscriptTest : public ::testing::Test
{
protected:
    ChatTranscriptTest()
    {
        transcript.emplace(workers, mainQueue);
        transcript->onRead = [this](const std::vector<TranscriptMessage> &messages) {
            QStringList texts;
            for (const TranscriptMessage &message : messages)
                texts.append(message.text);
            results.append(texts.join(u' '));
        };
    }

    [[nodiscard]] QString path(const QString &name) const { return folder.filePath(name); }
    void append(const QString &name, const QByteArray &text) const
    {
        QFile file(path(name));
        ASSERT_TRUE(file.open(QFile::Append));
        file.write(R"({"type":"user","message":{"content":")" + text + "\"}}\n");
    }
    void settle()
    {
        do
            workers.waitForDone();
        while (mainQueue.drainAll() > 0);
    }

    QTemporaryDir folder;
    ManualMainQueue mainQueue;
    WorkerPool workers { 1 };
    std::optional<ChatTranscript> transcript;
    QStringList results;
};

TEST_F(ChatTranscriptTest, givesWhatStandsInTheFile)
{
    append(u"a"_s, "one");
    transcript->read(path(u"a"_s));
    settle();
    append(u"a"_s, "two");
    transcript->read(path(u"a"_s));
    settle();

    EXPECT_EQ(results, QStringList({ u"one"_s, u"one two"_s }));
}

TEST_F(ChatTranscriptTest, aFileThatIsNotThereGivesNothing)
{
    transcript->read(path(u"missing"_s));
    settle();

    EXPECT_EQ(results, QStringList { QString() });
}

TEST_F(ChatTranscriptTest, whateverIsAskedMeanwhileOneReadFollows)
{
    append(u"a"_s, "one");
    std::promise<void> mayGoOn;
    workers.run([&mayGoOn] { mayGoOn.get_future().wait(); });
    for (int i = 0; i < 100; ++i)
        transcript->read(path(u"a"_s));
    mayGoOn.set_value();
    settle();

    EXPECT_EQ(results, QStringList({ u"one"_s, u"one"_s }));
}

TEST_F(ChatTranscriptTest, whatIsReadOfAFileThatIsNoLongerWantedIsDropped)
{
    append(u"a"_s, "one");
    append(u"b"_s, "two");
    transcript->read(path(u"a"_s));
    transcript->read(path(u"b"_s));
    settle();

    EXPECT_EQ(results, QStringList { u"two"_s });
}

TEST_F(ChatTranscriptTest, whatIsReadAfterItHasGoneIsDropped)
{
    append(u"a"_s, "one");
    transcript->read(path(u"a"_s));
    workers.waitForDone();
    transcript.reset();
    settle();

    EXPECT_TRUE(results.isEmpty());
}

TEST_F(ChatTranscriptTest, aReadThatHasNotBegunWhenItGoesIsLeftOut)
{
    append(u"a"_s, "one");
    std::promise<void> mayGoOn;
    workers.run([&mayGoOn] { mayGoOn.get_future().wait(); });
    transcript->read(path(u"a"_s));
    transcript.reset();
    mayGoOn.set_value();
    workers.waitForDone();

    EXPECT_EQ(mainQueue.drainAll(), 0U);
}

} // namespace
} // namespace vantry::test
