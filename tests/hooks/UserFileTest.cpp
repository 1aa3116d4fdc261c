#include "hooks/UserFile.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace vantry {
namespace {

using namespace Qt::StringLiterals;

class UserFile : public ::testing::Test
{
protected:
    void write(const QByteArray &bytes) const
    {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_EQ(file.write(bytes), bytes.size());
    }
    [[nodiscard]] QByteArray content() const { return readRegularFile(path).value_or("(missing)"); }

    static JsonText marked(JsonText value)
    {
        value.set("ours", JsonText::boolean(true));
        return value;
    }

    QTemporaryDir folder;
    QString path { folder.filePath(u"settings.json"_s) };
};

TEST_F(UserFile, isReplacedByItsEditedValue)
{
    write("{\"a\":1}");

    EXPECT_TRUE(editJsonFile(path, marked));

    EXPECT_EQ(content(), "{\n  \"a\": 1,\n  \"ours\": true\n}\n");
}

TEST_F(UserFile, isLeftAloneWhenItChangedWhileItWasEdited)
{
    write("{}");

    EXPECT_FALSE(editJsonFile(path, [this](JsonText value) {
        write("{\"theirs\":1}");
        return marked(std::move(value));
    }));

    EXPECT_EQ(content(), "{\"theirs\":1}");
    EXPECT_EQ(QDir(folder.path()).entryList(QDir::Files | QDir::Hidden), QStringList({ u"settings.json"_s }));
}

TEST_F(UserFile, isLeftAloneWhenSomebodyElseMadeItMeanwhile)
{
    EXPECT_FALSE(editJsonFile(path, [this](JsonText value) {
        write("{}");
        return marked(std::move(value));
    }));

    EXPECT_EQ(content(), "{}");
}

TEST_F(UserFile, isNotMadeAgainWhenSomebodyElseRemovedItMeanwhile)
{
    write("{}");

    EXPECT_FALSE(editJsonFile(path, [this](JsonText value) {
        EXPECT_TRUE(QFile::remove(path));
        return marked(std::move(value));
    }));

    EXPECT_FALSE(QFile::exists(path));
}

TEST_F(UserFile, isAnEmptyObjectWhileItIsMissing)
{
    EXPECT_EQ(readJsonFile(path).toPrettyText(), JsonText::object().toPrettyText());
    EXPECT_EQ(readRegularFile(path), std::nullopt);
}

TEST_F(UserFile, failsWithThePathAndTheReason)
{
    write("{");

    try {
        EXPECT_TRUE(readJsonFile(path).isObject());
        FAIL() << "no exception";
    } catch (const std::runtime_error &error) {
        EXPECT_EQ(QString::fromUtf8(error.what()).indexOf(path + u": not valid JSON"_s), 0);
    }
}

} // namespace
} // namespace vantry
