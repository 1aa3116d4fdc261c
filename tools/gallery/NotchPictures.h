#pragma once

#include "gallery/Pictures.h"

#include <vector>

namespace vantry::gallery {

/// Adds the pictures of the notch with what it shows, over a light or a dark desktop. Their names begin with "notch-".
void addNotchPictures(std::vector<Picture> &all);

} // namespace vantry::gallery
