#include "app/control/HistoryCommands.h"

#include "app/control/SessionJson.h"
#include "app/control/StatusText.h"
#include "sessions/SessionStore.h"

#include <QFileInfo>

#include <functional>
#include <optional>

namespace vantry {

using namespace Qt::StringLiterals;

namespace {

/// Turns what the store would write to the log into the command's one error line.
class LastMessage final : public Log
{
public:
    using Log::write;
    void write(std::string_view message) override { m_text = message; }
    [[nodiscard]] const std::string &text() const { return m_text; }

private:
    std::string m_text;
};

using Query = std::function<QList<SessionSearchResult>(SessionStore &)>;

int runQuery(OutputForm form, const Paths &paths, Console &console, const Clock &clock, const Query &query)
{
    QList<SessionSearchResult> results;
    const QFileInfo database(paths.database());
    // SQLite would wait for ever at a FIFO.
    if (database.exists() && !database.isFile()) {
        console.printError(u"%1 is not a database"_s.arg(database.filePath()).toStdString());
        return exitCode::refused;
    }
    if (database.exists()) {
        LastMessage problem;
        SessionStore store(paths.database(), clock, problem, SessionStore::Access::ReadOnly);
        const bool isOpen = store.queue().sync([&] {
            store.open();
            if (store.isOpen())
                results = query(store);
            return store.isOpen();
        });
        store.queue().sync([&] { store.close(); });
        if (!isOpen || (results.isEmpty() && !problem.text().empty())) {
            console.printError(problem.text().empty() ? "the database can't be opened" : problem.text());
            return exitCode::refused;
        }
    }
    const Json document = resultsJson(results, clock.now(), paths.home);
    if (form == OutputForm::Json)
        console.print(jsonLine(document) + '\n');
    else
        console.print(resultsText(document, console.style()).toStdString());
    return exitCode::done;
}

} // namespace

int runSearch(const command::Search &command, const Paths &paths, Console &console, const Clock &clock)
{
    const QString text = command.words.join(u' ');
    return runQuery(command.form, paths, console, clock,
                    [&](SessionStore &store) { return store.search(text, command.limit); });
}

int runRecent(const command::Recent &command, const Paths &paths, Console &console, const Clock &clock)
{
    return runQuery(command.form, paths, console, clock,
                    [&](SessionStore &store) { return store.recentSessions(command.limit); });
}

} // namespace vantry
