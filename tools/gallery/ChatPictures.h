#pragma once

#include "gallery/Pictures.h"

#include <vector>

namespace vantry::gallery {

/// Adds the pictures of the chat, whose names begin with "chat-".
void addChatPictures(std::vector<Picture> &all);

} // namespace vantry::gallery
