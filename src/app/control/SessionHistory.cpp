#include "app/control/SessionHistory.h"

#include "app/control/SessionCommands.h"
#include "app/control/StatusText.h"

#include <QFileInfo>

#include <limits>

namespace vantry {

using namespace Qt::StringLiterals;

namespace {

/// Keeps what the store would write to the log.
class LastMessage final : public Log
{
public:
    using Log::write;
    void write(std::string_view message) override { m_text = message; }
    [[nodiscard]] QString text() const { return QString::fromStdString(m_text); }

private:
    std::string m_text;
};

/// The live sessions that the running application knows; none when nothing runs.
QList<SessionRow> liveSessions(ControlClient &client)
{
    const auto reply = client.list();
    const auto *document = std::get_if<QString>(&reply);
    const auto status = document ? StatusDocument::fromText(*document) : std::nullopt;
    return status ? status->sessions : QList<SessionRow>();
}

} // namespace

std::variant<QList<SessionSearchResult>, QString> queryHistory(const Paths &paths, const Clock &clock,
                                                               const HistoryQuery &query)
{
    const QFileInfo database(paths.database());
    if (!database.exists())
        return QList<SessionSearchResult>();
    // SQLite would wait for ever at a FIFO.
    if (!database.isFile())
        return u"%1 is not a database"_s.arg(database.filePath());

    LastMessage problem;
    SessionStore store(paths.database(), clock, problem, SessionStore::Access::ReadOnly);
    QList<SessionSearchResult> results;
    const bool isOpen = store.queue().sync([&] {
        store.open();
        if (store.isOpen())
            results = query(store);
        return store.isOpen();
    });
    store.queue().sync([&] { store.close(); });
    if (isOpen && (!results.isEmpty() || problem.text().isEmpty()))
        return results;
    return problem.text().isEmpty() ? u"the database can't be opened"_s : problem.text();
}

std::variant<KnownSession, QString> findSession(const QString &given, const Paths &paths, const Clock &clock,
                                                ControlClient &client)
{
    constexpr std::int64_t all = std::numeric_limits<std::int32_t>::max();
    const auto history = queryHistory(paths, clock, [](SessionStore &store) { return store.recentSessions(all); });
    // Each event of a live session is in the database, too; it is asked for first, since that needs nobody to answer.
    const auto *remembered = std::get_if<QList<SessionSearchResult>>(&history);
    QStringList ids;
    for (const SessionSearchResult &result : remembered ? *remembered : QList<SessionSearchResult>())
        ids.append(result.session->id());
    SessionChoice choice = chooseSession(ids, given);
    if (choice.id) {
        const auto &session = remembered->at(ids.indexOf(*choice.id)).session;
        return KnownSession { *choice.id, session->resolvedTranscriptPath(paths.home) };
    }
    if (choice.fitsSeveral)
        return choice.reason;

    const QList<SessionRow> live = liveSessions(client);
    ids.clear();
    for (const SessionRow &session : live)
        ids.append(session.id);
    choice = chooseSession(ids, given);
    if (choice.id)
        return KnownSession { *choice.id, live.at(ids.indexOf(*choice.id)).transcriptPath };
    return remembered ? choice.reason : std::get<QString>(history);
}

} // namespace vantry
