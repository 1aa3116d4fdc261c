#include "base/DebugLog.h"

#include <benchmark/benchmark.h>

#include <QFile>
#include <QTemporaryDir>

#include <fcntl.h>
#include <unistd.h>

#include <string>

namespace {

constexpr std::string_view message =
    "HTTPHookServer: received PreToolUse for session 3f0d9a64-6a0c-4d0e-9f5b-8c0a4d7b1e2f";

/// Where both write, so that they meet the same file system; emptied before each run.
std::string logPath()
{
    static const QTemporaryDir folder;
    return QFile::encodeName(folder.filePath(QStringLiteral("debug.log"))).toStdString();
}

/// The limit: nothing but the write of a finished line to a descriptor that is open.
void bareWrite(benchmark::State &state)
{
    const int file = open(logPath().c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, 0600);
    const std::string line = "[2026-01-31T09:05:07Z] " + std::string(message) + "\n";
    for (auto _ : state)
        benchmark::DoNotOptimize(write(file, line.data(), line.size()));
    close(file);
}
BENCHMARK(bareWrite);

/// A service's line; goal: at most 2 us.
void generalWriter(benchmark::State &state)
{
    unlink(logPath().c_str());
    const vantry::SystemClock clock;
    vantry::DebugLog log(QFile::decodeName(logPath().c_str()), clock);
    for (auto _ : state)
        log.general().write(message);
}
BENCHMARK(generalWriter);

/// The same with text that has to be escaped.
void generalWriterEscaping(benchmark::State &state)
{
    unlink(logPath().c_str());
    const vantry::SystemClock clock;
    vantry::DebugLog log(QFile::decodeName(logPath().c_str()), clock);
    const std::string text = std::string(message) + "\ngr\u00FC\u00DFe";
    for (auto _ : state)
        log.general().write(text);
}
BENCHMARK(generalWriterEscaping);

} // namespace

BENCHMARK_MAIN();
