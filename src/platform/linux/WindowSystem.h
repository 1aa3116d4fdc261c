#pragma once

namespace vantry {

/// Makes the toolkit draw by the window system that answers: X11, also where it runs beside a Wayland desktop, since
/// windows can be placed there alone; else Wayland. What the user has chosen (QT_QPA_PLATFORM) stays. False when none
/// answers: the toolkit would end the process. Before the application object.
[[nodiscard]] bool chooseWindowSystem();

/// Whether an X server takes connections at DISPLAY. Any thread.
[[nodiscard]] bool x11Answers();

} // namespace vantry
