#pragma once

#include "base/Clock.h"
#include "sessions/AgentPermissionMode.h"
#include "sessions/AgentTool.h"
#include "terminal/TerminalBridge.h"
#include "transcripts/RecentProjects.h"

#include <QObject>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

#include <functional>

namespace vantry {

/// One project, and how an agent is to be started in it. Main thread only.
class ProjectDetailModel final : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by MenuBarViewModel")
    Q_PROPERTY(QString name READ name CONSTANT)
    Q_PROPERTY(QString path READ path CONSTANT)
    Q_PROPERTY(QVariantList tools READ tools CONSTANT)
    Q_PROPERTY(QVariantList modes READ modes NOTIFY selectedModeChanged)
    Q_PROPERTY(QString selectedModeTitle READ selectedModeTitle NOTIFY selectedModeChanged)
    Q_PROPERTY(QString selectedModeSymbol READ selectedModeSymbol NOTIFY selectedModeChanged)
    Q_PROPERTY(bool selectedModeIsWarning READ selectedModeIsWarning NOTIFY selectedModeChanged)
    Q_PROPERTY(bool modesExpanded READ modesExpanded WRITE setModesExpanded NOTIFY modesExpandedChanged)
    Q_PROPERTY(QVariantList recentSessions READ recentSessions CONSTANT)

public:
    using Launch = std::function<void(const TerminalBridge::LaunchMode &, const AgentLaunchFlags &)>;

    ProjectDetailModel(RecentProject project, Date now, Launch launch, QObject *parent = nullptr);

    [[nodiscard]] const QString &name() const { return m_project.name; }
    [[nodiscard]] const QString &path() const { return m_project.path; }
    /// Of each agent: tool (its index), title, symbol, selectable, selected. One that can't be chosen is to come.
    [[nodiscard]] QVariantList tools() const;
    /// Of each mode: mode (its index), symbol, title, subtitle, selected, isWarning.
    [[nodiscard]] QVariantList modes() const;
    [[nodiscard]] QString selectedModeTitle() const;
    [[nodiscard]] QString selectedModeSymbol() const;
    [[nodiscard]] bool selectedModeIsWarning() const;
    /// Whether the list of modes is open.
    [[nodiscard]] bool modesExpanded() const { return m_modesExpanded; }
    void setModesExpanded(bool expanded);
    /// Of each of the project's latest sessions: id, title, timeText.
    [[nodiscard]] QVariantList recentSessions() const { return m_recentSessions; }

    [[nodiscard]] AgentTool selectedTool() const { return m_selectedTool; }
    [[nodiscard]] const AgentLaunchFlags &flags() const { return m_flags; }

    /// Does nothing for an agent that can't be chosen.
    Q_INVOKABLE void selectTool(int index);
    /// Closes the list, too.
    Q_INVOKABLE void selectMode(int index);
    Q_INVOKABLE void newSession();
    Q_INVOKABLE void continueLatest();
    Q_INVOKABLE void resumeSession(const QString &sessionID);

Q_SIGNALS:
    void selectedModeChanged();
    void modesExpandedChanged();

private:
    const RecentProject m_project;
    const Launch m_launch;
    const QVariantList m_recentSessions;
    AgentTool m_selectedTool { AgentTool::claudeCode };
    AgentLaunchFlags m_flags;
    bool m_modesExpanded { false };
};

} // namespace vantry
