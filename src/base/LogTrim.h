#pragma once

#include <cstddef>
#include <string>

namespace vantry {

/// Cuts a text file down to its last pieces between line feeds (the text behind the last line feed is one, empty or
/// not), if it holds more of them. The file is replaced in one step, with mode 0600, through a symbolic link to its
/// target; only the part that is kept is read. Failures are ignored, and what is no regular file is left alone.
void trimToLastPieces(const std::string &path, std::size_t pieces);

} // namespace vantry
