#pragma once

#include "panels/PanelServices.h"
#include "panels/RememberedSession.h"
#include "sessions/GitFacts.h"
#include "terminal/TerminalBridge.h"

#include <QObject>
#include <QtQml/qqmlregistration.h>

#include <functional>
#include <optional>

namespace vantry {

/// The resume dialog of a session that has ended: whether its branch is checked out, and how to go on. git runs off the
/// main thread; its answer is dropped once the dialog has gone. Main thread only.
class ResumeDialogModel final : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by MenuBarViewModel")
    Q_PROPERTY(QString title READ title CONSTANT)
    Q_PROPERTY(QString path READ path CONSTANT)
    Q_PROPERTY(QString displayPath READ displayPath CONSTANT)
    Q_PROPERTY(QString toolSymbol READ toolSymbol CONSTANT)
    Q_PROPERTY(QString projectName READ projectName CONSTANT)
    Q_PROPERTY(QString sessionBranch READ sessionBranch CONSTANT)
    Q_PROPERTY(bool canStartFresh READ canStartFresh CONSTANT)
    Q_PROPERTY(vantry::ResumeDialogModel::Branch branchState READ branchState NOTIFY branchChanged)
    Q_PROPERTY(QString currentBranch READ currentBranch NOTIFY branchChanged)
    Q_PROPERTY(bool canSwitch READ canSwitch NOTIFY branchChanged)
    Q_PROPERTY(QString branchTitle READ branchTitle NOTIFY branchChanged)
    Q_PROPERTY(QString branchText READ branchText NOTIFY branchChanged)
    Q_PROPERTY(QString branchPlainText READ branchPlainText NOTIFY branchChanged)
    Q_PROPERTY(bool isSwitchingBranch READ isSwitchingBranch NOTIFY isSwitchingBranchChanged)
    Q_PROPERTY(QString switchError READ switchError NOTIFY switchErrorChanged)

public:
    enum Branch { NoBlock, Checking, SameBranch, DifferentBranch, BranchDeleted };
    Q_ENUM(Branch)

    using Launch = std::function<void(const TerminalBridge::LaunchMode &)>;

    /// Starts the check at once, if there is something to check. `launch` closes the dialog and starts the agent.
    ResumeDialogModel(const PanelServices &services, RememberedSession session, Launch launch,
                      QObject *parent = nullptr);

    [[nodiscard]] QString title() const { return m_session.displayName(); }
    /// The working directory; empty when it isn't known.
    [[nodiscard]] QString path() const { return m_session.cwd.value_or(QString()); }
    /// The same with "~" for the user's home.
    [[nodiscard]] QString displayPath() const;
    [[nodiscard]] QString toolSymbol() const;
    [[nodiscard]] QString projectName() const { return m_session.displayName(); }
    [[nodiscard]] const QString &sessionBranch() const { return m_session.gitBranch; }
    /// Whether "New Session" is offered.
    [[nodiscard]] bool canStartFresh() const { return m_session.cwd.has_value(); }

    [[nodiscard]] Branch branchState() const { return m_branchState; }
    [[nodiscard]] const QString &currentBranch() const { return m_currentBranch; }
    [[nodiscard]] bool canSwitch() const { return m_canSwitch; }
    /// The block's bold line; empty where there is none.
    [[nodiscard]] QString branchTitle() const;
    /// The block's text in rich text, with the branches' names escaped and bold.
    [[nodiscard]] QString branchText() const;
    /// The same for screen readers.
    [[nodiscard]] QString branchPlainText() const;
    [[nodiscard]] bool isSwitchingBranch() const { return m_isSwitchingBranch; }
    /// What git said to the last switch; empty when there is nothing to tell.
    [[nodiscard]] const QString &switchError() const { return m_switchError; }

    Q_INVOKABLE void resume();
    Q_INVOKABLE void startFresh();
    Q_INVOKABLE void switchBranch();

Q_SIGNALS:
    void branchChanged();
    void isSwitchingBranchChanged();
    void switchErrorChanged();

private:
    void checkBranch();
    void takeCheck(const BranchCheckResult &result);
    void takeSwitch(const std::optional<QString> &failure);
    void setBranch(Branch state, const QString &current, bool canSwitch);
    void setSwitching(bool switching);
    void setSwitchError(const QString &error);
    /// The text of the block, with each branch's name passed through `show`.
    [[nodiscard]] QString composeText(QString (*show)(const QString &)) const;

    const PanelServices m_services;
    const RememberedSession m_session;
    const Launch m_launch;
    Branch m_branchState { NoBlock };
    QString m_currentBranch;
    bool m_canSwitch { false };
    bool m_isSwitchingBranch { false };
    QString m_switchError;
};

} // namespace vantry
