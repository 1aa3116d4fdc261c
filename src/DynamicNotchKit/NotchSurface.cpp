#include "DynamicNotchKit/NotchSurface.h"

#include "DynamicNotchKit/FloatingShape.h"

#include <cmath>
#include <utility>

namespace vantry {

namespace {

constexpr std::chrono::milliseconds windowFade { 150 };
/// The longest where no motion is wanted.
constexpr std::chrono::milliseconds shortFade { 100 };
/// Of the compact sides, and of where the shape is because of them.
constexpr SpringAnimation compactWidthAnimation { 0.5, 1.0 };

} // namespace

NotchSurface::NotchSurface(const Clock &clock, DynamicNotch::Contents contents, std::function<bool()> reducedMotion)
    : m_clock(clock)
    , m_contents(std::move(contents))
    , m_reducedMotion(std::move(reducedMotion))
{}

void NotchSurface::begin(const Stage &stage)
{
    m_layout = { .style = stage.style, .notchSize = stage.notchSize, .screenSize = stage.screenSize };
    m_leadingContentWidth = 0;
    m_trailingContentWidth = 0;
    m_expandedContentSize = {};
    m_isKey = false;
    m_isHoveredStronger = false;
    m_motion.jumpTo(notchForm(m_layout));
    m_alpha.jumpTo(0);
    m_shadow.jumpTo(0);
    m_strongShadow.jumpTo(0);
    Q_EMIT stateChanged();
    Q_EMIT changed();
}

void NotchSurface::setWindow(double width, double pixelRatio)
{
    m_windowWidth = width;
    m_pixelRatio = pixelRatio;
    Q_EMIT changed();
}

void NotchSurface::setState(DynamicNotchState state, const SpringAnimation &animation)
{
    m_layout.state = state;
    // The content may still have to be made, and measured.
    m_isChangingState = true;
    Q_EMIT stateChanged();
    m_isChangingState = false;
    goTo(notchForm(m_layout), animation);
    updateShadow();
    Q_EMIT changed();
}

void NotchSurface::setKey(bool isKey)
{
    if (isKey == m_isKey)
        return;
    m_isKey = isKey;
    Q_EMIT stateChanged();
}

void NotchSurface::setHoveredStronger(bool isStronger)
{
    m_isHoveredStronger = isStronger;
    updateShadow();
    Q_EMIT changed();
}

void NotchSurface::setHasShadow(bool hasShadow)
{
    m_hasShadow = hasShadow;
    Q_EMIT changed();
}

void NotchSurface::setDisabled(DynamicNotchSection section, bool isDisabled)
{
    (section == DynamicNotchSection::compactLeading ? m_isLeadingDisabled : m_isTrailingDisabled) = isDisabled;
    measured();
}

bool NotchSurface::isDisabled(DynamicNotchSection section) const
{
    return section == DynamicNotchSection::compactLeading ? m_isLeadingDisabled : m_isTrailingDisabled;
}

void NotchSurface::fadeIn()
{
    m_alpha.moveTo(1, isStill() ? shortFade : windowFade, m_clock.monotonicNow());
    Q_EMIT changed();
}

void NotchSurface::fadeOut()
{
    m_alpha.moveTo(0, isStill() ? shortFade : windowFade, m_clock.monotonicNow());
    Q_EMIT changed();
}

void NotchSurface::advance()
{
    const MonotonicTime now = m_clock.monotonicNow();
    m_motion.advance(now);
    m_alpha.advance(now);
    m_shadow.advance(now);
    m_strongShadow.advance(now);
    Q_EMIT changed();
}

QRegion NotchSurface::region() const
{
    if (isFloating())
        return FloatingShape { bottomCornerRadius() }.region(shapeRect());
    return NotchShape { topCornerRadius(), bottomCornerRadius() }.region(shapeRect());
}

QRectF NotchSurface::formerRect() const
{
    return m_motion.formerForm() ? rectOf(*m_motion.formerForm()) : QRectF();
}

double NotchSurface::formerTopCornerRadius() const
{
    return m_motion.formerForm() ? m_motion.formerForm()->topCornerRadius : 0;
}

double NotchSurface::formerBottomCornerRadius() const
{
    return m_motion.formerForm() ? m_motion.formerForm()->bottomCornerRadius : 0;
}

QRectF NotchSurface::contentClip() const
{
    const double side = contentSideInset(m_layout.style);
    const QRectF rect = shapeRect();
    return { rect.x() + side, rect.y(), std::max(0.0, rect.width() - 2 * side),
             std::max(0.0, rect.height() - contentBottomInset) };
}

QRectF NotchSurface::expandedRect() const
{
    const QSizeF size = m_layout.boundedContentSize();
    const double top = isFloating() ? form().top + contentBottomInset : m_layout.notchSize.height();
    return { QPointF(snapped((m_windowWidth - size.width()) / 2), snapped(top)), size };
}

double NotchSurface::expandedOpacity() const
{
    return isFloating() ? 1 : expandedTransition(form().expansion).opacity * shapeOpacity();
}

double NotchSurface::expandedScale() const
{
    return isFloating() ? 1 : expandedTransition(form().expansion).scale.xScale;
}

QRectF NotchSurface::leadingRect() const
{
    const double notchLeft = (m_windowWidth - m_layout.notchSize.width()) / 2;
    return { snapped(notchLeft - m_layout.compactLeadingWidth), 0, m_layout.compactLeadingWidth,
             m_layout.notchSize.height() };
}

QRectF NotchSurface::trailingRect() const
{
    const double notchRight = (m_windowWidth + m_layout.notchSize.width()) / 2;
    return { snapped(notchRight), 0, m_layout.compactTrailingWidth, m_layout.notchSize.height() };
}

double NotchSurface::compactOpacity() const
{
    return compactTransition(form().compaction, form().expansion).opacity;
}

double NotchSurface::compactScale() const
{
    return compactTransition(form().compaction, form().expansion).scale.xScale;
}

bool NotchSurface::isAnimating() const
{
    return m_motion.isMoving() || m_alpha.isMoving() || m_shadow.isMoving() || m_strongShadow.isMoving();
}

void NotchSurface::setLeadingContentWidth(double width)
{
    m_leadingContentWidth = std::max(0.0, width);
    measured();
}

void NotchSurface::setTrailingContentWidth(double width)
{
    m_trailingContentWidth = std::max(0.0, width);
    measured();
}

void NotchSurface::setExpandedContentSize(const QSizeF &size)
{
    m_expandedContentSize = size;
    measured();
}

void NotchSurface::measured()
{
    const NotchForm before = notchForm(m_layout);
    m_layout.expandedContentSize = m_expandedContentSize;
    m_layout.compactLeadingWidth = m_isLeadingDisabled ? 0 : m_leadingContentWidth;
    m_layout.compactTrailingWidth = m_isTrailingDisabled ? 0 : m_trailingContentWidth;
    // A motion to a form that stays as it is goes on undisturbed.
    if (const NotchForm form = notchForm(m_layout); form != before && !m_isChangingState)
        goTo(form, compactWidthAnimation);
    Q_EMIT neededWindowSizeChanged();
    Q_EMIT changed();
}

void NotchSurface::goTo(const NotchForm &form, const SpringAnimation &animation)
{
    if (isStill())
        m_motion.fadeTo(form, m_clock.monotonicNow());
    else
        m_motion.springTo(form, animation, m_clock.monotonicNow());
}

bool NotchSurface::isStill() const
{
    return m_reducedMotion && m_reducedMotion();
}

void NotchSurface::updateShadow()
{
    const NotchShadowLook look = notchShadow(m_layout.state, m_isHoveredStronger);
    const MonotonicTime now = m_clock.monotonicNow();
    m_shadow.moveTo(m_isHoveredStronger ? 0 : look.opacity, shortFade, now);
    m_strongShadow.moveTo(m_isHoveredStronger ? look.opacity : 0, shortFade, now);
}

QRectF NotchSurface::rectOf(const NotchForm &form) const
{
    const double middle = m_windowWidth / 2 + form.centerOffset;
    return { QPointF(snapped(middle - form.width / 2), snapped(form.top)),
             QPointF(snapped(middle + form.width / 2), snapped(form.top + form.height)) };
}

double NotchSurface::snapped(double length) const
{
    return std::round(length * m_pixelRatio) / m_pixelRatio;
}

} // namespace vantry
