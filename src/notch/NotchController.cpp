#include "notch/NotchController.h"

#include <QPointer>

#include <algorithm>

namespace vantry {

namespace {

using Input = NotchInput::Kind;

} // namespace

NotchController::NotchController(const Surroundings &surroundings, const SessionCallbacks &callbacks,
                                 NotchViewModel::MakePanel makePanel)
    : m_surroundings(surroundings)
    , m_viewModel(std::make_shared<NotchViewModel>(surroundings.sessionManager, surroundings.scheduler, callbacks,
                                                   std::move(makePanel)))
{
    connect(m_viewModel.get(), &NotchViewModel::closeRequested, this, &NotchController::collapse);
}

NotchController::~NotchController()
{
    stop();
}

void NotchController::start()
{
    if (m_machine.isRunning())
        return;
    m_notch = m_surroundings.surfaces.makeNotch(m_viewModel);
    // What is to be done is done by place().
    m_machine.send({ Input::start });
    observe();
    m_viewModel->refresh();
    place();
}

void NotchController::stop()
{
    if (!m_machine.isRunning())
        return;
    m_autoCollapse.cancel();
    stopObserving();
    carryOut(m_machine.stop());
    m_viewModel->setPanelVisible(false);
}

void NotchController::sessionsDidChange()
{
    m_viewModel->refresh();
    if (m_viewModel->sessions().isEmpty())
        carryOut(m_machine.allSessionsGone());
}

void NotchController::sessionNeedsAttention(const SessionPtr &session)
{
    if (session->state() != SessionState::needsPermission && session->state() != SessionState::hasQuestion)
        return;
    const QList<NotchEffect> effects = m_machine.attention(session->id());
    if (effects.isEmpty())
        return;
    m_viewModel->showPeek(session);
    carryOut(effects, session);
    m_autoCollapse = m_surroundings.scheduler.after(NotchViewModel::peekDuration, [this] {
        endPeek();
        m_viewModel->clearPeek();
    });
}

void NotchController::collapse()
{
    // As if the pointer had left.
    carryOut(m_machine.send({ Input::hoverExited }));
}

void NotchController::observe()
{
    connect(&m_surroundings.sessionChanges, &SessionChanges::changed, this, &NotchController::takeChanges);
    connect(&m_surroundings.sessionChanges, &SessionChanges::removed, this, &NotchController::takeChanges);
    m_surroundings.screens.onChanged = [this] { place(); };
    m_fullScreens = m_surroundings.makeFullScreenWatch();
    m_fullScreens->onChanged = [this] { place(); };
    m_sessionLock = m_surroundings.makeSessionLock();
    m_sessionLock->onChanged = [this] { place(); };
}

void NotchController::stopObserving()
{
    m_surroundings.sessionChanges.disconnect(this);
    m_surroundings.screens.onChanged = {};
    m_fullScreens.reset();
    m_sessionLock.reset();
    m_hoverTimer.cancel();
    m_notch->onHoverChanged = {};
    m_reportedHover.reset();
}

/// Sessions change in more ways than by events: by what the user answers elsewhere, by a kill, by a death.
void NotchController::takeChanges()
{
    const bool hadSessions = !m_viewModel->sessions().isEmpty();
    m_viewModel->refresh();
    if (m_card)
        m_card->refresh();
    // Only then: a panel that was opened without any session stays.
    if (hadSessions && m_viewModel->sessions().isEmpty())
        carryOut(m_machine.allSessionsGone());
}

std::optional<ScreenInfo> NotchController::notchScreen() const
{
    const QList<ScreenInfo> screens = m_surroundings.screens.screens();
    if (screens.isEmpty())
        return std::nullopt;
    const auto notched = std::ranges::find_if(screens, [](const ScreenInfo &screen) { return screen.topInset > 0; });
    return notched != screens.end() ? *notched : screens.first();
}

std::optional<ScreenInfo> NotchController::currentPlace() const
{
    std::optional<ScreenInfo> screen = notchScreen();
    if (m_sessionLock->isLocked() || (screen && m_fullScreens->isFullScreen(screen->name)))
        screen.reset();
    return screen;
}

/// Makes what is seen what is to be seen, where it is to be.
void NotchController::place()
{
    const std::optional<ScreenInfo> place = currentPlace();
    if (place == m_place)
        return;
    if (m_place)
        takeFromScreen();
    m_place = place;
    showCompact();
    presentPeek();
}

void NotchController::takeFromScreen()
{
    m_place.reset();
    m_hoverTimer.cancel();
    m_reportedHover.reset();
    m_surroundings.surfaces.peekPanel().close(PeekPanel::Closing::AtOnce);
    collapse();
    m_notch->hide();
}

void NotchController::observeHover()
{
    if (!m_notch)
        return;
    m_notch->onHoverChanged = [this](bool isHovering) { takeHover(isHovering); };
    takeHover(m_notch->isHovering());
}

void NotchController::takeHover(bool isHovering)
{
    if (!m_place || m_reportedHover == isHovering)
        return;
    m_reportedHover = isHovering;
    m_hoverTimer = m_surroundings.scheduler.after(hoverDebounce, [this, isHovering] {
        carryOut(m_machine.send({ isHovering ? Input::hoverEntered : Input::hoverExited }));
    });
}

void NotchController::carryOut(const QList<NotchEffect> &effects, const SessionPtr &passed)
{
    for (const NotchEffect &effect : effects)
        carryOut(effect, passed);
}

void NotchController::carryOut(const NotchEffect &effect, const SessionPtr &passed)
{
    using Kind = NotchEffect::Kind;
    switch (effect.kind) {
    case Kind::showPeek: {
        const bool isPassed = passed && passed->id() == effect.sessionID;
        if (const auto session = isPassed ? passed : m_surroundings.sessionManager.session(effect.sessionID))
            openPeek(session);
        break;
    }
    case Kind::showCompact:
        showCompact();
        break;
    case Kind::dismissPeek:
        m_autoCollapse.cancel();
        closePeek();
        break;
    case Kind::expand:
        m_autoCollapse.cancel();
        closePeek();
        m_viewModel->clearPeek();
        expand();
        break;
    case Kind::collapse:
        m_autoCollapse.cancel();
        m_viewModel->leavePeekMode();
        m_viewModel->clearPeek();
        m_viewModel->setPanelVisible(false);
        showCompact();
        break;
    case Kind::hide:
        m_place.reset();
        m_surroundings.surfaces.retire(std::move(m_notch), m_viewModel);
        break;
    }
}

void NotchController::showCompact()
{
    if (!m_notch || !m_place)
        return;
    m_notch->compact(*m_place, [self = QPointer(this)] {
        if (self)
            self->observeHover();
    });
}

void NotchController::expand()
{
    if (!m_notch || !m_place)
        return;
    m_viewModel->setPanelVisible(true);
    m_notch->expand(*m_place, [self = QPointer(this)] {
        // It may have collapsed meanwhile.
        if (self && self->m_notch && self->m_machine.state() == NotchState::expanded)
            self->m_notch->makeKeyWindow();
    });
}

void NotchController::openPeek(const SessionPtr &session)
{
    closePeek();
    m_card = std::make_shared<NotchPeekCardModel>(session, m_viewModel->callbacks().heldRequestID);
    const auto answerLater = [self = QPointer(this), card = std::weak_ptr(m_card)](PeekAnswer answer) {
        const auto clicked = card.lock();
        if (!self || !clicked)
            return;
        // The card is still handling the input, and what follows ends it.
        self->m_surroundings.mainQueue.post([self, card, answer, request = clicked->request()] {
            // A second click on a card comes when it has been answered.
            if (self && self->m_card && self->m_card == card.lock())
                self->answerPeek(answer, request);
        });
    };
    m_card->onTap = [answerLater] { answerLater(PeekAnswer::Focus); };
    m_card->onAllow = [answerLater] { answerLater(PeekAnswer::Allow); };
    presentPeek();
}

void NotchController::presentPeek()
{
    if (m_card && m_place)
        m_surroundings.surfaces.peekPanel().open(m_card, *m_place);
}

void NotchController::closePeek()
{
    if (!m_card)
        return;
    m_card.reset();
    m_surroundings.surfaces.peekPanel().close(PeekPanel::Closing::Fading);
}

void NotchController::endPeek()
{
    carryOut(m_machine.send({ Input::peekTimeout }));
}

/// The request is the one that the card showed when it was clicked.
void NotchController::answerPeek(PeekAnswer answer, const QString &request)
{
    const auto card = m_card;
    const auto viewModel = m_viewModel;
    // Nothing is answered that can't be seen, nor a request that has come in the stead of the one that was.
    if (!m_place || (answer == PeekAnswer::Allow && (request.isEmpty() || card->currentRequest() != request)))
        return;
    const QPointer self(this);
    if (answer == PeekAnswer::Allow)
        viewModel->callbacks().onAllowSession(card->session());
    else
        viewModel->callbacks().onFocusSession(card->session());
    // It may have ended the notch, or have raised the card of what is asked next.
    if (!self || m_card != card)
        return;
    endPeek();
    viewModel->clearPeek();
}

} // namespace vantry
