#include "app/SingleInstance.h"

#include <QFile>
#include <QTemporaryDir>

#include <gmock/gmock.h>

namespace vantry {
namespace {

using namespace Qt::StringLiterals;
using Claim = SingleInstance::Claim;

class SingleInstanceTest : public ::testing::Test
{
protected:
    QTemporaryDir folder;
    const QString lockFile { folder.filePath(u"vantry.lock"_s) };
};

TEST_F(SingleInstanceTest, oneAtATimeHoldsTheLock)
{
    SingleInstance first;
    SingleInstance second;

    EXPECT_EQ(first.claim(lockFile), Claim::Mine);
    EXPECT_EQ(second.claim(lockFile), Claim::Taken);
    EXPECT_EQ(first.claim(lockFile), Claim::Mine);
}

TEST_F(SingleInstanceTest, theLockGoesWithItsHolder)
{
    SingleInstance second;
    {
        SingleInstance first;
        EXPECT_EQ(first.claim(lockFile), Claim::Mine);
    }

    EXPECT_EQ(second.claim(lockFile), Claim::Mine);
}

TEST_F(SingleInstanceTest, theFileIsReadableByItsOwnerAlone)
{
    SingleInstance instance;
    EXPECT_EQ(instance.claim(lockFile), Claim::Mine);

    const auto others = QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther;
    EXPECT_FALSE(QFile::permissions(lockFile) & others);
}

TEST_F(SingleInstanceTest, aFileThatCannotBeMadeKeepsNobodyOut)
{
    SingleInstance instance;

    EXPECT_EQ(instance.claim(u"/nonexistent/vantry.lock"_s), Claim::Unavailable);
}

TEST_F(SingleInstanceTest, aLinkIsNotFollowed)
{
    ASSERT_TRUE(QFile::link(folder.filePath(u"elsewhere"_s), lockFile));
    SingleInstance instance;

    EXPECT_EQ(instance.claim(lockFile), Claim::Unavailable);
    EXPECT_FALSE(QFile::exists(folder.filePath(u"elsewhere"_s)));
}

} // namespace
} // namespace vantry
