#include "DynamicNotchKit/NotchMotion.h"

#include <algorithm>

namespace vantry {

namespace {

constexpr std::chrono::milliseconds fadeDuration { 100 };

/// A length rests when it is less than a tenth of a pixel away.
double restOf(double NotchForm::*member)
{
    constexpr double ofLengths = 0.1;
    constexpr double ofParts = 0.005;
    return member == &NotchForm::expansion || member == &NotchForm::compaction ? ofParts : ofLengths;
}

} // namespace

void NotchMotion::jumpTo(const NotchForm &form)
{
    for (std::size_t i = 0; i < m_springs.size(); ++i)
        m_springs[i].jumpTo(form.*NotchForm::members[i]);
    m_form = form;
    m_formerForm.reset();
    m_fade.jumpTo(1);
}

void NotchMotion::springTo(const NotchForm &form, const SpringAnimation &animation, MonotonicTime now)
{
    for (std::size_t i = 0; i < m_springs.size(); ++i)
        m_springs[i].moveTo(form.*NotchForm::members[i], animation, now);
    advance(now);
}

void NotchMotion::fadeTo(const NotchForm &form, MonotonicTime now)
{
    if (form == m_form)
        return;
    const NotchForm former = m_form;
    jumpTo(form);
    m_formerForm = former;
    m_fade.jumpTo(0);
    m_fade.moveTo(1, fadeDuration, now);
}

void NotchMotion::advance(MonotonicTime now)
{
    for (std::size_t i = 0; i < m_springs.size(); ++i) {
        m_springs[i].advance(now, restOf(NotchForm::members[i]));
        m_form.*NotchForm::members[i] = m_springs[i].value();
    }
    m_fade.advance(now);
    if (!m_fade.isMoving())
        m_formerForm.reset();
}

bool NotchMotion::isMoving() const
{
    return m_formerForm || std::ranges::any_of(m_springs, &Spring::isMoving);
}

double NotchMotion::opacity() const
{
    const bool isLarger = !m_formerForm || m_form.height >= m_formerForm->height;
    return isLarger ? m_fade.value() : 1;
}

double NotchMotion::formerOpacity() const
{
    if (!m_formerForm)
        return 0;
    const bool isLarger = m_formerForm->height > m_form.height;
    return isLarger ? 1 - m_fade.value() : 1;
}

} // namespace vantry
