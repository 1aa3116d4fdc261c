// The last 50 messages of a transcript of 100 MB: against a pass that only finds the line ends, against "wc -l" with
// the file out of the cache, and read again when the file has grown by 10 MB. Medians of alternating rounds.

#include "base/Subprocess.h"
#include "transcripts/RealisticTranscript.h"
#include "transcripts/TranscriptFile.h"
#include "transcripts/TranscriptMessageReader.h"

#include <QCoreApplication>
#include <QTemporaryDir>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <functional>
#include <vector>

using namespace vantry;

namespace {

constexpr std::size_t megabyte = std::size_t { 1 } << 20;
constexpr std::size_t fileSize = 100 * megabyte;
constexpr std::size_t growth = 10 * megabyte;
constexpr qsizetype limit = 50;
constexpr int rounds = 15;
constexpr int coldRounds = 7;

double wallMilliseconds()
{
    return Seconds(SystemClock().monotonicNow().time_since_epoch()).count() * 1e3;
}

/// In milliseconds. What two threads share counts once.
double taken(const std::function<void()> &work)
{
    const double before = wallMilliseconds();
    work();
    return wallMilliseconds() - before;
}

double median(std::vector<double> values)
{
    std::ranges::sort(values);
    return values.at(values.size() / 2);
}

/// How many lines end in the file, by a look at its pages.
std::size_t countLineEnds(const QString &path)
{
    const FileDescriptor file(::open(path.toUtf8().constData(), O_RDONLY | O_CLOEXEC));
    const auto size = static_cast<std::size_t>(lseek(file.get(), 0, SEEK_END));
    void *const pages = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, file.get(), 0);
    if (pages == MAP_FAILED)
        std::exit(1);
    const char *position = static_cast<const char *>(pages);
    const char *const end = position + size;
    std::size_t count = 0;
    while (const void *found = std::memchr(position, '\n', static_cast<std::size_t>(end - position))) {
        position = static_cast<const char *>(found) + 1;
        ++count;
    }
    munmap(pages, size);
    return count;
}

void putOutOfTheCache(const QString &path)
{
    const FileDescriptor file(::open(path.toUtf8().constData(), O_RDONLY | O_CLOEXEC));
    if (fdatasync(file.get()) != 0 || posix_fadvise(file.get(), 0, 0, POSIX_FADV_DONTNEED) != 0)
        std::exit(1);
}

void require(bool condition)
{
    if (!condition)
        std::exit(1);
}

void measureWarm(const QString &path)
{
    std::vector<double> ends;
    std::vector<double> messages;
    for (int round = 0; round < rounds; ++round) {
        ends.push_back(taken([&] { require(countLineEnds(path) > 0); }));
        messages.push_back(taken([&] { require(parseMessages(path, limit).size() == limit); }));
    }
    std::printf("warm: line ends %.1f ms, messages %.1f ms, throughput %.2f of it (at least 0.25)\n", median(ends),
                median(messages), median(ends) / median(messages));
}

void measureCold(const QString &path)
{
    const Subprocess count { .executable = QStringLiteral("/usr/bin/wc"),
                             .arguments = { QStringLiteral("-l"), path },
                             .workingDirectory = QStringLiteral("/"),
                             .removedVariables = {},
                             .addedVariables = {},
                             .timeout = std::chrono::seconds { 60 } };
    std::vector<double> counts;
    std::vector<double> messages;
    for (int round = 0; round < coldRounds; ++round) {
        putOutOfTheCache(path);
        counts.push_back(taken([&] { require(count.run().exitStatus == 0); }));
        putOutOfTheCache(path);
        messages.push_back(taken([&] { require(parseMessages(path, limit).size() == limit); }));
    }
    std::printf("cold: wc -l %.0f ms, messages %.0f ms, throughput %.2f of it (at least 0.8)\n", median(counts),
                median(messages), median(counts) / median(messages));
}

void measureGrowth(const QString &path)
{
    std::vector<double> first;
    std::vector<double> again;
    bench::RealisticTranscript transcript(2);
    for (int round = 0; round < rounds; ++round) {
        require(truncate(path.toUtf8().constData(), fileSize) == 0);
        TranscriptMessageReader reader(path, limit);
        first.push_back(taken([&] { require(reader.read().size() == limit); }));
        transcript.append(path, growth);
        again.push_back(taken([&] { require(reader.read().size() == limit); }));
    }
    std::printf("grown by a tenth: first %.1f ms, again %.1f ms, %.3f of it\n", median(first), median(again),
                median(again) / median(first));
}

long peakMemory()
{
    rusage usage {};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    // Beside the program: the folder for temporary files may be no disk.
    const QTemporaryDir folder(QCoreApplication::applicationDirPath() + QStringLiteral("/transcripts-XXXXXX"));
    const QString path = folder.filePath(QStringLiteral("t.jsonl"));
    bench::RealisticTranscript().append(path, fileSize);

    const long before = peakMemory();
    require(parseMessages(path, limit).size() == limit);
    std::printf("memory: %ld KB more than before\n", peakMemory() - before);
    measureWarm(path);
    measureCold(path);
    measureGrowth(path);
    return 0;
}
