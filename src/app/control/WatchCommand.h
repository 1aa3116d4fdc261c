#pragma once

#include "app/CommandLine.h"
#include "app/control/Console.h"
#include "app/control/SessionJson.h"
#include "base/Clock.h"
#include "platform/ControlClient.h"

#include <QHash>
#include <QString>

#include <cstdint>
#include <functional>
#include <optional>

namespace vantry {

/// `vantry watch`: prints the live sessions, then one line for each change. Needs an event loop between start() and the
/// end. Main thread only.
class WatchCommand
{
public:
    /// `finish` is called once, with the exit code, when there is nothing more to watch or nobody reads any more.
    WatchCommand(const command::Watch &command, ControlClient &client, Console &console, const Clock &clock,
                 std::function<void(int code)> finish);
    ~WatchCommand();
    WatchCommand(const WatchCommand &) = delete;
    WatchCommand &operator=(const WatchCommand &) = delete;

    /// Prints the first document and begins to follow. Gives the exit code if that is all.
    [[nodiscard]] std::optional<int> start(std::uint16_t port);

private:
    [[nodiscard]] std::optional<int> printFirst(const QString &document);
    void printChanged(const QString &sessionJson);
    void printRemoved(const QString &sessionID);
    void printListening(bool listening);
    void printBackfill(std::uint32_t done, std::uint32_t total);
    void printLine(const std::string &line);
    [[nodiscard]] QString shortID(const QString &id) const;
    [[nodiscard]] QString timeText() const;
    void finish(int code);

    const OutputForm m_form;
    ControlClient &m_client;
    Console &m_console;
    const Clock &m_clock;
    std::function<void(int)> m_finish;
    QHash<QString, QString> m_projects; ///< By the identifier of the sessions that are in the list.
};

} // namespace vantry
