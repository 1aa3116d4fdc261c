#include "hooks/ExtensionInstaller.h"

#include <gtest/gtest.h>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;

TEST(ExtensionInstaller, knowsAnEditorByItsCommand)
{
    const ExtensionInstaller::IDEStatus status { .name = u"Visual Studio Code"_s, .command = u"code"_s };
    EXPECT_EQ(status.id(), u"code"_s);
    EXPECT_FALSE(status.isDetected);
    EXPECT_FALSE(status.isInstalled);
}

} // namespace
} // namespace vantry::test
