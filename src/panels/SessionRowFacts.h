#pragma once

#include "base/Clock.h"
#include "panels/SessionCallbacks.h"
#include "panels/SessionListModel.h"
#include "sessions/VantrySession.h"

#include <QString>
#include <QStringList>
#include <QVariant>

#include <chrono>
#include <optional>

namespace vantry {

/// How long a session stays among those that need attention after it has asked for it last.
inline constexpr std::chrono::seconds attentionHold { 3 };

/// The list's sections, in their order.
enum class SessionSection { Attention, Ready, Working };

/// "attention", "ready", "working".
[[nodiscard]] QString sectionName(SessionSection section);
/// Where an alive session stands in the list.
[[nodiscard]] SessionSection sectionOf(const VantrySession &session, Date now);
/// How long it still stands among those that need attention although it no longer does; nothing when it doesn't.
[[nodiscard]] std::optional<std::chrono::nanoseconds> attentionHoldLeft(const VantrySession &session, Date now);
/// "+12", from 10,000 on "+12k"; empty when there is nothing to count.
[[nodiscard]] QString lineCountText(QChar sign, int count);

/// All that the list shows of one session. Plain values, compared role by role.
struct SessionRowFacts
{
    QString id;
    SessionSection section { SessionSection::Working };
    QString name;
    QString branch;
    int linesAdded { 0 };
    int linesRemoved { 0 };
    int contextUsed { -1 };
    SessionListModel::Icon icon { SessionListModel::WorkingIcon };
    bool showsPermission { false };
    bool showsQuestion { false };
    QString toolName;
    QString toolDetail;
    QString statusLine;
    QString elapsedText;
    QStringList options;
    QString answerRefusal;
    bool hasAlwaysAllow { false };
    bool allowPressed { false };
    QString accessibleText;
    /// Tells the permission request that is shown from others; no role. Empty: none is shown.
    QString request;

    /// `allowed` is the request of the session for which Allow was pressed, if any.
    [[nodiscard]] static SessionRowFacts of(const SessionPtr &session, const SessionCallbacks &callbacks, Date now,
                                            const QString &allowed);

    [[nodiscard]] QVariant value(int role) const;
};

} // namespace vantry
