#include "panels/ProjectDetailModel.h"

#include "base/Text.h"
#include "sessions/SessionText.h"

#include <QVariantMap>

#include <utility>

namespace vantry {

using namespace Qt::StringLiterals;

namespace {

/// The agents that can be started from here.
bool isSelectable(AgentTool tool)
{
    return tool == AgentTool::claudeCode;
}

bool isWarning(AgentPermissionMode mode)
{
    return mode == AgentPermissionMode::bypassPermissions;
}

QVariantList sessionList(const QList<RecentSession> &sessions, Date now)
{
    QVariantList list;
    for (const RecentSession &session : sessions) {
        const QString title = session.firstMessage.value_or(QString()).simplified();
        list.append(QVariantMap { { u"id"_s, session.id },
                                  { u"title"_s, title.isEmpty() ? firstCharacters(session.id, 8).toString() : title },
                                  { u"timeText"_s, timeAgoText(session.lastUsed, now) } });
    }
    return list;
}

} // namespace

ProjectDetailModel::ProjectDetailModel(RecentProject project, Date now, Launch launch, QObject *parent)
    : QObject(parent)
    , m_project(std::move(project))
    , m_launch(std::move(launch))
    , m_recentSessions(sessionList(m_project.sessions, now))
{}

QVariantList ProjectDetailModel::tools() const
{
    QVariantList list;
    for (const AgentTool tool : allAgentTools) {
        if (tool == AgentTool::unknown)
            continue;
        list.append(QVariantMap { { u"tool"_s, static_cast<int>(tool) },
                                  { u"title"_s, displayName(tool) },
                                  { u"symbol"_s, symbol(tool) },
                                  { u"selectable"_s, isSelectable(tool) },
                                  { u"selected"_s, tool == m_selectedTool } });
    }
    return list;
}

QVariantList ProjectDetailModel::modes() const
{
    QVariantList list;
    for (const AgentPermissionMode mode : allAgentPermissionModes) {
        list.append(QVariantMap { { u"mode"_s, static_cast<int>(mode) },
                                  { u"symbol"_s, symbol(mode) },
                                  { u"title"_s, label(mode) },
                                  { u"subtitle"_s, description(mode) },
                                  { u"selected"_s, mode == m_flags.permissionMode },
                                  { u"isWarning"_s, isWarning(mode) } });
    }
    return list;
}

QString ProjectDetailModel::selectedModeTitle() const
{
    return label(m_flags.permissionMode);
}

QString ProjectDetailModel::selectedModeSymbol() const
{
    return symbol(m_flags.permissionMode);
}

bool ProjectDetailModel::selectedModeIsWarning() const
{
    return isWarning(m_flags.permissionMode);
}

void ProjectDetailModel::setModesExpanded(bool expanded)
{
    if (std::exchange(m_modesExpanded, expanded) != expanded)
        Q_EMIT modesExpandedChanged();
}

void ProjectDetailModel::selectTool(int index)
{
    if (index < 0 || index >= static_cast<int>(allAgentTools.size()))
        return;
    const AgentTool tool = allAgentTools.at(static_cast<std::size_t>(index));
    if (isSelectable(tool))
        m_selectedTool = tool;
}

void ProjectDetailModel::selectMode(int index)
{
    if (index < 0 || index >= static_cast<int>(allAgentPermissionModes.size()))
        return;
    const AgentPermissionMode mode = allAgentPermissionModes.at(static_cast<std::size_t>(index));
    if (std::exchange(m_flags.permissionMode, mode) != mode)
        Q_EMIT selectedModeChanged();
    setModesExpanded(false);
}

void ProjectDetailModel::newSession()
{
    m_launch(TerminalBridge::Fresh {}, m_flags);
}

void ProjectDetailModel::continueLatest()
{
    m_launch(TerminalBridge::ContinueLatest {}, m_flags);
}

void ProjectDetailModel::resumeSession(const QString &sessionID)
{
    m_launch(TerminalBridge::Resume { sessionID }, m_flags);
}

} // namespace vantry
