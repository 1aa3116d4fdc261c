#include "app/control/TranscriptOutput.h"

#include "app/control/StatusText.h"
#include "base/Dates.h"
#include "sessions/SessionText.h"

#include <QDateTime>

#include <chrono>

namespace vantry {

using namespace Qt::StringLiterals;

namespace {

using Role = TranscriptMessage::Role;

Json textOrNull(const std::optional<QString> &text)
{
    return text ? Json(jsonString(*text)) : Json(nullptr);
}

std::string dateText(Date date)
{
    return jsonString(isoMilliseconds(date));
}

const char *roleName(Role role)
{
    switch (role) {
    case Role::user:
        return "user";
    case Role::assistant:
        return "assistant";
    case Role::toolUse:
        return "toolUse";
    }
    return "";
}

QString localTime(Date date)
{
    const auto since1970 = std::chrono::duration_cast<std::chrono::milliseconds>(date.time_since_epoch());
    return QDateTime::fromMSecsSinceEpoch(since1970.count()).toString(u"yyyy-MM-dd HH:mm"_s);
}

/// The line above what somebody said.
QString speakerLine(const TranscriptMessage &message, const TextStyle &style)
{
    const bool isUser = message.role == Role::user;
    QString line = painted(isUser ? u"You"_s : u"Agent"_s, isUser ? Paint::Question : Paint::Good, style);
    if (message.timestamp)
        line += u"  " + painted(localTime(*message.timestamp), Paint::Faint, style);
    return line + u'\n';
}

QString toolLine(const TranscriptMessage &message, const TextStyle &style)
{
    const QString name = displayText(message.toolName.value_or(QString()));
    const QString summary = displayText(message.toolSummary.value_or(QString()));
    QString line = u"  " + painted(u'[' + name + u']', Paint::Busy, style);
    if (!summary.isEmpty())
        line += u' ' + summary;
    return line + u'\n';
}

QString shownPath(const QString &path, const QString &home)
{
    const bool isInHome = !home.isEmpty() && (path == home || path.startsWith(home + u'/'));
    return displayText(isInHome ? u'~' + path.sliced(home.size()) : path);
}

} // namespace

Json messagesJson(const std::vector<TranscriptMessage> &messages)
{
    Json array = Json::array();
    for (const TranscriptMessage &message : messages) {
        array.push_back(Json {
            { "id", jsonString(message.id) },
            { "role", roleName(message.role) },
            { "text", jsonString(message.text) },
            { "timestamp", message.timestamp ? Json(dateText(*message.timestamp)) : Json(nullptr) },
            { "toolName", textOrNull(message.toolName) },
            { "toolSummary", textOrNull(message.toolSummary) },
        });
    }
    return Json { { "messages", std::move(array) } };
}

QString messagesText(const std::vector<TranscriptMessage> &messages, const TextStyle &style)
{
    if (messages.empty())
        return u"No messages.\n"_s;
    QString text;
    for (const TranscriptMessage &message : messages) {
        if (message.role == Role::toolUse) {
            text += toolLine(message, style);
            continue;
        }
        if (!text.isEmpty())
            text += u'\n';
        text += speakerLine(message, style);
        for (const QString &line : displayLines(message.text))
            text += line.isEmpty() ? u"\n"_s : QString(u"  " + line + u'\n');
    }
    return text;
}

Json projectsJson(const QList<RecentProject> &projects)
{
    Json array = Json::array();
    for (const RecentProject &project : projects) {
        Json sessions = Json::array();
        for (const RecentSession &session : project.sessions) {
            sessions.push_back(Json {
                { "id", jsonString(session.id) },
                { "lastUsed", dateText(session.lastUsed) },
                { "firstMessage", textOrNull(session.firstMessage) },
            });
        }
        array.push_back(Json {
            { "id", jsonString(project.id) },
            { "path", jsonString(project.path) },
            { "name", jsonString(project.name) },
            { "lastUsed", dateText(project.lastUsed) },
            { "sessions", std::move(sessions) },
        });
    }
    return Json { { "projects", std::move(array) } };
}

QString projectsText(const QList<RecentProject> &projects, Date now, const QString &home, const TextStyle &style)
{
    if (projects.isEmpty())
        return u"No projects found.\n"_s;
    constexpr int widestPath = 48;
    constexpr int narrowestPath = 16;

    QStringList ids;
    for (const RecentProject &project : projects)
        ids.append(project.sessions.isEmpty() ? QString() : project.sessions.first().id);
    const QHash<QString, QString> shown = shortIDs(ids);

    TextTable table;
    table.setLimits(0, widestPath, narrowestPath);
    TextTable::Row header;
    for (const QString &title : { u"PROJECT"_s, u"USED"_s, u"LAST SESSION"_s, u"BEGAN WITH"_s })
        header.append({ title, Paint::Faint });
    table.addRow(std::move(header));
    for (qsizetype i = 0; i < projects.size(); ++i) {
        const RecentProject &project = projects[i];
        const auto &latest = project.sessions;
        table.addRow(
            { { shownPath(project.path, home), Paint::Strong },
              { timeAgoText(project.lastUsed, now) },
              { displayText(shown.value(ids[i])) },
              { latest.isEmpty() ? QString() : displayText(latest.first().firstMessage.value_or(QString())) } });
    }
    return table.render(style);
}

} // namespace vantry
