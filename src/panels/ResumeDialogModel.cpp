#include "panels/ResumeDialogModel.h"

#include <QPointer>

#include <utility>

namespace vantry {

using namespace Qt::StringLiterals;

namespace {

/// Whether git's answer can be a branch's name. Outside a repository it is an error's text.
bool isBranchName(const QString &current)
{
    return !current.contains(u'\n') && !current.startsWith(u"fatal:");
}

QString bold(const QString &name)
{
    return u"<b>"_s + name.toHtmlEscaped() + u"</b>"_s;
}

QString plain(const QString &name)
{
    return name;
}

} // namespace

ResumeDialogModel::ResumeDialogModel(const PanelServices &services, RememberedSession session, Launch launch,
                                     QObject *parent)
    : QObject(parent)
    , m_services(services)
    , m_session(std::move(session))
    , m_launch(std::move(launch))
{
    if (m_session.cwd && !m_session.gitBranch.isEmpty())
        checkBranch();
}

QString ResumeDialogModel::displayPath() const
{
    const QString &home = m_services.home;
    if (path() == home || path().startsWith(home + u'/'))
        return u'~' + path().sliced(home.size());
    return path();
}

QString ResumeDialogModel::toolSymbol() const
{
    return symbol(m_session.agentTool);
}

QString ResumeDialogModel::branchTitle() const
{
    switch (m_branchState) {
    case DifferentBranch:
        return tr("Branch mismatch");
    case BranchDeleted:
        return tr("Branch deleted");
    default:
        return {};
    }
}

QString ResumeDialogModel::branchText() const
{
    return composeText(bold);
}

QString ResumeDialogModel::branchPlainText() const
{
    return composeText(plain);
}

void ResumeDialogModel::resume()
{
    m_launch(TerminalBridge::Resume { m_session.id });
}

void ResumeDialogModel::startFresh()
{
    if (canStartFresh())
        m_launch(TerminalBridge::Fresh {});
}

void ResumeDialogModel::switchBranch()
{
    if (!m_canSwitch || m_isSwitchingBranch)
        return;
    setSwitchError(QString());
    setSwitching(true);
    m_services.workers.run([&git = m_services.git, &mainQueue = m_services.mainQueue, self = QPointer(this),
                            directory = path(), branch = m_session.gitBranch] {
        mainQueue.post([self, failure = git.switchBranch(directory, branch)] {
            if (self)
                self->takeSwitch(failure);
        });
    });
}

void ResumeDialogModel::checkBranch()
{
    setBranch(Checking, QString(), false);
    m_services.workers.run([&git = m_services.git, &mainQueue = m_services.mainQueue, self = QPointer(this),
                            directory = path(), expected = m_session.gitBranch] {
        mainQueue.post([self, result = git.checkBranch(directory, expected)] {
            if (self)
                self->takeCheck(result);
        });
    });
}

void ResumeDialogModel::takeCheck(const BranchCheckResult &result)
{
    if (const auto *same = std::get_if<BranchCheckResult::SameBranch>(&result.value))
        setBranch(SameBranch, same->branch, false);
    else if (const auto *other = std::get_if<BranchCheckResult::DifferentBranch>(&result.value);
             other && isBranchName(other->current))
        setBranch(DifferentBranch, other->current, other->canSwitch);
    else if (const auto *deleted = std::get_if<BranchCheckResult::BranchDeleted>(&result.value);
             deleted && isBranchName(deleted->current))
        setBranch(BranchDeleted, deleted->current, false);
    else
        setBranch(NoBlock, QString(), false);
}

void ResumeDialogModel::takeSwitch(const std::optional<QString> &failure)
{
    setSwitching(false);
    if (failure)
        setSwitchError(*failure);
    else
        checkBranch();
}

void ResumeDialogModel::setBranch(Branch state, const QString &current, bool canSwitch)
{
    m_branchState = state;
    m_currentBranch = current;
    m_canSwitch = canSwitch;
    Q_EMIT branchChanged();
}

void ResumeDialogModel::setSwitching(bool switching)
{
    m_isSwitchingBranch = switching;
    Q_EMIT isSwitchingBranchChanged();
}

void ResumeDialogModel::setSwitchError(const QString &error)
{
    if (std::exchange(m_switchError, error) != error)
        Q_EMIT switchErrorChanged();
}

QString ResumeDialogModel::composeText(QString (*show)(const QString &)) const
{
    const QString session = show(m_session.gitBranch);
    // Git names none where a commit alone is checked out.
    const QString current = m_currentBranch.isEmpty() ? tr("no branch") : show(m_currentBranch);
    switch (m_branchState) {
    case NoBlock:
        return {};
    case Checking:
        return tr("Checking branch...");
    case SameBranch:
        return tr("On branch %1").arg(session);
    case DifferentBranch:
        return tr("Session was on %1, currently on %2").arg(session, current);
    case BranchDeleted:
        return tr("Branch %1 no longer exists (possibly merged). Currently on %2").arg(session, current);
    }
    return {};
}

} // namespace vantry
