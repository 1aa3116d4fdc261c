#pragma once

#include "base/Clock.h"
#include "base/Scheduler.h"
#include "telegram/TelegramCommand.h"
#include "telegram/TelegramRecords.h"

#include <QObject>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace vantry {

class TelegramService;

/// One run of polling: asks for updates, carries out what they ask for, one after the other, and asks again; after a
/// failure it waits first, longer each time. A child of the service. Main thread only.
class TelegramPoll final : public QObject
{
public:
    explicit TelegramPoll(TelegramService &service);

    /// Asks for updates, and so on until it is cancelled.
    void poll();
    /// For good, also from within a callback: what is under way ends without one. Deletes this, later.
    void cancel();

private:
    enum class Handling {
        Finished,
        GoesOn, ///< handleRest() is called when it is finished.
    };

    void take(std::optional<std::vector<TelegramUpdate>> updates);
    void waitAfterFailure();
    void handleRest();
    [[nodiscard]] Handling carryOut(const TelegramUpdate &update);
    void greet(const telegram::Greet &command);
    [[nodiscard]] Handling launch(const telegram::NewSession &command);
    void answer(const TelegramUpdate &update, const telegram::Answer &command);
    /// Says so to whoever pressed the button, takes the buttons away, and then goes on.
    void acknowledge(const TelegramUpdate &update, const QString &text, std::function<void()> andThen);
    /// Has a callback called from the main queue, unless this is cancelled by then.
    void callLater(std::function<void(const TelegramService &)> call);
    [[nodiscard]] QString labelOf(const telegram::Answer &command) const;

    TelegramService &m_service;
    std::unique_ptr<QObject> m_requests; ///< The owner of all that is under way; null once cancelled.
    ScheduledTimer m_wait;
    Seconds m_backoff { 0 };
    std::vector<TelegramUpdate> m_updates; ///< Of the last good poll.
    std::size_t m_next { 0 };
};

} // namespace vantry
