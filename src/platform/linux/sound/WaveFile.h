#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace vantry {

/// What a WAV file of the plainest kind holds: 16 bits for each sample, not compressed, one or two channels.
struct WaveFile
{
    std::uint16_t channels;
    std::uint32_t sampleRate;
    std::string_view samples; ///< Whole frames, little-endian, within the file's bytes.

    /// Nothing for all other kinds, and for what is no such file. Of one that was cut off, what is there. Any thread.
    [[nodiscard]] static std::optional<WaveFile> parse(std::string_view bytes);
};

} // namespace vantry
