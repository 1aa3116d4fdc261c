#include "panels/AudioLevel.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace vantry {

namespace {

/// In lanes, since the compiler may not reorder one sum of floats.
float meanSquare(Microphone::Block block)
{
    constexpr std::size_t width = 8;
    std::array<float, width> lanes {};
    const std::size_t inLanes = block.size() - block.size() % width;
    for (std::size_t i = 0; i < inLanes; i += width) {
        for (std::size_t lane = 0; lane < width; ++lane)
            lanes[lane] += block[i + lane] * block[i + lane];
    }
    float sum = 0;
    for (const float lane : lanes)
        sum += lane;
    for (const float sample : block.subspan(inLanes))
        sum += sample * sample;
    return sum / static_cast<float>(block.size());
}

} // namespace

std::optional<float> audioLevel(Microphone::Block block)
{
    constexpr float range = 50;
    if (block.empty())
        return std::nullopt;
    const float rms = std::sqrt(meanSquare(block));
    const float db = rms > 0 ? 20 * std::log10(rms) + range : -10;
    return std::clamp(db / range, 0.0F, 1.0F);
}

} // namespace vantry
