#include "platform/linux/LinuxLoginItem.h"

#include "support/WaitFor.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gmock/gmock.h>

#include <unistd.h>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;
using ::testing::HasSubstr;

class LinuxLoginItemTest : public testing::Test
{
protected:
    void write(const QByteArray &bytes) const
    {
        ASSERT_TRUE(QDir().mkpath(QFileInfo(path).path()));
        QFile file(path);
        ASSERT_TRUE(file.open(QFile::WriteOnly));
        file.write(bytes);
    }
    [[nodiscard]] std::string text() const
    {
        QFile file(path);
        return file.open(QFile::ReadOnly) ? file.readAll().toStdString() : std::string();
    }

    QTemporaryDir folder;
    QString path { folder.filePath(u"autostart/com.vantry.app.desktop"_s) };
    LinuxLoginItem item { path, u"/usr/bin/vantry"_s };
};

TEST_F(LinuxLoginItemTest, isOffWithoutAnEntry)
{
    EXPECT_FALSE(item.isEnabled());
    EXPECT_FALSE(item.setEnabled(false)) << "off already";
}

TEST_F(LinuxLoginItemTest, writesAnEntryAndTakesItAwayAgain)
{
    EXPECT_FALSE(item.setEnabled(true));
    EXPECT_TRUE(item.isEnabled());
    EXPECT_THAT(text(), HasSubstr("[Desktop Entry]\nType=Application\nName=Vantry\n"));
    EXPECT_THAT(text(), HasSubstr("\nExec=\"/usr/bin/vantry\"\n"));

    EXPECT_FALSE(item.setEnabled(false));
    EXPECT_FALSE(item.isEnabled());
    EXPECT_FALSE(QFileInfo::exists(path));
}

TEST_F(LinuxLoginItemTest, quotesTheProgramsPathAsEntriesDo)
{
    const auto exec = [](const QString &program) { return LinuxLoginItem::execValue(program).toStdString(); };
    EXPECT_EQ(exec(u"/opt/My Tools/vantry"_s), R"("/opt/My Tools/vantry")");
    EXPECT_EQ(exec(u"/opt/100%/vantry"_s), R"("/opt/100%%/vantry")");
    // Once for the quotes, and once for the value as a text.
    EXPECT_EQ(exec(uR"(/a"b/$HOME/`c`/d\e)"_s), R"("/a\\"b/\\$HOME/\\`c\\`/d\\\\e")");
    EXPECT_EQ(exec(u"/a\nb\tc"_s), R"("/a\nb\tc")");
    EXPECT_EQ(exec(u"/tür/vantry"_s), R"("/tür/vantry")");
}

TEST_F(LinuxLoginItemTest, countsAnEntryThatIsHiddenOrSwitchedOffAsOff)
{
    const QByteArray entry = "[Desktop Entry]\nType=Application\nExec=vantry\n";
    write(entry);
    EXPECT_TRUE(item.isEnabled());
    write(entry + "Hidden=true\n");
    EXPECT_FALSE(item.isEnabled());
    write(entry + "X-GNOME-Autostart-enabled=false\n");
    EXPECT_FALSE(item.isEnabled());
    write(entry + "X-GNOME-Autostart-enabled=true\nHidden = false\n");
    EXPECT_TRUE(item.isEnabled());
    write(entry + "[Desktop Action x]\nHidden=true\n");
    EXPECT_TRUE(item.isEnabled()) << "another group's";
}

TEST_F(LinuxLoginItemTest, countsWhatIsNoEntryAsOff)
{
    for (const QByteArray &bytes :
         { QByteArray(), QByteArray("\xff\xfe\0\n=\n[", 7), QByteArray("[Desktop Entry]\nExec=\n"),
           QByteArray("Exec=vantry\n"), QByteArray(1 << 20, 'x') }) {
        write(bytes);
        EXPECT_FALSE(item.isEnabled());
    }
}

TEST_F(LinuxLoginItemTest, replacesAnEntryOfOthersOnlyWhenItIsTurnedOn)
{
    write("[Desktop Entry]\nExec=other\nHidden=true\n");
    EXPECT_FALSE(item.isEnabled());
    EXPECT_THAT(text(), HasSubstr("Exec=other"));

    EXPECT_FALSE(item.setEnabled(true));
    EXPECT_TRUE(item.isEnabled());
    EXPECT_THAT(text(), HasSubstr("Exec=\"/usr/bin/vantry\""));
}

TEST_F(LinuxLoginItemTest, saysWhyItCannotBeSet)
{
    ASSERT_TRUE(QDir().mkpath(path + u"/inside"_s));

    EXPECT_TRUE(item.setEnabled(true));
    EXPECT_TRUE(item.setEnabled(false));
    EXPECT_FALSE(item.isEnabled());

    QFile inTheWay(folder.filePath(u"file"_s));
    ASSERT_TRUE(inTheWay.open(QFile::WriteOnly));
    LinuxLoginItem below(folder.filePath(u"file/autostart/x.desktop"_s), u"/usr/bin/vantry"_s);
    EXPECT_TRUE(below.setEnabled(true));
    EXPECT_FALSE(below.isEnabled());
}

TEST_F(LinuxLoginItemTest, tellsOfChangesFromOutsideWhileSomebodyListens)
{
    int told = 0;
    item.setOnChanged([&told] { ++told; });

    write("[Desktop Entry]\nExec=vantry\n");
    EXPECT_TRUE(waitFor([&] { return told > 0 && item.isEnabled(); })) << "its folder wasn't there either";
    told = 0;
    write("[Desktop Entry]\nExec=vantry\nHidden=true\n");
    EXPECT_TRUE(waitFor([&] { return told > 0; }));
    told = 0;
    ASSERT_TRUE(QFile::remove(path));
    EXPECT_TRUE(waitFor([&] { return told > 0; }));
    told = 0;
    EXPECT_FALSE(item.setEnabled(true));
    EXPECT_TRUE(waitFor([&] { return told > 0; }));

    item.setOnChanged({});
    EXPECT_FALSE(item.setEnabled(false));
}

} // namespace
} // namespace vantry::test
