#pragma once

#include "base/Scheduler.h"
#include "base/WorkerPool.h"
#include "platform/TerminalDriver.h"

#include <chrono>
#include <functional>
#include <memory>
#include <vector>

namespace vantry {

class MainQueue;

/// Runs what waits for a terminal off the main thread. Jobs of one lane run one after another, in the order in which
/// they were given; lanes don't wait for each other, so a terminal that hangs holds up nothing but its own lane.
/// Destroying it waits for the calls that have begun and drops the rest; no `done` is called after that. Main thread
/// only.
class TerminalLanes
{
public:
    using Failure = TerminalDriver::Failure;
    using Done = std::function<void(const Failure &)>;

    /// One call, as a part of a job.
    struct Step
    {
        std::function<Failure()> call {};           ///< Runs off the main thread.
        std::chrono::milliseconds pauseAfter { 0 }; ///< How long nothing else is done in the lane after it.
        std::function<Failure()> mayBegin {};       ///< Asked on the main thread just before it; may be unset.
        std::function<void()> then {};              ///< Called from the main queue when it succeeded; may be unset.
    };
    using Steps = std::vector<Step>;

    TerminalLanes(MainQueue &mainQueue, Scheduler &scheduler);
    ~TerminalLanes();

    /// The lane of what is done to a target.
    [[nodiscard]] static QString laneOf(const TerminalTarget &target);
    /// Runs the steps, of which there is one at least, up to the first that fails. `done` gets its failure, from the
    /// main queue, never from in here.
    void run(const QString &lane, Steps steps, Done done);

private:
    class Jobs;

    std::shared_ptr<Jobs> m_jobs; ///< What the workers post back holds it weakly.
    WorkerPool m_workers;         ///< Last: its end waits for what uses the above.
};

} // namespace vantry
