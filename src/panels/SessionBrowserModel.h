#pragma once

#include "base/Scheduler.h"
#include "panels/PanelServices.h"
#include "panels/RememberedSession.h"
#include "panels/RowListModel.h"

#include <QtQml/qqmlregistration.h>

#include <atomic>
#include <functional>
#include <memory>

namespace vantry {

/// The session browser: the recent sessions, or those that a text finds. The store is searched on its queue, a moment
/// after the last change of the text; a result that a later change has overtaken is dropped. Main thread only.
class SessionBrowserModel final : public vantry::RowListModel
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by MenuBarViewModel")
    Q_PROPERTY(QString searchText READ searchText WRITE setSearchText NOTIFY searchTextChanged)
    Q_PROPERTY(int selectionIndex READ selectionIndex WRITE setSelectionIndex NOTIFY selectionIndexChanged)
    Q_PROPERTY(bool focusSearchOnAppear READ focusSearchOnAppear NOTIFY focusSearchOnAppearChanged)
    Q_PROPERTY(bool hasNoMatch READ hasNoMatch NOTIFY stateChanged)
    Q_PROPERTY(bool isSearching READ isSearching NOTIFY stateChanged)

public:
    enum Role {
        SessionIDRole = Qt::UserRole + 1,
        NameRole,
        BranchRole, ///< Empty: unknown.
        TimeTextRole,
        SnippetRole, ///< One line; may be empty.
        ToolSymbolRole,
        AccessibleTextRole,
    };
    Q_ENUM(Role)

    explicit SessionBrowserModel(const PanelServices &services, QObject *parent = nullptr);
    ~SessionBrowserModel() override;

    [[nodiscard]] int rowCount(const QModelIndex &parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex &index, int role) const override;

    [[nodiscard]] const QString &searchText() const { return m_searchText; }
    void setSearchText(const QString &text);
    /// The row chosen by keyboard: -1 none, 0 the "New Session" row, n the n-th row of the list.
    [[nodiscard]] int selectionIndex() const { return m_selectionIndex; }
    /// An index that no row has chooses none.
    void setSelectionIndex(int index);
    /// Whether the browser comes up with the focus in the search field.
    [[nodiscard]] bool focusSearchOnAppear() const { return m_focusSearchOnAppear; }
    /// Nothing was found for the present text.
    [[nodiscard]] bool hasNoMatch() const;
    /// The present text's result is still to come.
    [[nodiscard]] bool isSearching() const { return m_isSearching; }

    /// Fetches the recent sessions, so that they are there when the browser opens.
    void loadRecentSessions();
    void setFocusSearchOnAppear(bool focus);
    /// Empties the search field.
    void clear();
    /// While it isn't visible, no search waits to be started.
    void setVisible(bool visible);

    Q_INVOKABLE void moveUp();
    Q_INVOKABLE void moveDown();
    /// Return in the list: opens what is chosen.
    Q_INVOKABLE void openSelected();
    /// Return in the search field: with nothing chosen, opens "New Session". Always true.
    bool submit() override;
    /// Counted as in selectionIndex; an index past the end does nothing.
    Q_INVOKABLE void open(int index);

    std::function<void()> onNewSession;                          ///< Unset: nothing happens.
    std::function<void(const RememberedSession &)> onOpenResult; ///< Unset: nothing happens.

Q_SIGNALS:
    void searchTextChanged();
    void selectionIndexChanged();
    void focusSearchOnAppearChanged();
    void stateChanged();

private:
    struct Row;
    using Results = QList<RememberedSession>;

    void startSearchSoon();
    void search();
    void takeResults(const Results &results);
    /// Shows the list that belongs to the text.
    void showResults();
    void setSearching(bool searching);
    [[nodiscard]] QString selectedID() const;

    const PanelServices m_services;
    QString m_searchText;
    Results m_searchResults; ///< Of the last finished search.
    Results m_recentResults;
    QList<Row> m_rows;
    int m_selectionIndex { -1 };
    bool m_focusSearchOnAppear { false };
    bool m_isSearching { false };
    bool m_isVisible { false };
    ScheduledTimer m_searchDebounce;
    /// Counts the changes of the text, so that the queue can leave out a search that nobody waits for any more.
    std::shared_ptr<std::atomic<quint64>> m_generation;
};

} // namespace vantry
