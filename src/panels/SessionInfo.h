#pragma once

#include "panels/ChatViewModel.h"
#include "sessions/VantrySession.h"

#include <QMetaType>
#include <QString>
#include <QtQml/qqmlregistration.h>

#include <vector>

namespace vantry {

/// One row of the session info.
class SessionInfoRow
{
    Q_GADGET
    QML_ANONYMOUS
    Q_PROPERTY(QString label MEMBER label CONSTANT)
    Q_PROPERTY(QString value MEMBER value CONSTANT)
    Q_PROPERTY(bool isCode MEMBER isCode CONSTANT)

public:
    QString label;
    QString value;
    bool isCode { false }; ///< Set in the fixed font.

    friend bool operator==(const SessionInfoRow &, const SessionInfoRow &) = default;
};

/// The session's state as the session info shows it.
struct SessionStatus
{
    QString symbol;
    QString text;
    ChatViewModel::StatusTone tone { ChatViewModel::NeutralTone };

    friend bool operator==(const SessionStatus &, const SessionStatus &) = default;
};

[[nodiscard]] SessionStatus statusOf(const VantrySession &session);
/// The rows below the state; one without a value is left out. Times are local. `terminalName` is the name that the
/// terminal's driver has for people, or the plain type where there is no driver.
[[nodiscard]] std::vector<SessionInfoRow> infoRowsOf(const VantrySession &session, const QString &terminalName,
                                                     const QString &home);

} // namespace vantry

Q_DECLARE_METATYPE(vantry::SessionInfoRow)
