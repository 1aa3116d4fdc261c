#pragma once

#include "DynamicNotchKit/DynamicNotchStyle.h"
#include "DynamicNotchKit/Spring.h"

#include <optional>

namespace vantry {

/// How the surface moves; what is unset is as the defaults are.
struct DynamicNotchTransitionConfiguration
{
    std::optional<SpringAnimation> openingAnimation {};    ///< With a window that has just been made.
    std::optional<SpringAnimation> closingAnimation {};    ///< To a smaller form.
    std::optional<SpringAnimation> conversionAnimation {}; ///< Between forms of a window that is there.
    /// Reserved for surfaces that hide between two forms; this one never does.
    bool skipIntermediateHides { false };

    [[nodiscard]] SpringAnimation opening(const DynamicNotchStyle &resolvedStyle) const;
    [[nodiscard]] SpringAnimation closing() const;
    [[nodiscard]] SpringAnimation conversion() const;
};

} // namespace vantry
