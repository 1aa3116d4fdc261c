#include "base/DesktopEntry.h"

#include <gtest/gtest.h>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;

QString programOf(const std::string &exec)
{
    return DesktopEntry("[Desktop Entry]\nExec=" + exec + "\n").program();
}

TEST(DesktopEntryTest, readsItsMainGroupAlone)
{
    const DesktopEntry entry("Exec=before\n[Desktop Entry]\n# Exec=comment\n Name = Vantry \r\nExec=vantry\nnonsense\n"
                             "[Desktop Action x]\nExec=other\n");

    EXPECT_EQ(entry.value(u"Name"_s), u"Vantry");
    EXPECT_EQ(entry.value(u"Exec"_s), u"vantry");
    EXPECT_EQ(entry.value(u"Icon"_s, u"none"_s), u"none");
}

TEST(DesktopEntryTest, isSwitchedOffWhenItIsHiddenOrDisabled)
{
    const std::string entry = "[Desktop Entry]\nExec=vantry\n";
    EXPECT_FALSE(DesktopEntry(entry).isSwitchedOff());
    EXPECT_FALSE(DesktopEntry(entry + "Hidden=false\nX-GNOME-Autostart-enabled=true\n").isSwitchedOff());
    EXPECT_TRUE(DesktopEntry(entry + "Hidden=true\n").isSwitchedOff());
    EXPECT_TRUE(DesktopEntry(entry + "X-GNOME-Autostart-enabled=false\n").isSwitchedOff());
    EXPECT_FALSE(DesktopEntry(std::string("\0\xff", 2)).isSwitchedOff());
}

TEST(DesktopEntryTest, tellsTheProgramWithoutQuotesAndEscapes)
{
    EXPECT_EQ(programOf("vantry --headless"), u"vantry");
    EXPECT_EQ(programOf(R"("/opt/my tools/vantry" %U)"), u"/opt/my tools/vantry");
    EXPECT_EQ(programOf(R"("/opt/50%%/vantry")"), u"/opt/50%/vantry");
    EXPECT_EQ(programOf(R"("/opt/a\\$b\\"c\\\\d/vantry")"), uR"(/opt/a$b"c\d/vantry)");
    EXPECT_EQ(programOf(R"("/opt/unended)"), u"/opt/unended");
    EXPECT_EQ(programOf("\\"), u"\\");
    EXPECT_EQ(programOf(""), u"");
}

} // namespace
} // namespace vantry::test
