#pragma once

namespace vantry {

/// What form the surface has.
enum class DynamicNotchState {
    expanded, ///< Open, with its content.
    compact,  ///< The notch, with something small at its sides.
    hidden    ///< Not on the screen, or about to leave it.
};

/// The parts that the surface shows.
enum class DynamicNotchSection { expanded, compactLeading, compactTrailing };

} // namespace vantry
