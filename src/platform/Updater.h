#pragma once

namespace vantry {

/// Brings newer versions of the program itself. Where the system's package manager does that there is none. Main thread
/// only.
class Updater
{
public:
    virtual ~Updater() = default;

    /// By the user's wish: tells what it finds, also when there is nothing new. Returns at once.
    virtual void checkForUpdates() = 0;
};

} // namespace vantry
