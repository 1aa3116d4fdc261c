#pragma once

#include "gallery/Pictures.h"

#include <vector>

namespace vantry::gallery {

/// Adds the pictures of the notch surface alone, over a light or a dark desktop: its states, and the steps of its
/// motion. Their names begin with "surface-".
void addNotchSurfacePictures(std::vector<Picture> &all);

} // namespace vantry::gallery
