#include "app/onboarding/OnboardingViewModel.h"

#include "platform/OverlayWindows.h"
#include "platform/Screens.h"

#include <QPointer>
#include <QVariantMap>

#include <algorithm>
#include <utility>

namespace vantry {

using namespace Qt::StringLiterals;

namespace {

/// What the installer's message of a failure begins with.
const QString failure = u"Install failed: "_s;

QString alreadyInstalled()
{
    return OnboardingViewModel::tr("Hook is already installed.");
}

QVariantMap cardOf(DisplayMode mode, const QString &title, const QString &caption, const QString &symbol)
{
    return { { u"mode"_s, static_cast<int>(mode) },
             { u"title"_s, title },
             { u"caption"_s, caption },
             { u"symbol"_s, symbol },
             { u"showsMenuBar"_s, showsMenuBar(mode) },
             { u"showsNotch"_s, showsNotch(mode) } };
}

QVariantMap cardOf(DisplayMode mode)
{
    switch (mode) {
    case DisplayMode::menuBar:
        return cardOf(mode, OnboardingViewModel::tr("Menu Bar"),
                      OnboardingViewModel::tr("Click the menu bar icon to view sessions"), u"menubar.rectangle"_s);
    case DisplayMode::notch:
        return cardOf(mode, OnboardingViewModel::tr("Notch"),
                      OnboardingViewModel::tr("Hover over the notch to view sessions"),
                      u"rectangle.topthird.inset.filled"_s);
    case DisplayMode::both:
        return cardOf(mode, OnboardingViewModel::tr("Both"),
                      OnboardingViewModel::tr("Menu bar icon and notch, together"), u"square.on.square"_s);
    }
    Q_UNREACHABLE();
}

} // namespace

OnboardingViewModel::OnboardingViewModel(const Services &services, QObject *parent)
    : QObject(parent)
    , m_services(services)
    , m_sounds({ services.defaults, services.soundService, nullptr })
{
    // Whatever the label says follows from these.
    for (const auto signal : { &OnboardingViewModel::currentStepChanged, &OnboardingViewModel::dependenciesChanged,
                               &OnboardingViewModel::hookChanged })
        connect(this, signal, this, &OnboardingViewModel::mainButtonLabelChanged);
    connect(&services.defaults, &Defaults::changed, this, &OnboardingViewModel::takeStoredMode);
}

QMap<SoundEvent, QString> OnboardingViewModel::soundSelections() const
{
    QMap<SoundEvent, QString> selections;
    for (const SoundEvent event : allSoundEvents)
        selections.insert(event, m_sounds.value(event));
    return selections;
}

bool OnboardingViewModel::canGoBack() const
{
    return m_currentStep != OnboardingStep::welcome && m_currentStep != OnboardingStep::done;
}

QString OnboardingViewModel::mainButtonLabel() const
{
    switch (m_currentStep) {
    case OnboardingStep::welcome:
        return tr("Get Started");
    case OnboardingStep::checkDependencies:
        return m_claudeCodeStatus.isMissing() || m_pythonStatus.isMissing() ? tr("Continue Anyway") : tr("Continue");
    case OnboardingStep::installHook:
        switch (m_hookInstallStatus) {
        case HookInstallStatus::notStarted:
            return tr("Install Hook");
        case HookInstallStatus::installing:
            return tr("Installing…");
        case HookInstallStatus::failed:
            return tr("Continue Anyway");
        case HookInstallStatus::done:
            return tr("Continue");
        }
        Q_UNREACHABLE();
    case OnboardingStep::capabilities:
    case OnboardingStep::sounds:
    case OnboardingStep::displayMode:
        return tr("Continue");
    case OnboardingStep::done:
        return tr("Start Using Vantry");
    }
    Q_UNREACHABLE();
}

QString OnboardingViewModel::claudeCodeHint()
{
    return u"npm install -g @anthropic-ai/claude-code"_s;
}

QString OnboardingViewModel::hookOutcome() const
{
    if (m_hookInstallStatus == HookInstallStatus::failed)
        return tr("Installation failed.");
    if (m_hookInstallStatus != HookInstallStatus::done)
        return {};
    return m_hookMessage == alreadyInstalled() ? alreadyInstalled() : tr("Hook installed successfully.");
}

QString OnboardingViewModel::hookDetail() const
{
    const QString message = m_hookMessage.value_or(QString());
    if (m_hookInstallStatus == HookInstallStatus::failed)
        return message.startsWith(failure) ? message.mid(failure.size()) : message;
    return m_hookInstallStatus == HookInstallStatus::done ? tr("Restart any running Claude Code sessions to activate.")
                                                          : QString();
}

QList<DisplayMode> OnboardingViewModel::offeredModes() const
{
    if (m_hasNotch)
        return { DisplayMode::menuBar, DisplayMode::notch, DisplayMode::both };
    return { DisplayMode::menuBar, DisplayMode::both };
}

QVariantList OnboardingViewModel::displayModes() const
{
    QVariantList cards;
    const QList<DisplayMode> modes = offeredModes();
    for (const DisplayMode mode : modes)
        cards.append(cardOf(mode));
    return cards;
}

bool OnboardingViewModel::isSelectedModeOffered() const
{
    return offeredModes().contains(m_selectedDisplayMode);
}

void OnboardingViewModel::advance()
{
    if (m_currentStep == OnboardingStep::done)
        Q_EMIT completed();
    else if (m_currentStep == OnboardingStep::installHook && m_hookInstallStatus == HookInstallStatus::notStarted)
        installHook();
    else if (m_currentStep != OnboardingStep::installHook || !isInstalling())
        goTo(static_cast<OnboardingStep>(stepIndex() + 1));
}

void OnboardingViewModel::back()
{
    if (canGoBack())
        goTo(static_cast<OnboardingStep>(stepIndex() - 1));
}

void OnboardingViewModel::goTo(OnboardingStep step)
{
    m_isGoingBack = step < m_currentStep;
    m_currentStep = step;
    enterStep();
    Q_EMIT currentStepChanged();
}

void OnboardingViewModel::enterStep()
{
    if (m_currentStep == OnboardingStep::checkDependencies)
        checkDependencies();
    else if (m_currentStep == OnboardingStep::installHook)
        lookForHook();
    else if (m_currentStep == OnboardingStep::displayMode)
        lookForNotch();
}

void OnboardingViewModel::checkDependencies()
{
    if (m_claudeCodeStatus.isChecking() || m_pythonStatus.isChecking())
        return;
    findTool(u"claude"_s, &OnboardingViewModel::m_claudeCodeStatus, tr("Claude Code CLI"));
    findTool(u"python3"_s, &OnboardingViewModel::m_pythonStatus, tr("Python 3"));
    Q_EMIT dependenciesChanged();
}

void OnboardingViewModel::findTool(const QString &name, DependencyStatus OnboardingViewModel::*status,
                                   const QString &title)
{
    this->*status = DependencyStatus::checking();
    m_workers.run(
        [self = QPointer(this), &mainQueue = m_services.mainQueue, find = m_services.findTool, name, status, title] {
            mainQueue.post([self, status, title, path = find(name)] {
                if (!self)
                    return;
                self.data()->*status = path ? DependencyStatus::found(*path) : DependencyStatus::notFound();
                Q_EMIT self->dependenciesChanged();
                Q_EMIT self->announcement((path ? tr("%1: Found") : tr("%1: Not found")).arg(title));
            });
        });
}

void OnboardingViewModel::lookForHook()
{
    if (isInstalling())
        return;
    m_workers.run([self = QPointer(this), &mainQueue = m_services.mainQueue, installer = m_services.hookInstaller,
                   look = ++m_hookLook] {
        mainQueue.post([self, look, isInstalled = installer.isInstalled()] {
            if (!self || self->m_hookLook != look)
                return;
            if (isInstalled)
                self->setHook(HookInstallStatus::done, alreadyInstalled());
            else if (self->m_hookInstallStatus == HookInstallStatus::done)
                self->setHook(HookInstallStatus::notStarted, std::nullopt);
        });
    });
}

void OnboardingViewModel::installHook()
{
    if (isInstalling())
        return;
    ++m_hookLook;
    setHook(HookInstallStatus::installing, std::nullopt);
    m_workers.run([self = QPointer(this), &mainQueue = m_services.mainQueue, installer = m_services.hookInstaller,
                   port = m_services.port] {
        mainQueue.post([self, message = installer.install(port)] {
            if (!self)
                return;
            const bool hasFailed = message.startsWith(failure);
            self->setHook(hasFailed ? HookInstallStatus::failed : HookInstallStatus::done, message);
            Q_EMIT self->announcement(self->hookOutcome() + u' ' + self->hookDetail());
        });
    });
}

void OnboardingViewModel::setHook(HookInstallStatus status, const std::optional<QString> &message)
{
    m_hookInstallStatus = status;
    m_hookMessage = message;
    Q_EMIT hookChanged();
}

void OnboardingViewModel::lookForNotch()
{
    const QList<ScreenInfo> screens = m_services.screens.screens();
    const bool canShow = m_services.overlays.canPlace();
    const bool had = std::exchange(m_hasNotch, canShow && std::ranges::any_of(screens, [](const ScreenInfo &screen) {
                                                   return screen.topInset > 0;
                                               }));
    if (m_hasNotch != had) {
        Q_EMIT hasNotchChanged();
        Q_EMIT selectedDisplayModeChanged();
    }
    takeStoredMode();
    // A notch that is there all the same is the place to look at; a virtual one takes the user's wish.
    if (m_hasNotch && !chosenDisplayMode(m_services.defaults) &&
        std::ranges::any_of(screens, &ScreenInfo::hasRealNotch))
        setDisplayMode(DisplayMode::notch);
}

void OnboardingViewModel::takeStoredMode()
{
    const DisplayMode mode = displayMode(m_services.defaults);
    if (std::exchange(m_selectedDisplayMode, mode) != mode)
        Q_EMIT selectedDisplayModeChanged();
}

void OnboardingViewModel::selectDisplayMode(int mode)
{
    const QList<DisplayMode> offered = offeredModes();
    const auto found = std::ranges::find(offered, mode, [](DisplayMode entry) { return static_cast<int>(entry); });
    if (found != offered.end())
        setDisplayMode(*found);
}

void OnboardingViewModel::moveDisplayMode(int steps)
{
    const QList<DisplayMode> offered = offeredModes();
    const qsizetype place = offered.indexOf(m_selectedDisplayMode) + steps;
    if (place >= 0 && place < offered.size())
        setDisplayMode(offered.at(place));
}

void OnboardingViewModel::setDisplayMode(DisplayMode mode)
{
    m_services.defaults.setString(displayModeKey, rawValue(mode));
    takeStoredMode();
}

} // namespace vantry
