#pragma once

#include "app/control/SessionJson.h"
#include "app/control/TextTable.h"

#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <optional>

namespace vantry {

// What `status`, `watch`, `search` and `recent` print for people, made from the same JSON that scripts get. Pure.

/// What a row shows of a session. Made from its JSON, which may come from another version of the program: what is
/// missing there is empty here.
struct SessionRow
{
    explicit SessionRow(const Json &session);

    QString id;
    QString state;
    QString statusText;
    QString elapsedText;
    QString project; ///< Its name, else the beginning of the identifier.
    QString branch;
    QString preview;
    QString toolName;
    QString toolDetail;
    QString lastUpdated; ///< The stored form, which sorts.
    QString terminalType;
    QString terminalSessionID;
    std::optional<std::int64_t> shellPid;
    std::optional<QString> transcriptPath;
    bool isAlive { false };
    bool needsAttention { false };
    int heldPermissions { 0 };
};

/// A document of statusJson(), as the client reads it.
struct StatusDocument
{
    bool isListening { false };
    int port { 0 };
    QList<SessionRow> sessions;

    /// Nothing when the text is not such a document.
    [[nodiscard]] static std::optional<StatusDocument> fromText(const QString &text);
};

/// For each identifier its shortest beginning that fits no other one, of at least 8 characters.
[[nodiscard]] QHash<QString, QString> shortIDs(const QStringList &ids);

/// A line that counts the sessions, and the table of them, those that need an answer first.
[[nodiscard]] QString statusText(const StatusDocument &status, const TextStyle &style);
/// One line of `vantry watch` for a session that has come or changed. `shortID` is the identifier as it is shown.
[[nodiscard]] QString changeLine(const SessionRow &session, const QString &shortID, const QString &time,
                                 const TextStyle &style);
/// The results of a search, or the most recent sessions.
[[nodiscard]] QString resultsText(const Json &results, const TextStyle &style);

} // namespace vantry
