#include "app/control/StatusText.h"

#include "sessions/SessionText.h"

#include <algorithm>

namespace vantry {

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype leastShownIDLength = 8;
constexpr int widestStatus = 40;
constexpr int narrowestStatus = 16;
constexpr int widestProject = 24;
constexpr int widestBranch = 20;
constexpr int narrowestName = 8;

QString textAt(const Json &object, const char *key)
{
    const auto found = object.find(key);
    return found != object.end() && found->is_string() ? QString::fromStdString(found->get_ref<const std::string &>())
                                                       : QString();
}

bool flagAt(const Json &object, const char *key)
{
    const auto found = object.find(key);
    return found != object.end() && found->is_boolean() && found->get<bool>();
}

int numberAt(const Json &object, const char *key)
{
    const auto found = object.find(key);
    return found != object.end() && found->is_number_integer() ? found->get<int>() : 0;
}

/// Smaller comes first: what blocks an agent, what it asks, what waits for the next prompt, what needs nobody.
int urgency(const SessionRow &session)
{
    if (!session.isAlive)
        return 4;
    if (session.state == u"needs_permission")
        return 0;
    if (session.state == u"has_question")
        return 1;
    return session.state == u"ready" ? 2 : 3;
}

Paint statusPaint(const SessionRow &session)
{
    constexpr Paint byUrgency[] { Paint::Urgent, Paint::Question, Paint::Good, Paint::Busy, Paint::Faint };
    return byUrgency[urgency(session)];
}

/// One sign in front of the row, so that what needs an answer stands out without colours, too.
QString sign(const SessionRow &session)
{
    constexpr QStringView byUrgency[] { u"!", u"?", u" ", u" ", u" " };
    return byUrgency[urgency(session)].toString();
}

QString statusCell(const SessionRow &session)
{
    QString text = displayText(session.statusText);
    if (session.isAlive && session.state == u"needs_permission") {
        if (session.heldPermissions == 0)
            text += u" (in its terminal)";
        else if (session.heldPermissions > 1)
            text += u" (and %1 more)"_s.arg(session.heldPermissions - 1);
    }
    return text;
}

QString counted(qsizetype count, const QString &one, const QString &many)
{
    return QString::number(count) + u' ' + (count == 1 ? one : many);
}

QString summaryLine(const QList<SessionRow> &sessions, const TextStyle &style)
{
    const auto waiting = std::ranges::count_if(sessions, &SessionRow::needsAttention);
    const QString all = counted(sessions.size(), u"session"_s, u"sessions"_s);
    if (waiting == 0)
        return all + u", none needs an answer.\n";
    const QString asking = waiting == 1 ? u"1 needs an answer."_s : u"%1 need an answer."_s.arg(waiting);
    return all + u", " + painted(asking, Paint::Urgent, style) + u'\n';
}

TextTable::Row headerRow(const QStringList &titles)
{
    TextTable::Row row;
    for (const QString &title : titles)
        row.append({ title, Paint::Faint });
    return row;
}

QStringList idsOf(const QList<SessionRow> &sessions)
{
    QStringList ids;
    for (const SessionRow &session : sessions)
        ids.append(session.id);
    return ids;
}

QString sessionTable(const QList<SessionRow> &sessions, const TextStyle &style)
{
    const QHash<QString, QString> shown = shortIDs(idsOf(sessions));
    TextTable table;
    table.setLimits(3, widestBranch, narrowestName);
    table.setLimits(2, widestProject, narrowestName);
    table.setLimits(1, widestStatus, narrowestStatus);
    table.addRow(headerRow({ u"  ID"_s, u"STATUS"_s, u"PROJECT"_s, u"BRANCH"_s, u"UPDATED"_s, u"LAST"_s }));
    for (const SessionRow &session : sessions) {
        const Paint paint = statusPaint(session);
        const Paint rest = session.isAlive ? Paint::Plain : Paint::Faint;
        table.addRow({ { sign(session) + u' ' + displayText(shown.value(session.id)), paint },
                       { statusCell(session), paint },
                       { session.project, session.isAlive ? Paint::Strong : Paint::Faint },
                       { session.branch, rest },
                       { session.elapsedText, rest },
                       { session.preview, rest } });
    }
    return table.render(style);
}

/// What the agents ask for that can be answered from here, each in full: a person is to see what they allow. For
/// somebody who sits at a terminal.
QString answerHint(const QList<SessionRow> &sessions, const TextStyle &style)
{
    QString text;
    QString firstID;
    const QHash<QString, QString> shown = shortIDs(idsOf(sessions));
    for (const SessionRow &session : sessions) {
        if (!session.needsAttention || session.heldPermissions == 0)
            continue;
        const QString id = displayText(shown.value(session.id));
        if (firstID.isEmpty())
            firstID = id;
        text += painted(id + u" asks: ", Paint::Urgent, style) +
                (session.toolDetail.isEmpty() ? session.toolName : session.toolDetail) + u'\n';
    }
    if (!style.isTerminal() || firstID.isEmpty())
        return {};
    return u'\n' + text +
           painted(u"Answer with: vantry allow %1 (or deny, always-allow)"_s.arg(firstID), Paint::Faint, style) + u'\n';
}

} // namespace

