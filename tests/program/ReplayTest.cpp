#include "Vantry.h"

#include <gtest/gtest.h>

namespace vantry::test {
namespace {

/// The developer's tool that plays a recorded session.
TEST(Replay, playsARecordingIntoTheRunningProgram)
{
    Vantry vantry;
    vantry.start();
    const auto replay = vantry.other(VANTRY_CHECKOUT "/tools/replay", { VANTRY_FIXTURES "/sequences/allow.jsonl",
                                                                        "--speed", "100", "--project", vantry.home() });

    const std::string announced = replay->nextLine();
    ASSERT_EQ(announced.substr(0, 8), "session ");
    const std::string id = announced.substr(8);
    ASSERT_TRUE(vantry.shows(id, "heldPermissions", 1));
    EXPECT_EQ(vantry.session(id).at("cwd"), vantry.home().toStdString());
    ASSERT_EQ(vantry.run({ "allow", QString::fromStdString(id) }).exitCode, 0);

    EXPECT_EQ(replay->finish().exitCode, 0);
    EXPECT_TRUE(vantry.shows(id, "statusText", "Finished"));
}

} // namespace
} // namespace vantry::test
