#pragma once

#include "platform/Microphone.h"

#include <optional>

namespace vantry {

/// How loud a block is: 0 at -50 dB of full scale and below, 1 at full scale, in between by dB. Nothing for an empty
/// block. Any thread.
[[nodiscard]] std::optional<float> audioLevel(Microphone::Block block);

} // namespace vantry
