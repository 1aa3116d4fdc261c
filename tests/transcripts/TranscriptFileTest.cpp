#include "transcripts/TranscriptFile.h"

#include <QFile>
#include <QTemporaryDir>

#include <gmock/gmock.h>

#include <sys/stat.h>

namespace vantry {
namespace {

using testing::Eq;
using testing::Optional;

class TranscriptFileTest : public testing::Test
{
protected:
    QString path(const QString &name) const { return m_folder.filePath(name); }

    QString write(const QByteArray &bytes) const
    {
        QFile file(path(QStringLiteral("t.jsonl")));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
        return file.fileName();
    }

private:
    QTemporaryDir m_folder;
};

TEST_F(TranscriptFileTest, readsAnyPartOfARegularFile)
{
    const auto file = TranscriptFile::open(write("0123456789"));
    ASSERT_TRUE(file);

    EXPECT_EQ(file->size(), 10U);
    EXPECT_THAT(file->read(2, 3), Optional(Eq("234")));
    EXPECT_THAT(file->read(8, 100), Optional(Eq("89")));
    EXPECT_THAT(file->read(100, 5), Optional(Eq("")));
}

TEST_F(TranscriptFileTest, opensNothingButRegularFiles)
{
    const QString fifo = path(QStringLiteral("fifo"));
    ASSERT_EQ(mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);

    EXPECT_FALSE(TranscriptFile::open(fifo));
    EXPECT_FALSE(TranscriptFile::open(path(QString())));
    EXPECT_FALSE(TranscriptFile::open(QStringLiteral("/dev/zero")));
    EXPECT_FALSE(TranscriptFile::open(path(QStringLiteral("missing"))));
    EXPECT_FALSE(TranscriptFile::open(QString()));
}

} // namespace
} // namespace vantry
