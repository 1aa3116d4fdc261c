#pragma once

#include <string_view>

namespace vantry {

/// Whether a request may come from a program of this machine's user, judged by its header block (request line included,
/// without the empty line): no browser has made it (an "Origin", or a "Sec-Fetch-Site" other than "none"), and every
/// "Host", where there is one, is this machine's loopback name or address, with or without a port. A page that a
/// browser has loaded can reach the port, too, under a name of its own choosing. A pure function, any thread.
[[nodiscard]] bool isFromLocalProgram(std::string_view headerBlock);

} // namespace vantry
