#include "InstalledHook.h"

#include <gtest/gtest.h>

namespace vantry::test {

InstalledHook::InstalledHook(const Vantry &vantry)
    : m_vantry(vantry)
{
    const CommandResult installation = vantry.run({ "hook", "install" });
    EXPECT_EQ(installation.exitCode, 0) << installation.err;
}

std::unique_ptr<ChildProcess> InstalledHook::begin(std::string_view payload) const
{
    QProcessEnvironment environment;
    environment.insert("CLAUDE_PID", QString::number(m_agent.pid()));
    const QString script = m_vantry.home() + "/.claude/hooks/vantry_hook.py";
    auto hook = m_vantry.other("python3", { script, "--port", "49152" }, environment);
    hook->write(payload.data(), static_cast<qint64>(payload.size()));
    while (hook->bytesToWrite() > 0 && hook->waitForBytesWritten()) {
    }
    hook->closeWriteChannel();
    return hook;
}

std::string InstalledHook::run(std::string_view payload) const
{
    const CommandResult result = begin(payload)->finish();
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    return result.out;
}

} // namespace vantry::test
