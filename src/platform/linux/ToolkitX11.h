#pragma once

#include "platform/linux/X11Connection.h"

#include <QRect>

#include <string_view>

class QScreen;

namespace vantry::toolkitX11 {

// The X server that the toolkit draws by. Main thread only, after the application object.

/// The toolkit's own connection; null where it doesn't draw by X11.
[[nodiscard]] xcb_connection_t *connection();
/// The atom of this name, which is made where it is missing; XCB_ATOM_NONE when the connection is lost.
[[nodiscard]] xcb_atom_t atom(std::string_view name);
/// The window that owns the selection; XCB_NONE when nobody does.
[[nodiscard]] xcb_window_t ownerOf(xcb_atom_t selection);

/// The kind of the event, whoever sent it.
[[nodiscard]] std::uint8_t kindOf(const xcb_generic_event_t &event);
/// Where the screen is, in the server's pixels.
[[nodiscard]] QRect pixelsOf(const QScreen &screen);

} // namespace vantry::toolkitX11
