#include "transcripts/PlainTranscript.h"
#include "transcripts/TranscriptMessageReader.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>

namespace {

using namespace vantry;

/// What holds for any bytes must hold; a broken rule ends the run, and libFuzzer keeps the bytes.
void require(bool condition)
{
    if (!condition)
        std::abort();
}

/// A file in memory, which has a path like any other.
class MemoryFile
{
public:
    MemoryFile()
        : m_descriptor(memfd_create("transcript", MFD_CLOEXEC))
    {
        require(m_descriptor >= 0);
    }

    [[nodiscard]] QString path() const { return QStringLiteral("/proc/self/fd/%1").arg(m_descriptor); }

    void write(const QByteArray &bytes)
    {
        require(ftruncate(m_descriptor, 0) == 0);
        require(pwrite(m_descriptor, bytes.data(), static_cast<std::size_t>(bytes.size()), 0) == bytes.size());
    }

private:
    int m_descriptor;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static MemoryFile &file = *new MemoryFile; // Lives as long as the process.
    const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    constexpr qsizetype all = 1'000'000;

    file.write(bytes);
    const auto plain = test::PlainTranscript::messages(bytes);
    require(test::withoutMadeUpIDs(parseMessages(file.path(), all)) == test::withoutMadeUpIDs(plain));

    // The same in two steps.
    file.write(bytes.first(bytes.size() / 2));
    TranscriptMessageReader reader(file.path(), all);
    static_cast<void>(reader.read());
    file.write(bytes);
    require(reader.read() == parseMessages(file.path(), all));
    return 0;
}
