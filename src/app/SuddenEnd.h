#pragma once

#include <functional>

namespace vantry {

/// Has the program end in order where the toolkit ends the process at once: it does so when the display has gone, be it
/// that the server died or that the user logged out. The process ends right after that, with an exit status that tells
/// of a failure, and without the ends of statics and of windows that have lost their server. One at a time in a
/// process.
class SuddenEnd final
{
public:
    /// On the main thread, after the application object. `onEnd` runs there, at most once.
    explicit SuddenEnd(std::function<void()> onEnd);
    ~SuddenEnd();
    SuddenEnd(const SuddenEnd &) = delete;
    SuddenEnd &operator=(const SuddenEnd &) = delete;
};

} // namespace vantry
