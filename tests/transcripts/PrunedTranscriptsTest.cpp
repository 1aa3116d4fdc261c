#include "base/Dates.h"
#include "transcripts/TranscriptIndexerFixture.h"

#include <fcntl.h>
#include <sys/stat.h>

namespace vantry::test {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

/// More sessions than are kept.
class PrunedTranscripts : public TranscriptIndexerFixture
{
protected:
    static constexpr int kept = 1000;

    /// Transcripts, each an hour newer than the one before it, whatever their files' dates.
    void putMany(int count)
    {
        for (int i = 0; i < count; ++i)
            put(folderName, QString::number(i), userAt(i, "common word"));
    }
    [[nodiscard]] static QByteArray userAt(int hours, const QByteArray &prompt)
    {
        const Date date = *parseIsoDate(u"2026-01-01T00:00:00.000Z") + std::chrono::hours(hours);
        return R"({"type":"user","message":{"content":")" + prompt + R"("},"timestamp":")" +
               isoMilliseconds(date).toUtf8() + "\"}\n";
    }
    void prune(int limit = kept)
    {
        m_store.queue().sync([&] { m_store.prune(limit); });
        for (int turns = 0; indexed().size() > limit && turns < 1000; ++turns)
            m_store.queue().sync([] {});
    }
    /// How many transcripts are read at another start of the program, if any.
    [[nodiscard]] qsizetype readAtNextStart()
    {
        closeStore();
        openStore();
        m_progress.clear();
        start();
        return m_progress.isEmpty() ? 0 : m_progress[0].total;
    }
};

TEST_F(PrunedTranscripts, addsAllAtFirst)
{
    putMany(kept + 200);

    start();

    EXPECT_EQ(indexed().size(), kept + 200);
}

TEST_F(PrunedTranscripts, areNotReadAgain)
{
    putMany(kept + 200);
    start();
    prune();
    ASSERT_EQ(indexed().size(), kept);
    m_log.clear();

    EXPECT_EQ(readAtNextStart(), 0);

    EXPECT_EQ(indexed().size(), kept);
    EXPECT_FALSE(indexed().contains(QStringLiteral("199")));
    EXPECT_TRUE(indexed().contains(QStringLiteral("200")));
    EXPECT_THAT(m_log.lines(), IsEmpty());
}

TEST_F(PrunedTranscripts, areReadAgainWhenTheyGrew)
{
    putMany(5);
    start();
    prune(3);

    put(folderName, QStringLiteral("1"), userAt(1, "common word") + userAt(9, "grown"));

    EXPECT_EQ(readAtNextStart(), 1);
    EXPECT_THAT(found(QStringLiteral("grown")), ElementsAre(QStringLiteral("1")));
    prune(3);
    EXPECT_THAT(indexed(), UnorderedElementsAre(QStringLiteral("1"), QStringLiteral("3"), QStringLiteral("4")));
    EXPECT_EQ(readAtNextStart(), 0) << "nor the one that gave way";
}

TEST_F(PrunedTranscripts, areReadOnceMoreWhenTheyGrewInVain)
{
    putMany(5);
    start();
    prune(3);

    put(folderName, QStringLiteral("0"), userAt(0, "common word") + userAt(1, "still old"));

    EXPECT_EQ(readAtNextStart(), 1);
    prune(3);
    EXPECT_EQ(readAtNextStart(), 0);
}

TEST_F(PrunedTranscripts, areReadAgainWhenOthersHaveTheSameSize)
{
    putMany(5);
    start();
    prune(3);

    put(folderName, QStringLiteral("1"), userAt(1, "another one"));
    const timespec times[2] { { 1000, 0 }, { 1000, 1 } };
    ASSERT_EQ(utimensat(AT_FDCWD, QFile::encodeName(path(folderName, QStringLiteral("1"))).constData(), times, 0), 0);

    EXPECT_EQ(readAtNextStart(), 1);
}

TEST_F(PrunedTranscripts, letNewOnesIn)
{
    putMany(5);
    start();
    prune(3);

    put(folderName, QStringLiteral("new"), userAt(9, "new words"));

    EXPECT_EQ(readAtNextStart(), 1);
    EXPECT_THAT(found(QStringLiteral("new")), ElementsAre(QStringLiteral("new")));
}

TEST_F(PrunedTranscripts, areReadOnceWhenOnlyTheirEventsHadBeenSeen)
{
    putMany(5);
    for (const char *id : { "0", "1" }) {
        m_clock.advance(1s);
        saveSession(QString::fromLatin1(id));
        m_store.updateSearchIndex(QString::fromLatin1(id), QStringLiteral("events"), {}, {});
    }
    makeRebuilt();
    start();
    EXPECT_EQ(indexed().size(), 5);

    prune(0);

    EXPECT_EQ(readAtNextStart(), 2);
    prune(0);
    EXPECT_EQ(readAtNextStart(), 0);
}

TEST_F(PrunedTranscripts, areNotReadAgainWhenTwoAreOfOneSession)
{
    put(QStringLiteral("-a"), QStringLiteral("s"), userAt(0, "older"));
    put(QStringLiteral("-b"), QStringLiteral("s"), userAt(1, "newer"));
    start();
    prune(0);

    EXPECT_EQ(readAtNextStart(), 0);
}

TEST_F(PrunedTranscripts, areAllReadForAnotherFormOfTheIndex)
{
    putMany(5);
    start();
    prune(3);
    m_defaults.remove(rebuiltKey);

    EXPECT_EQ(readAtNextStart(), 5);
    EXPECT_EQ(indexed().size(), 5);
}

TEST_F(PrunedTranscripts, areAllReadForAnotherFormOfAnIndexThatIsEmpty)
{
    putMany(5);
    start();
    prune(0);
    m_defaults.remove(rebuiltKey);

    EXPECT_EQ(readAtNextStart(), 5);
}

TEST_F(PrunedTranscripts, areAllReadAfterTheIndexWasCleared)
{
    putMany(5);
    start();
    prune(3);
    m_store.queue().sync([this] { m_store.clearSearchIndex(); });

    EXPECT_EQ(readAtNextStart(), 5);
}

TEST_F(PrunedTranscripts, areAllReadIntoANewDatabase)
{
    putMany(5);
    start();
    prune(3);
    closeStore();
    for (const char *suffix : { "", "-wal", "-shm" })
        QFile::remove(m_store.dbPath() + QString::fromLatin1(suffix));

    EXPECT_EQ(readAtNextStart(), 5);
}

TEST_F(PrunedTranscripts, areReadAgainByTheNextStartWhenTheyCouldNotBeWritten)
{
    putMany(1);
    closeStore();
    SessionStore readOnly(m_store.dbPath(), m_clock, m_log, SessionStore::Access::ReadOnly);
    readOnly.queue().sync([&] { readOnly.open(); });
    start(readOnly);

    EXPECT_EQ(readAtNextStart(), 1);
}

TEST_F(PrunedTranscripts, mayHaveAnyDate)
{
    putMany(2);
    const timespec early[2] { { -1, 0 }, { -1, 999'999'999 } };
    const timespec late[2] { { 1, 0 }, { 15'000'000'000, 0 } };
    ASSERT_EQ(utimensat(AT_FDCWD, QFile::encodeName(path(folderName, QStringLiteral("0"))).constData(), early, 0), 0);
    ASSERT_EQ(utimensat(AT_FDCWD, QFile::encodeName(path(folderName, QStringLiteral("1"))).constData(), late, 0), 0);
    start();
    prune(0);

    EXPECT_EQ(readAtNextStart(), 0);
}

} // namespace
} // namespace vantry::test
