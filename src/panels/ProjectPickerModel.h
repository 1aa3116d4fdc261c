#pragma once

#include "panels/PanelServices.h"
#include "panels/SearchListModel.h"
#include "transcripts/RecentProjects.h"

#include <QtQml/qqmlregistration.h>

#include <functional>

namespace vantry {

/// The new session picker: the projects that were used last, filtered by a text in their name or path. They are looked
/// for off the main thread. Main thread only.
class ProjectPickerModel final : public vantry::SearchListModel
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by MenuBarViewModel")
    Q_PROPERTY(bool isLoading READ isLoading NOTIFY stateChanged)
    Q_PROPERTY(QString emptyTitle READ emptyTitle NOTIFY stateChanged)
    Q_PROPERTY(QString emptyCaption READ emptyCaption NOTIFY stateChanged)
    Q_PROPERTY(QString emptySymbol READ emptySymbol NOTIFY stateChanged)

public:
    enum Role {
        ProjectIDRole = Qt::UserRole + 1,
        NameRole,
        PathRole,
        TimeTextRole,
        AccessibleTextRole,
    };
    Q_ENUM(Role)

    explicit ProjectPickerModel(const PanelServices &services, QObject *parent = nullptr);
    ~ProjectPickerModel() override;

    [[nodiscard]] int rowCount(const QModelIndex &parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex &index, int role) const override;

    [[nodiscard]] bool isLoading() const { return m_isLoading; }
    // What stands in the list's stead; all empty while there are rows, or may be.
    [[nodiscard]] QString emptyTitle() const;
    [[nodiscard]] QString emptyCaption() const;
    [[nodiscard]] QString emptySymbol() const;

    /// Begins anew: with no text and nothing chosen. What was found before shows until the projects have been found
    /// again.
    void load();

    void open(int index) override;

    std::function<void(const RecentProject &)> onOpenProject; ///< Unset: nothing happens.

Q_SIGNALS:
    void stateChanged();

private:
    struct Row;

    void takeSearchText() override { showRows(); }
    void showRows() override;

    void takeProjects(const QList<RecentProject> &projects);
    [[nodiscard]] bool isFiltered() const;

    QList<RecentProject> m_projects;
    QList<Row> m_rows;
    bool m_isLoading { false };
};

} // namespace vantry
