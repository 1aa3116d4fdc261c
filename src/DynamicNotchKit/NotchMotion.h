#pragma once

#include "DynamicNotchKit/Fade.h"
#include "DynamicNotchKit/NotchForm.h"
#include "DynamicNotchKit/Spring.h"

#include <array>
#include <optional>

namespace vantry {

/// Moves the surface from form to form, by springs, or, for who wants no motion, by fading one form over the other. Any
/// thread, one at a time.
class NotchMotion
{
public:
    /// Is there at once.
    void jumpTo(const NotchForm &form);
    /// Goes on from where it is, with the velocity that it has.
    void springTo(const NotchForm &form, const SpringAnimation &animation, MonotonicTime now);
    /// Shows the new form and the former one together: the larger one fades, the smaller one just stands, so that what
    /// both cover stays covered.
    void fadeTo(const NotchForm &form, MonotonicTime now);
    void advance(MonotonicTime now);

    [[nodiscard]] bool isMoving() const;
    [[nodiscard]] const NotchForm &form() const { return m_form; }
    [[nodiscard]] double opacity() const;
    /// What the form fades over.
    [[nodiscard]] const std::optional<NotchForm> &formerForm() const { return m_formerForm; }
    [[nodiscard]] double formerOpacity() const;

private:
    std::array<Spring, NotchForm::members.size()> m_springs {};
    NotchForm m_form;
    std::optional<NotchForm> m_formerForm;
    Fade m_fade { 1 }; ///< From the former form to the present one.
};

} // namespace vantry
