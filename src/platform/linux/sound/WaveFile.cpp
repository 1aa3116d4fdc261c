#include "platform/linux/sound/WaveFile.h"

#include <cstddef>

namespace vantry {
namespace {

/// A little-endian number that begins at `at`, which lies that far before the end.
template <typename Number>
Number numberAt(std::string_view bytes, std::size_t at)
{
    Number number = 0;
    for (std::size_t i = 0; i < sizeof number; ++i)
        number =
            static_cast<Number>(number | static_cast<Number>(static_cast<unsigned char>(bytes[at + i])) << (8 * i));
    return number;
}

/// Takes the format from a "fmt " chunk; false when it isn't the plain kind.
bool takeFormat(std::string_view chunk, WaveFile &wave)
{
    constexpr std::size_t size = 16;
    constexpr std::uint16_t plain = 1;
    if (chunk.size() < size)
        return false;
    wave.channels = numberAt<std::uint16_t>(chunk, 2);
    wave.sampleRate = numberAt<std::uint32_t>(chunk, 4);
    const auto bits = numberAt<std::uint16_t>(chunk, 14);
    return numberAt<std::uint16_t>(chunk, 0) == plain && bits == 16 && (wave.channels == 1 || wave.channels == 2) &&
           wave.sampleRate >= 8'000 && wave.sampleRate <= 192'000;
}

} // namespace

std::optional<WaveFile> WaveFile::parse(std::string_view bytes)
{
    constexpr std::size_t fileHeader = 12;
    constexpr std::size_t chunkHeader = 8;
    if (bytes.size() < fileHeader || !bytes.starts_with("RIFF") || bytes.substr(8, 4) != "WAVE")
        return std::nullopt;
    bytes.remove_prefix(fileHeader);

    WaveFile wave {};
    bool hasFormat = false;
    while (bytes.size() >= chunkHeader) {
        const std::string_view kind = bytes.substr(0, 4);
        const auto size = numberAt<std::uint32_t>(bytes, 4);
        bytes.remove_prefix(chunkHeader);
        const std::string_view chunk = bytes.substr(0, size);
        if (kind == "data") {
            const std::size_t frame = 2U * wave.channels;
            wave.samples = hasFormat ? chunk.substr(0, chunk.size() / frame * frame) : std::string_view();
            return wave.samples.empty() ? std::nullopt : std::optional(wave);
        }
        if (kind == "fmt ") {
            hasFormat = takeFormat(chunk, wave);
            if (!hasFormat)
                return std::nullopt;
        }
        const std::size_t padded = std::size_t { size } + size % 2;
        bytes.remove_prefix(padded < bytes.size() ? padded : bytes.size());
    }
    return std::nullopt;
}

} // namespace vantry
