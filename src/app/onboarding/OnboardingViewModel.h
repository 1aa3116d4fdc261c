#pragma once

#include "app/DisplayMode.h"
#include "app/SoundSelections.h"
#include "app/onboarding/DependencyStatus.h"
#include "app/onboarding/OnboardingStep.h"
#include "base/MainQueue.h"
#include "base/WorkerPool.h"
#include "hooks/HookInstaller.h"

#include <QMap>
#include <QObject>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

#include <cstdint>
#include <functional>
#include <optional>

namespace vantry {

class OverlayWindows;
class Screens;

/// The set-up: which step it is at, what it has found out, and what the user chooses, which is stored at once. It
/// outlives its window, so that a window that was closed comes back at the same step. Searches and installs in threads
/// of its own, which end with it. Main thread only.
class OnboardingViewModel final : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by the application")
    /// The step's place, from 0, and how many there are.
    Q_PROPERTY(int stepIndex READ stepIndex NOTIFY currentStepChanged)
    Q_PROPERTY(int stepCount READ stepCount CONSTANT)
    /// Whether the last change of step was one back.
    Q_PROPERTY(bool isGoingBack READ isGoingBack NOTIFY currentStepChanged)
    Q_PROPERTY(bool canGoBack READ canGoBack NOTIFY currentStepChanged)
    Q_PROPERTY(QString mainButtonLabel READ mainButtonLabel NOTIFY mainButtonLabelChanged)
    Q_PROPERTY(vantry::DependencyStatus claudeCodeStatus READ claudeCodeStatus NOTIFY dependenciesChanged)
    Q_PROPERTY(vantry::DependencyStatus pythonStatus READ pythonStatus NOTIFY dependenciesChanged)
    Q_PROPERTY(QString claudeCodeHint READ claudeCodeHint CONSTANT)
    Q_PROPERTY(QString pythonHint READ pythonHint CONSTANT)
    Q_PROPERTY(bool isInstalling READ isInstalling NOTIFY hookChanged)
    Q_PROPERTY(bool hasInstallFailed READ hasInstallFailed NOTIFY hookChanged)
    /// What has come of the hook, in a line and in what is to be known beside it; both empty before.
    Q_PROPERTY(QString hookOutcome READ hookOutcome NOTIFY hookChanged)
    Q_PROPERTY(QString hookDetail READ hookDetail NOTIFY hookChanged)
    Q_PROPERTY(vantry::SoundSelections *sounds READ sounds CONSTANT)
    /// Of each display mode that is offered: mode (its number), title, caption, symbol, showsMenuBar, showsNotch.
    Q_PROPERTY(QVariantList displayModes READ displayModes NOTIFY hasNotchChanged)
    Q_PROPERTY(int selectedDisplayMode READ selectedModeNumber NOTIFY selectedDisplayModeChanged)
    /// A mode that was stored before may need what this desktop doesn't have.
    Q_PROPERTY(bool isSelectedModeOffered READ isSelectedModeOffered NOTIFY selectedDisplayModeChanged)

public:
    enum class HookInstallStatus { notStarted, installing, failed, done };

    /// All of these must outlive this.
    struct Services
    {
        Defaults &defaults;
        MainQueue &mainQueue;
        const Screens &screens;
        const OverlayWindows &overlays;
        const SoundService *soundService; ///< Null: there are no sounds to choose from.
        HookInstaller hookInstaller;
        std::uint16_t port; ///< Which the hook reports to.
        /// Finds a program by its name. Called in other threads, two at a time, and may take long.
        std::function<std::optional<QString>(const QString &)> findTool;
        QString pythonHint; ///< How to get Python.
    };

    explicit OnboardingViewModel(const Services &services, QObject *parent = nullptr);

