#include "panels/ProjectPickerModel.h"

#include "base/Text.h"
#include "sessions/SessionText.h"

#include <QPointer>

#include <algorithm>
#include <utility>

namespace vantry {

using namespace Qt::StringLiterals;

namespace {

constexpr std::int64_t projectLimit = 12;

QHash<int, QByteArray> roleNames()
{
    using Model = ProjectPickerModel;
    return { { Model::ProjectIDRole, "projectID" },
             { Model::NameRole, "name" },
             { Model::PathRole, "path" },
             { Model::TimeTextRole, "timeText" },
             { Model::AccessibleTextRole, "accessibleText" } };
}

} // namespace

struct ProjectPickerModel::Row
{
    QString id;
    RecentProject project;
    QString timeText;

    [[nodiscard]] QVariant value(int role) const
    {
        switch (role) {
        case ProjectIDRole:
            return id;
        case NameRole:
            return project.name;
        case PathRole:
            return project.path;
        case TimeTextRole:
            return timeText;
        case AccessibleTextRole:
            return QStringList { project.name, timeText }.join(u", "_s);
        default:
            return {};
        }
    }
};

ProjectPickerModel::ProjectPickerModel(const PanelServices &services, QObject *parent)
    : RowListModel(vantry::roleNames(), parent)
    , m_services(services)
{}

ProjectPickerModel::~ProjectPickerModel() = default;

int ProjectPickerModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

QVariant ProjectPickerModel::data(const QModelIndex &index, int role) const
{
    return checkIndex(index, CheckIndexOption::IndexIsValid) ? m_rows.at(index.row()).value(role) : QVariant();
}

void ProjectPickerModel::setSearchText(const QString &text)
{
    if (m_searchText == text)
        return;
    m_searchText = text;
    setSelectionIndex(-1);
    showProjects();
    Q_EMIT searchTextChanged();
}

void ProjectPickerModel::setSelectionIndex(int index)
{
    if (index < -1 || index >= count())
        index = -1;
    if (std::exchange(m_selectionIndex, index) != index)
        Q_EMIT selectionIndexChanged();
}

QString ProjectPickerModel::emptyTitle() const
{
    if (!m_rows.isEmpty() || m_isLoading)
        return {};
    return isFiltered() ? tr("No matching projects") : tr("No recent projects");
}

QString ProjectPickerModel::emptyCaption() const
{
    return emptyTitle().isEmpty() || isFiltered() ? QString() : tr("Open a project with Claude Code first");
}

QString ProjectPickerModel::emptySymbol() const
{
    if (emptyTitle().isEmpty())
        return {};
    return isFiltered() ? u"magnifyingglass"_s : u"folder.badge.questionmark"_s;
}

void ProjectPickerModel::load()
{
    setSearchText(QString());
    setSelectionIndex(-1);
    m_isLoading = true;
    Q_EMIT stateChanged();
    m_services.workers.run([&mainQueue = m_services.mainQueue, home = m_services.home, self = QPointer(this)] {
        mainQueue.post([self, projects = RecentProjects(home).loadRecentProjects(projectLimit)] {
            if (self)
                self->takeProjects(projects);
        });
    });
}

void ProjectPickerModel::moveUp()
{
    setSelectionIndex(m_selectionIndex <= 0 ? count() - 1 : m_selectionIndex - 1);
}

void ProjectPickerModel::moveDown()
{
    setSelectionIndex(m_selectionIndex >= count() - 1 ? 0 : m_selectionIndex + 1);
}

bool ProjectPickerModel::submit()
{
    if (m_selectionIndex < 0)
        setSelectionIndex(0);
    open(m_selectionIndex);
    return true;
}

void ProjectPickerModel::open(int index)
{
    if (index < 0 || index >= count() || !onOpenProject)
        return;
    const RecentProject project = m_rows.at(index).project;
    onOpenProject(project);
}

void ProjectPickerModel::takeProjects(const QList<RecentProject> &projects)
{
    m_projects = projects;
    m_isLoading = false;
    showProjects();
}

void ProjectPickerModel::showProjects()
{
    const QString selected = m_selectionIndex >= 0 ? m_rows.at(m_selectionIndex).id : QString();
    const QString filter = trimmedWhitespace(m_searchText).toString();
    const Date now = m_services.clock.now();
    QList<Row> rows;
    for (const RecentProject &project : std::as_const(m_projects)) {
        if (project.name.contains(filter, Qt::CaseInsensitive) || project.path.contains(filter, Qt::CaseInsensitive))
            rows.append({ project.id, project, timeAgoText(project.lastUsed, now) });
    }
    replaceRows(m_rows, rows);
    // What was chosen stays chosen, wherever it stands now.
    if (m_selectionIndex >= 0)
        setSelectionIndex(static_cast<int>(std::ranges::find(m_rows, selected, &Row::id) - m_rows.begin()));
    Q_EMIT stateChanged();
}

bool ProjectPickerModel::isFiltered() const
{
    return !trimmedWhitespace(m_searchText).isEmpty();
}

} // namespace vantry
