#pragma once

#include <QString>

#include <functional>

namespace vantry {

/// How the user wants programs to look. Main thread only.
class DesktopPreferences
{
public:
    /// The defaults are for a desktop that says nothing.
    struct Values
    {
        bool prefersDark { false };
        bool highContrast { false };
        bool reducedMotion { false };
        double textScale { 1.0 };   ///< From 0.5 to 3.
        QString fontFamily {};      ///< Of the interface; empty: the toolkit's own.
        QString fixedFontFamily {}; ///< Of code; empty: the toolkit's own.

        friend bool operator==(const Values &, const Values &) = default;
    };

    virtual ~DesktopPreferences() = default;

    [[nodiscard]] virtual const Values &values() const = 0;

    /// Called after the values have changed. One observer; it goes before the port, or clears this.
    std::function<void()> onChanged;
};

} // namespace vantry
