#include "base/Scheduler.h"

#include <QTimer>

#include <utility>

namespace vantry {
namespace {

/// One QTimer. The action may cancel or destroy the timer that it runs for: the QTimer then is still in its own signal,
/// so it is only stopped and put aside for deletion by the event loop, and the action itself lives until it returns.
class QtTimerEntry final : public ScheduledTimer::Entry
{
public:
    QtTimerEntry(std::chrono::milliseconds delay, bool once, Scheduler::Action action)
        : m_timer(new QTimer)
    {
        // A coarse timer may be off by 5 % and fires together with others, which saves wake-ups; for short delays the
        // rounding would be felt.
        constexpr std::chrono::seconds coarseFrom { 2 };
        m_timer->setTimerType(delay < coarseFrom ? Qt::PreciseTimer : Qt::CoarseTimer);
        m_timer->setSingleShot(once);
        const auto shared = std::make_shared<const Scheduler::Action>(std::move(action));
        QObject::connect(m_timer, &QTimer::timeout, m_timer, [shared] {
            // The action may destroy its own timer, and this function with it.
            const auto running = shared; // NOLINT(performance-unnecessary-copy-initialization)
            (*running)();
        });
        m_timer->start(std::max(delay, std::chrono::milliseconds::zero()));
    }
    ~QtTimerEntry() override
    {
        m_timer->stop();
        m_timer->disconnect();
        m_timer->deleteLater();
    }
    QtTimerEntry(const QtTimerEntry &) = delete;
    QtTimerEntry &operator=(const QtTimerEntry &) = delete;

    [[nodiscard]] bool isActive() const override { return m_timer->isActive(); }

private:
    QTimer *m_timer;
};

} // namespace

ScheduledTimer QtScheduler::after(std::chrono::milliseconds delay, Action action)
{
    return ScheduledTimer(std::make_unique<QtTimerEntry>(delay, true, std::move(action)));
}

ScheduledTimer QtScheduler::every(std::chrono::milliseconds interval, Action action)
{
    return ScheduledTimer(std::make_unique<QtTimerEntry>(interval, false, std::move(action)));
}

} // namespace vantry