    [[nodiscard]] OnboardingStep currentStep() const { return m_currentStep; }
    [[nodiscard]] const DependencyStatus &claudeCodeStatus() const { return m_claudeCodeStatus; }
    [[nodiscard]] const DependencyStatus &pythonStatus() const { return m_pythonStatus; }
    [[nodiscard]] HookInstallStatus hookInstallStatus() const { return m_hookInstallStatus; }
    [[nodiscard]] const std::optional<QString> &hookMessage() const { return m_hookMessage; }
    [[nodiscard]] QMap<SoundEvent, QString> soundSelections() const;
    [[nodiscard]] DisplayMode selectedDisplayMode() const { return m_selectedDisplayMode; }
    /// Whether any screen has a notch, real or virtual, that can be shown. Found out on entering the step.
    [[nodiscard]] bool hasNotch() const { return m_hasNotch; }

    [[nodiscard]] int stepIndex() const { return static_cast<int>(m_currentStep); }
    [[nodiscard]] static int stepCount() { return static_cast<int>(OnboardingStep::done) + 1; }
    [[nodiscard]] bool isGoingBack() const { return m_isGoingBack; }
    [[nodiscard]] bool canGoBack() const;
    [[nodiscard]] QString mainButtonLabel() const;
    [[nodiscard]] static QString claudeCodeHint();
    [[nodiscard]] const QString &pythonHint() const { return m_services.pythonHint; }
    [[nodiscard]] bool isInstalling() const { return m_hookInstallStatus == HookInstallStatus::installing; }
    [[nodiscard]] bool hasInstallFailed() const { return m_hookInstallStatus == HookInstallStatus::failed; }
    [[nodiscard]] QString hookOutcome() const;
    [[nodiscard]] QString hookDetail() const;
    [[nodiscard]] SoundSelections *sounds() { return &m_sounds; }
    [[nodiscard]] QVariantList displayModes() const;
    [[nodiscard]] int selectedModeNumber() const { return static_cast<int>(m_selectedDisplayMode); }

    [[nodiscard]] bool isSelectedModeOffered() const;

    /// What the main button does: the next step, the installation, or, at the end, to be done with it.
    Q_INVOKABLE void advance();
    Q_INVOKABLE void back();
    /// Looks for both programs again, unless it is looking.
    Q_INVOKABLE void checkDependencies();
    /// Installs the hook, unless it is being installed.
    Q_INVOKABLE void installHook();
    /// Of the modes that are offered.
    Q_INVOKABLE void selectDisplayMode(int mode);
    /// Selects the mode that is offered so many places further; at the ends nothing changes.
    Q_INVOKABLE void moveDisplayMode(int steps);

Q_SIGNALS:
    void currentStepChanged();
    void mainButtonLabelChanged();
    void dependenciesChanged();
    void hookChanged();
    void hasNotchChanged();
    void selectedDisplayModeChanged();
    /// What is to be said to those who don't see it.
    void announcement(const QString &text);
    /// The user is done with it.
    void completed();

private:
    void goTo(OnboardingStep step);
    void enterStep();
    void findTool(const QString &name, DependencyStatus OnboardingViewModel::*status, const QString &title);
    void lookForHook();
    void setHook(HookInstallStatus status, const std::optional<QString> &message);
    void lookForNotch();
    [[nodiscard]] QList<DisplayMode> offeredModes() const;
    void takeStoredMode();
    void setDisplayMode(DisplayMode mode);

    const Services m_services;
    SoundSelections m_sounds;
    OnboardingStep m_currentStep { OnboardingStep::welcome };
    bool m_isGoingBack { false };
    DependencyStatus m_claudeCodeStatus;
    DependencyStatus m_pythonStatus;
    HookInstallStatus m_hookInstallStatus { HookInstallStatus::notStarted };
    std::optional<QString> m_hookMessage;
    int m_hookLook { 0 }; ///< Which look at the hook counts: what an older one has seen is out of date.
    DisplayMode m_selectedDisplayMode { DisplayMode::menuBar };
    bool m_hasNotch { false };
    WorkerPool m_workers { 3, WorkerPool::Priority::Normal }; ///< Two searches and the hook.
};

} // namespace vantry