SessionRow::SessionRow(const Json &session)
{
    if (!session.is_object())
        return;
    id = textAt(session, "id");
    state = textAt(session, "state");
    statusText = textAt(session, "statusText");
    elapsedText = displayText(textAt(session, "elapsedText"));
    project = displayText(textAt(session, "projectName"));
    if (project.isEmpty())
        project = displayText(id.first(std::min(id.size(), leastShownIDLength)));
    branch = displayText(textAt(session, "gitBranch"));
    preview = displayText(textAt(session, "previewLine"));
    toolName = displayText(textAt(session, "toolName"));
    toolDetail = displayText(textAt(session, "toolDetail"));
    lastUpdated = textAt(session, "lastUpdated");
    terminalType = textAt(session, "terminalType");
    terminalSessionID = textAt(session, "terminalSessionID");
    const auto shell = session.find("shellPid");
    if (shell != session.end() && shell->is_number_integer())
        shellPid = shell->get<std::int64_t>();
    const QString transcript = textAt(session, "transcriptPath");
    if (!transcript.isEmpty())
        transcriptPath = transcript;
    isAlive = flagAt(session, "isAlive");
    needsAttention = flagAt(session, "needsAttention");
    heldPermissions = numberAt(session, "heldPermissions");
}

std::optional<StatusDocument> StatusDocument::fromText(const QString &text)
{
    const Json document = Json::parse(text.toStdString(), nullptr, false);
    if (!document.is_object())
        return std::nullopt;
    const auto sessions = document.find("sessions");
    if (sessions == document.end() || !sessions->is_array())
        return std::nullopt;
    StatusDocument status { flagAt(document, "listening"), numberAt(document, "port"), {} };
    for (const Json &session : *sessions)
        status.sessions.append(SessionRow(session));
    return status;
}

QHash<QString, QString> shortIDs(const QStringList &ids)
{
    // In sorted order, what an identifier shares with any other it shares with a neighbour.
    QStringList sorted = ids;
    sorted.removeDuplicates();
    std::ranges::sort(sorted);

    const auto shared = [](const QString &a, const QString &b) { return std::ranges::mismatch(a, b).in1 - a.begin(); };
    QHash<QString, QString> shown;
    for (qsizetype i = 0; i < sorted.size(); ++i) {
        const QString &id = sorted[i];
        qsizetype length = leastShownIDLength;
        if (i > 0)
            length = std::max<qsizetype>(length, shared(id, sorted[i - 1]) + 1);
        if (i + 1 < sorted.size())
            length = std::max<qsizetype>(length, shared(id, sorted[i + 1]) + 1);
        length = std::min(length, id.size());
        if (length < id.size() && id.at(length - 1).isHighSurrogate())
            ++length;
        shown.insert(id, id.first(length));
    }
    return shown;
}

QString statusText(const StatusDocument &status, const TextStyle &style)
{
    QString text;
    if (!status.isListening) {
        const QString warning = u"Not listening on port %1: agents can't reach Vantry. See \"vantry doctor\"."_s;
        text += painted(warning.arg(status.port), Paint::Urgent, style) + u'\n';
    }
    if (status.sessions.isEmpty())
        return text + u"No sessions.\n";

    QList<SessionRow> sessions = status.sessions;
    std::ranges::stable_sort(sessions, [](const SessionRow &a, const SessionRow &b) {
        const int first = urgency(a);
        const int second = urgency(b);
        return first != second ? first < second : a.lastUpdated > b.lastUpdated;
    });
    return text + summaryLine(sessions, style) + sessionTable(sessions, style) + answerHint(sessions, style);
}

QString changeLine(const SessionRow &session, const QString &shortID, const QString &time, const TextStyle &style)
{
    TextTable table;
    const Paint paint = statusPaint(session);
    table.addRow({ { time, Paint::Faint },
                   { sign(session) + u' ' + displayText(shortID), paint },
                   { statusCell(session), paint },
                   { cutToWidth(session.project, widestProject), Paint::Strong },
                   { session.preview } });
    return table.render(style);
}

QString resultsText(const Json &results, const TextStyle &style)
{
    QList<SessionRow> sessions;
    QStringList summaries;
    for (const Json &result : results.at("results")) {
        sessions.append(SessionRow(result.at("session")));
        const auto snippet = firstMeaningfulLine(textAt(result, "snippet"));
        summaries.append(snippet ? displayText(*snippet) : sessions.last().preview);
    }
    if (sessions.isEmpty())
        return u"No sessions found.\n"_s;

    const QHash<QString, QString> shown = shortIDs(idsOf(sessions));
    TextTable table;
    table.setLimits(2, widestProject, narrowestName);
    table.setLimits(3, widestBranch, narrowestName);
    table.addRow(headerRow({ u"ID"_s, u"UPDATED"_s, u"PROJECT"_s, u"BRANCH"_s, u"SUMMARY"_s }));
    for (qsizetype i = 0; i < sessions.size(); ++i) {
        const SessionRow &session = sessions[i];
        table.addRow({ { displayText(shown.value(session.id)) },
                       { session.elapsedText },
                       { session.project, Paint::Strong },
                       { session.branch },
                       { summaries[i] } });
    }
    return table.render(style);
}

} // namespace vantry
