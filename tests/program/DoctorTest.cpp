#include "Vantry.h"

#include <QDir>
#include <QFile>

#include <gmock/gmock.h>

#include <csignal>

namespace vantry::test {
namespace {

constexpr auto others = QFile::ReadGroup | QFile::ExeGroup | QFile::ReadOther | QFile::ExeOther;

Json checkNamed(const CommandResult &result, const char *name)
{
    const Json document = Json::parse(result.out);
    for (const Json &check : document.at("checks")) {
        if (check.at("name") == name)
            return check;
    }
    return {};
}

TEST(DoctorCommand, changesNothing)
{
    Vantry vantry;

    const CommandResult result = vantry.run({ "doctor", "--json" });

    EXPECT_EQ(result.exitCode, 1) << "the hook is missing";
    EXPECT_EQ(checkNamed(result, "data folder").at("ok"), true);
    for (const QString &path :
         QStringList { vantry.dataFolder(), vantry.home() + "/config/Vantry", vantry.home() + "/.claude" })
        EXPECT_FALSE(QFile::exists(path)) << path.toStdString();
}

TEST(DoctorCommand, tellsOfAFolderThatIsOpenToOthers)
{
    Vantry vantry;
    QDir().mkpath(vantry.dataFolder());
    QFile::setPermissions(vantry.dataFolder(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner | others);

    const CommandResult result = vantry.run({ "doctor", "--json" });

    EXPECT_EQ(checkNamed(result, "data folder").at("ok"), false);
    EXPECT_TRUE(QFile::permissions(vantry.dataFolder()) & QFile::ReadOther) << "it is left as it is";
}

TEST(DoctorCommand, isDoneWhenNothingIsMissing)
{
    Vantry vantry;
    vantry.start();
    ASSERT_EQ(vantry.run({ "hook", "install" }).exitCode, 0);

    const CommandResult result = vantry.run({ "doctor" });

    EXPECT_EQ(result.exitCode, 0) << result.out << result.err;
    EXPECT_THAT(result.out, ::testing::HasSubstr("The agent's hook is installed for all events"));
}

TEST(DoctorCommand, tellsOfAVantryThatHangs)
{
    Vantry vantry;
    vantry.start();
    vantry.application().sendSignal(SIGSTOP);

    const CommandResult result = vantry.run({ "doctor", "--json" });
    vantry.application().sendSignal(SIGCONT);

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(checkNamed(result, "application").at("detail"), "The running Vantry did not answer");
    EXPECT_THAT(checkNamed(result, "listener").at("detail").get<std::string>(),
                ::testing::EndsWith("which does not answer"));
}

} // namespace
} // namespace vantry::test
