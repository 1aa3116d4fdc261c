#include "DynamicNotchKit/DynamicNotch.h"

#include "DynamicNotchKit/DynamicNotchPanel.h"
#include "DynamicNotchKit/NotchGeometry.h"
#include "DynamicNotchKit/NotchSurface.h"

#include <QPointer>

#include <utility>

namespace vantry {

namespace {

constexpr std::chrono::milliseconds animationDuration { 400 };
constexpr std::chrono::milliseconds closeDelay { 250 };
constexpr std::chrono::milliseconds fadeDuration { 150 };
constexpr std::chrono::milliseconds hoverRetry { 100 };
/// Somebody who types elsewhere when the surface opens must not set off anything in it.
constexpr std::chrono::milliseconds deafAfterExpanding { 400 };

void call(const DynamicNotchControllable::Done &done)
{
    if (done)
        done();
}

} // namespace

DynamicNotch::DynamicNotch(const Surroundings &surroundings, const Contents &contents, const Options &options)
    : m_surroundings(surroundings)
    , m_contents(contents)
    , m_options(options)
    , m_surface(std::make_unique<NotchSurface>(surroundings.clock, contents, surroundings.reducedMotion))
{
    connect(m_surface.get(), &NotchSurface::neededWindowSizeChanged, this, &DynamicNotch::fitWindow);
}

DynamicNotch::~DynamicNotch()
{
    // A window finishes what it is making before it goes; nobody listens any more.
    m_surface->disconnect(this);
    m_closedPanels.clear();
    m_panel.reset();
}

void DynamicNotch::expand(const ScreenInfo &screen, Done done)
{
    if (m_state == DynamicNotchState::expanded) {
        call(done);
        return;
    }
    show(screen, DynamicNotchState::expanded, m_options.transitionConfiguration.conversion(), std::move(done));
}

void DynamicNotch::compact(const ScreenInfo &screen, Done done)
{
    if (m_state == DynamicNotchState::compact) {
        call(done);
        return;
    }
    if (m_options.style.resolved(screen).isFloating() || (disableCompactLeading() && disableCompactTrailing())) {
        hide(std::move(done));
        return;
    }
    const auto &transitions = m_options.transitionConfiguration;
    const bool isExpanded = m_state == DynamicNotchState::expanded;
    show(screen, DynamicNotchState::compact, isExpanded ? transitions.closing() : transitions.conversion(),
         std::move(done));
}

void DynamicNotch::hide(Done done)
{
    if (m_state == DynamicNotchState::hidden) {
        call(done);
        return;
    }
    if (m_options.hoverBehavior.contains(DynamicNotchHoverBehavior::keepsVisible) && m_isHovering) {
        callAfter(hoverRetry, [this, done = std::move(done)]() mutable { hide(std::move(done)); });
        return;
    }
    startClosing(std::move(done));
    const QPointer<DynamicNotch> self(this);
    setState(DynamicNotchState::hidden, m_options.transitionConfiguration.closing());
    if (self)
        setHovering(false);
}

void DynamicNotch::makeKeyWindow()
{
    if (m_panel && m_state == DynamicNotchState::expanded)
        m_panel->makeKeyWindow();
}

QSizeF DynamicNotch::notchSize() const
{
    return m_surface->layout().notchSize;
}

bool DynamicNotch::disableCompactLeading() const
{
    return m_surface->isDisabled(DynamicNotchSection::compactLeading);
}

void DynamicNotch::setDisableCompactLeading(bool isDisabled)
{
    if (isDisabled == disableCompactLeading())
        return;
    m_surface->setDisabled(DynamicNotchSection::compactLeading, isDisabled);
    Q_EMIT disableCompactLeadingChanged();
}

bool DynamicNotch::disableCompactTrailing() const
{
    return m_surface->isDisabled(DynamicNotchSection::compactTrailing);
}

void DynamicNotch::setDisableCompactTrailing(bool isDisabled)
{
    if (isDisabled == disableCompactTrailing())
        return;
    m_surface->setDisabled(DynamicNotchSection::compactTrailing, isDisabled);
    Q_EMIT disableCompactTrailingChanged();
}

void DynamicNotch::show(const ScreenInfo &screen, DynamicNotchState state, const SpringAnimation &animation, Done done)
{
    const Done overtaken = cancelClosing();
    const QPointer<DynamicNotch> self(this);
    callAfter(animationDuration, std::move(done));
    if (m_panel && m_screen == screen) {
        setState(state, animation);
    } else {
        initializeWindow(screen);
        m_panel->orderFrontRegardless();
        setState(state, m_options.transitionConfiguration.opening(m_surface->layout().style));
    }
    if (self)
        m_surface->fadeIn();
    call(overtaken);
}

void DynamicNotch::initializeWindow(const ScreenInfo &screen)
{
    closeWindow();
    m_screen = screen;
    m_menubarHeight = vantry::menubarHeight(screen);
    m_surface->begin({ .style = m_options.style.resolved(screen),
                       .notchSize = notchGeometry(screen).size(),
                       .screenSize = screen.frame.size() });
    m_panel = std::make_unique<DynamicNotchPanel>(m_surroundings.engine, *m_surface, m_surroundings.overlays,
                                                  m_surroundings.clock);
    connect(m_panel.get(), &DynamicNotchPanel::pointerMoved, this, &DynamicNotch::pointerMoved);
    m_panel->load(m_contents.windowProperties);
    fitWindow();
    Q_EMIT notchSizeChanged();
    Q_EMIT menubarHeightChanged();
}

/// The window itself is never part of the motion: it grows before.
void DynamicNotch::fitWindow()
{
    if (m_panel)
        m_panel->fit(*m_screen);
}

void DynamicNotch::setState(DynamicNotchState state, const SpringAnimation &animation)
{
    m_state = state;
    if (state == DynamicNotchState::expanded)
        m_panel->dropKeysUntil(m_surroundings.clock.monotonicNow() + deafAfterExpanding);
    else
        m_panel->resignKeyWindow();
    m_surface->setHasShadow(m_surroundings.overlays.hasCompositor());
    m_surface->setState(state, animation);
    const QPointer<DynamicNotch> self(this);
    Q_EMIT stateChanged();
    // What was told of a former window, or kept back while this was hidden, is made good.
    if (self && m_state != DynamicNotchState::hidden)
        setHovering(m_isPointerInside);
}

void DynamicNotch::setHovering(bool isHovering)
{
    if (isHovering == m_isHovering)
        return;
    m_isHovering = isHovering;
    if (m_options.hoverBehavior.contains(DynamicNotchHoverBehavior::increasesShadow))
        m_surface->setHoveredStronger(isHovering);
    const QPointer<DynamicNotch> self(this);
    Q_EMIT isHoveringChanged();
    if (self && onHoverChanged)
        onHoverChanged(isHovering);
}

void DynamicNotch::pointerMoved(bool isInside)
{
    m_isPointerInside = isInside;
    if (m_state == DynamicNotchState::hidden || isInside == m_isHovering)
        return;
    if (m_options.hoverBehavior.contains(DynamicNotchHoverBehavior::givesHapticFeedback) &&
        m_surroundings.performHapticFeedback)
        m_surroundings.performHapticFeedback();
    setHovering(isInside);
}

void DynamicNotch::callAfter(std::chrono::milliseconds delay, Done done)
{
    const auto waiting = m_waiting.emplace(m_waiting.end());
    waiting->done = std::move(done);
    waiting->timer = m_surroundings.scheduler.after(delay, [this, waiting] {
        const Done ended = std::move(waiting->done);
        m_waiting.erase(waiting);
        call(ended);
    });
}

void DynamicNotch::startClosing(Done done)
{
    m_closed = std::move(done);
    m_closePanelTask = m_surroundings.scheduler.after(closeDelay, [this] { fadeOutAndClose(); });
}

void DynamicNotch::fadeOutAndClose()
{
    m_surface->fadeOut();
    m_closePanelTask = m_surroundings.scheduler.after(fadeDuration, [this] {
        closeWindow();
        call(std::exchange(m_closed, {}));
    });
}

DynamicNotchControllable::Done DynamicNotch::cancelClosing()
{
    m_closePanelTask.cancel();
    return std::exchange(m_closed, {});
}

void DynamicNotch::closeWindow()
{
    if (!m_panel)
        return;
    m_panel->disconnect(this);
    m_panel->hide();
    m_closedPanels.push_back(std::move(m_panel));
    m_closedPanelsTimer =
        m_surroundings.scheduler.after(std::chrono::milliseconds::zero(), [this] { m_closedPanels.clear(); });
    m_isPointerInside = false;
    m_screen.reset();
}

} // namespace vantry
