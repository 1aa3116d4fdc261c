#include "panels/SessionInfo.h"

#include "base/Text.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QStringBuilder>

#include <chrono>

using namespace Qt::StringLiterals;

namespace vantry {

namespace {

/// The texts of the session info, for translation.
struct Words
{
    Q_DECLARE_TR_FUNCTIONS(SessionInfo)
};

/// More of a prompt than the one line in which it is shown will ever hold.
constexpr qsizetype longestPrompt = 500;

QString localTime(Date date)
{
    const auto sinceEpoch = std::chrono::floor<std::chrono::milliseconds>(date.time_since_epoch());
    return QDateTime::fromMSecsSinceEpoch(sinceEpoch.count()).toString(u"HH:mm"_s);
}

QString withTilde(const QString &path, const QString &home)
{
    if (home.size() > 1 && path.startsWith(home) && (path.size() == home.size() || path[home.size()] == u'/'))
        return u'~' % QStringView(path).sliced(home.size());
    return path;
}

/// Each word with a capital in front: "iterm2" is "Iterm2", and "vscode-insiders" "Vscode-Insiders".
QString capitalised(QString text)
{
    bool isInWord = false;
    for (QChar &unit : text) {
        unit = isInWord ? unit.toLower() : unit.toUpper();
        isInWord = unit.isLetterOrNumber() || unit.isMark() || unit == u'\'';
    }
    return text;
}

QString terminalOf(const VantrySession &session, const QString &terminalName)
{
    const QString type = session.terminalType().value_or(QString());
    return terminalName.isEmpty() || terminalName == type ? capitalised(type) : terminalName;
}

QString shortened(const QString &prompt)
{
    const QStringView start = firstCharacters(prompt, longestPrompt);
    return start.size() == prompt.size() ? prompt : QString(start % u"…");
}

} // namespace

SessionStatus statusOf(const VantrySession &session)
{
    if (!session.isAlive())
        return { u"circle.fill"_s, Words::tr("Finished"), ChatViewModel::NeutralTone };
    switch (session.state()) {
    case SessionState::launching:
        return { u"arrow.triangle.2.circlepath"_s, Words::tr("Launching..."), ChatViewModel::AttentionTone };
    case SessionState::working:
        return { u"arrow.triangle.2.circlepath"_s, Words::tr("Working..."), ChatViewModel::AttentionTone };
    case SessionState::needsPermission:
        return { u"exclamationmark.triangle.fill"_s, Words::tr("Needs Permission"), ChatViewModel::AttentionTone };
    case SessionState::hasQuestion:
        return { u"questionmark.circle.fill"_s, Words::tr("Has Questions"), ChatViewModel::AttentionTone };
    case SessionState::ready:
        return { u"circle.fill"_s, Words::tr("Ready"), ChatViewModel::ReadyTone };
    }
    return {};
}

std::vector<SessionInfoRow> infoRowsOf(const VantrySession &session, const QString &terminalName, const QString &home)
{
    std::vector<SessionInfoRow> rows;
    const auto add = [&rows](const QString &label, const QString &value, bool isCode = false) {
        if (!value.isEmpty())
            rows.push_back({ label, value, isCode });
    };
    add(Words::tr("Path"), withTilde(session.cwd().value_or(QString()), home));
    add(Words::tr("Terminal"), terminalOf(session, terminalName));
    // The identifier of a placeholder means nothing to anybody.
    if (!session.id().startsWith("pending-"_L1))
        add(Words::tr("Session"), session.id(), true);
    add(Words::tr("Started"), localTime(session.startedAt()));
    add(Words::tr("Updated"), localTime(session.lastUpdated()));
    if (const auto free = session.contextPercent())
        add(Words::tr("Context"), Words::tr("%1% used").arg(100 - *free));
    add(Words::tr("Last Prompt"), shortened(session.lastPrompt().value_or(QString())));
    add(Words::tr("Tool"), session.toolName().value_or(QString()));
    return rows;
}

} // namespace vantry
