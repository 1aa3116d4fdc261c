#pragma once

namespace vantry {

/// The steps of the set-up, in their order.
enum class OnboardingStep { welcome, capabilities, checkDependencies, installHook, sounds, displayMode, done };

} // namespace vantry
