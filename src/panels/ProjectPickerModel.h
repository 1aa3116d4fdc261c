#pragma once

#include "panels/PanelServices.h"
#include "panels/RowListModel.h"
#include "transcripts/RecentProjects.h"

#include <QtQml/qqmlregistration.h>

#include <functional>

namespace vantry {

/// The new session picker: the projects that were used last, filtered by a text in their name or path. They are looked
/// for off the main thread. Main thread only.
class ProjectPickerModel final : public vantry::RowListModel
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by MenuBarViewModel")
    Q_PROPERTY(QString searchText READ searchText WRITE setSearchText NOTIFY searchTextChanged)
    Q_PROPERTY(int selectionIndex READ selectionIndex WRITE setSelectionIndex NOTIFY selectionIndexChanged)
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

    [[nodiscard]] const QString &searchText() const { return m_searchText; }
    void setSearchText(const QString &text);
    /// The row chosen by keyboard, from 0; -1 none.
    [[nodiscard]] int selectionIndex() const { return m_selectionIndex; }
    /// An index that no row has chooses none.
    void setSelectionIndex(int index);
    [[nodiscard]] bool isLoading() const { return m_isLoading; }
    // What stands in the list's stead; all empty while there are rows, or may be.
    [[nodiscard]] QString emptyTitle() const;
    [[nodiscard]] QString emptyCaption() const;
    [[nodiscard]] QString emptySymbol() const;

    /// Begins anew: with no text and nothing chosen. What was found before shows until the projects have been found
    /// again.
    void load();

    Q_INVOKABLE void moveUp();
    Q_INVOKABLE void moveDown();
    /// Return in the search field: opens what is chosen, or the first row. Always true.
    bool submit() override;
    /// From 0; an index past the end does nothing.
    Q_INVOKABLE void open(int index);

    std::function<void(const RecentProject &)> onOpenProject; ///< Unset: nothing happens.

Q_SIGNALS:
    void searchTextChanged();
    void selectionIndexChanged();
    void stateChanged();

private:
    struct Row;

    void takeProjects(const QList<RecentProject> &projects);
    /// Shows the projects that fit the text.
    void showProjects();
    [[nodiscard]] bool isFiltered() const;

    const PanelServices m_services;
    QString m_searchText;
    QList<RecentProject> m_projects;
    QList<Row> m_rows;
    int m_selectionIndex { -1 };
    bool m_isLoading { false };
};

} // namespace vantry
