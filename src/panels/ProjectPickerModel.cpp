#include "panels/ProjectPickerModel.h"

#include "base/Text.h"

#include <QPointer>

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
    Date time;
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
    : SearchListModel(services, vantry::roleNames(), 0, parent)
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
    clear();
    m_isLoading = true;
    Q_EMIT stateChanged();
    services().workers.run([&mainQueue = services().mainQueue, home = services().home, self = QPointer(this)] {
        mainQueue.post([self, projects = RecentProjects(home).loadRecentProjects(projectLimit)] {
            if (self)
                self->takeProjects(projects);
        });
    });
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
    showRows();
}

void ProjectPickerModel::showRows()
{
    const QString filter = trimmedWhitespace(searchText()).toString();
    const Date now = services().clock.now();
    QList<Row> rows;
    for (const RecentProject &project : std::as_const(m_projects)) {
        if (project.name.contains(filter, Qt::CaseInsensitive) || project.path.contains(filter, Qt::CaseInsensitive))
            rows.append({ project.id, project, project.lastUsed, timeAgoText(project.lastUsed, now) });
    }
    replaceSearchRows(m_rows, rows);
    Q_EMIT stateChanged();
}

bool ProjectPickerModel::isFiltered() const
{
    return !trimmedWhitespace(searchText()).isEmpty();
}

} // namespace vantry
