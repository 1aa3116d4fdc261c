#pragma once

#include <QList>
#include <QRect>
#include <QString>

#include <functional>

namespace vantry {

/// One screen, in logical pixels of the desktop, whose y grows downwards.
struct ScreenInfo
{
    QString name {};    ///< The toolkit's; no two screens have the same at a time.
    QRect frame {};     ///< With a virtual notch: what bars leave of the screen.
    QRect available {}; ///< What bars, and a notch, leave of the frame.
    int topInset { 0 }; ///< Height of the notch, real or virtual; 0: none.
    /// What is left and right of the notch, as high as it; empty without one.
    QRect topLeftArea {};
    QRect topRightArea {};
    bool hasRealNotch { false };

    friend bool operator==(const ScreenInfo &, const ScreenInfo &) = default;
};

/// The screens there are. A screen without a notch has a virtual one, at the top centre of what bars leave of it, while
/// this is asked for. Main thread only.
class Screens
{
public:
    /// Of the virtual notch.
    static constexpr QSize virtualNotchSize { 200, 28 };

    virtual ~Screens() = default;

    /// The primary one first; empty while there are none.
    [[nodiscard]] virtual QList<ScreenInfo> screens() const = 0;
    /// Whether screens without a notch have a virtual one. True at first.
    virtual void setHasVirtualNotch(bool hasVirtualNotch) = 0;

    /// Called after screens have come, gone or changed. One observer; it goes before the port, or clears this.
    std::function<void()> onChanged;
};

} // namespace vantry
