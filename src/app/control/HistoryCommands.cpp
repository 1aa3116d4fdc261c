#include "app/control/HistoryCommands.h"

#include "app/control/SessionHistory.h"
#include "app/control/SessionJson.h"
#include "app/control/StatusText.h"

namespace vantry {

namespace {

int runQuery(OutputForm form, const Paths &paths, Console &console, const Clock &clock, const HistoryQuery &query)
{
    const auto answer = queryHistory(paths, clock, query);
    if (const auto *problem = std::get_if<QString>(&answer)) {
        console.printError(problem->toStdString());
        return exitCode::refused;
    }
    const Json document = resultsJson(std::get<QList<SessionSearchResult>>(answer), clock.now(), paths.home);
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
