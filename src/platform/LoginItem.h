#pragma once

#include <QString>

#include <functional>
#include <optional>

namespace vantry {

/// Whether the program starts when the user logs in.
class LoginItem
{
public:
    virtual ~LoginItem() = default;

    // These two wait for the disk: any thread but the main one, one at a time.

    [[nodiscard]] virtual bool isEnabled() const = 0;
    /// Gives why it could not be set.
    [[nodiscard]] virtual std::optional<QString> setEnabled(bool isEnabled) = 0;

    /// Called when somebody may have changed it, here or elsewhere. Null: nobody is told, and nothing is watched. Main
    /// thread only.
    virtual void setOnChanged(std::function<void()> changed) = 0;
};

} // namespace vantry
