#pragma once

#include "base/Clock.h"
#include "panels/SessionCallbacks.h"
#include "panels/SessionListModel.h"
#include "sessions/VantrySession.h"

#include <QString>
#include <QStringList>
#include <QVariant>

namespace vantry {

/// The list's sections, in their order.
enum class SessionSection { Attention, Ready, Working };

/// "attention", "ready", "working".
[[nodiscard]] QString sectionName(SessionSection section);
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

    /// What the list knows of a row beside its session.
    struct Context
    {
        Date now;
        bool isHeld { false }; ///< Stays among those that need attention for a while, although it no longer does.
        QString allowed {};    ///< The request for which Allow was pressed, if any.
    };
    [[nodiscard]] static SessionRowFacts of(const SessionPtr &session, const SessionCallbacks &callbacks,
                                            const Context &context);

    [[nodiscard]] QVariant value(int role) const;
};

} // namespace vantry
