#pragma once

#include "gallery/Pictures.h"

#include <vector>

namespace vantry::gallery {

/// Adds the pictures of the settings' window. Their names begin with "settings-".
void addSettingsPictures(std::vector<Picture> &all);

} // namespace vantry::gallery
