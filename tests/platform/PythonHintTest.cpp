#include "platform/linux/PythonHint.h"

#include <gtest/gtest.h>

namespace vantry {
namespace {

using namespace Qt::StringLiterals;

TEST(PythonHint, fitsThePackageManager)
{
    EXPECT_EQ(pythonHint("ID=debian"), u"sudo apt install python3"_s);
    EXPECT_EQ(pythonHint("ID=ubuntu\nID_LIKE=debian\n"), u"sudo apt install python3"_s);
    EXPECT_EQ(pythonHint("ID=fedora"), u"sudo dnf install python3"_s);
    EXPECT_EQ(pythonHint("ID=\"rhel\""), u"sudo dnf install python3"_s);
    EXPECT_EQ(pythonHint("ID=arch"), u"sudo pacman -S python"_s);
    EXPECT_EQ(pythonHint("ID=\"opensuse-tumbleweed\"\nID_LIKE=\"opensuse suse\""), u"sudo zypper install python3"_s);
    EXPECT_EQ(pythonHint("ID=alpine"), u"sudo apk add python3"_s);
}

TEST(PythonHint, knowsADistributionByThoseItIsMadeFrom)
{
    EXPECT_EQ(pythonHint("NAME=x\nID=linuxmint\nID_LIKE='ubuntu debian'\n"), u"sudo apt install python3"_s);
    EXPECT_EQ(pythonHint("ID=rocky\nID_LIKE=\"rhel centos fedora\"\n"), u"sudo dnf install python3"_s);
    EXPECT_EQ(pythonHint("ID_LIKE=arch\nID=endeavouros\n"), u"sudo pacman -S python"_s);
}

TEST(PythonHint, namesThePackageWhereItKnowsNoCommand)
{
    EXPECT_EQ(pythonHint(""), u"python3"_s);
    EXPECT_EQ(pythonHint("ID"), u"python3"_s);
    EXPECT_EQ(pythonHint("ID="), u"python3"_s);
    EXPECT_EQ(pythonHint("ID=nixos\nVERSION_ID=debian\nIDLE=arch"), u"python3"_s);
    EXPECT_EQ(pythonHint("\xff\xfe=\"\n\"\""), u"python3"_s);
}

TEST(PythonHint, knowsThisMachine)
{
    EXPECT_FALSE(pythonHint().isEmpty());
}

} // namespace
} // namespace vantry
