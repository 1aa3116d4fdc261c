#pragma once

#include "gallery/Pictures.h"

#include <vector>

namespace vantry::gallery {

/// Adds the pictures of the set-up, whose names begin with "onboarding-".
void addOnboardingPictures(std::vector<Picture> &all);

} // namespace vantry::gallery
