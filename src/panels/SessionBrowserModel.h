#pragma once

#include "base/Scheduler.h"
#include "panels/PanelServices.h"
#include "panels/RememberedSession.h"
#include "panels/SearchListModel.h"

#include <QtQml/qqmlregistration.h>

#include <atomic>
#include <functional>
#include <memory>

namespace vantry {

/// The session browser: the recent sessions, or those that a text finds. The store is searched on its queue, a moment
/// after the last change of the text while the browser is visible; a result that a later change has overtaken is
/// dropped. Above the list stands the "New Session" row. Main thread only.
class SessionBrowserModel final : public vantry::SearchListModel
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by MenuBarViewModel")
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

    /// Whether the browser comes up with the focus in the search field.
    [[nodiscard]] bool focusSearchOnAppear() const { return m_focusSearchOnAppear; }
    /// Nothing was found for the present text.
    [[nodiscard]] bool hasNoMatch() const;
    /// The present text's result is still to come.
    [[nodiscard]] bool isSearching() const { return m_isSearching; }

    /// Fetches the recent sessions, so that they are there when the browser opens.
    void loadRecentSessions();
    void setFocusSearchOnAppear(bool focus);
    void setVisible(bool visible) override;
    void open(int index) override;

    std::function<void()> onNewSession;                          ///< Unset: nothing happens.
    std::function<void(const RememberedSession &)> onOpenResult; ///< Unset: nothing happens.

Q_SIGNALS:
    void focusSearchOnAppearChanged();
    void stateChanged();

private:
    struct Row;
    using Results = QList<RememberedSession>;

    void takeSearchText() override;
    void showRows() override;
    void startSearchSoon();
    void search();
    void takeResults(const Results &results);
    void setSearching(bool searching);
    /// The list that belongs to the text.
    [[nodiscard]] const Results &shownResults() const;

    Results m_searchResults; ///< Of the last finished search.
    Results m_recentResults;
    QList<Row> m_rows;
    bool m_focusSearchOnAppear { false };
    bool m_isSearching { false };
    ScheduledTimer m_searchDebounce;
    /// Counts the changes of the text, so that the queue can leave out a search that nobody waits for any more.
    std::shared_ptr<std::atomic<quint64>> m_generation;
};

} // namespace vantry
