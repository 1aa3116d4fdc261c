#include "terminal/TerminalLanes.h"

#include "base/MainQueue.h"

#include <deque>
#include <exception>
#include <map>
#include <utility>

namespace vantry {

namespace {

/// So many terminals may hang before another one has to wait. A thread is made only when all others are busy.
constexpr int maximumThreads = 64;

TerminalDriver::Failure failureOf(const std::function<TerminalDriver::Failure()> &call)
{
    try {
        return call();
    } catch (const std::exception &error) {
        return QString::fromUtf8(error.what());
    }
}

} // namespace

class TerminalLanes::Jobs : public std::enable_shared_from_this<TerminalLanes::Jobs>
{
public:
    Jobs(MainQueue &mainQueue, Scheduler &scheduler, WorkerPool &workers)
        : m_mainQueue(mainQueue)
        , m_scheduler(scheduler)
        , m_workers(workers)
    {}

    void add(const QString &name, Steps steps, Done done)
    {
        Lane &lane = m_lanes[name];
        lane.jobs.push_back(
            { { std::move_iterator(steps.begin()), std::move_iterator(steps.end()) }, std::move(done) });
        if (std::exchange(lane.isBusy, true))
            return;
        beginStep(name);
    }

private:
    struct Job
    {
        std::deque<Step> steps; ///< Those to come.
        Done done;
    };
    struct Lane
    {
        std::deque<Job> jobs;
        bool isBusy { false }; ///< A step is running, or its pause.
        ScheduledTimer pause {};
    };

    void beginStep(const QString &name)
    {
        std::deque<Step> &steps = m_lanes[name].jobs.front().steps;
        Step step = std::move(steps.front());
        steps.pop_front();
        const auto post = [&mainQueue = m_mainQueue, weak = weak_from_this(), name, pause = step.pauseAfter,
                           then = step.then](Failure failure) {
            mainQueue.post([weak, name, pause, then, failure = std::move(failure)] {
                const auto jobs = weak.lock();
                if (!jobs)
                    return;
                jobs->endStep(name, pause, failure);
                if (!failure && then)
                    then();
            });
        };
        if (Failure refusal = step.mayBegin ? step.mayBegin() : std::nullopt)
            post(std::move(refusal));
        else
            m_workers.run([call = std::move(step.call), post]() mutable {
                Failure failure = failureOf(call);
                call = nullptr; // What it holds goes before the end is told.
                post(std::move(failure));
            });
    }

    void endStep(const QString &name, std::chrono::milliseconds pause, const Failure &failure)
    {
        Lane &lane = m_lanes[name];
        Done done;
        if (failure || lane.jobs.front().steps.empty()) {
            done = std::move(lane.jobs.front().done);
            lane.jobs.pop_front();
        }
        if (pause.count() > 0)
            lane.pause = m_scheduler.after(pause, [this, name] { goOn(name); });
        else
            goOn(name);
        if (done)
            done(failure);
    }

    void goOn(const QString &name)
    {
        if (m_lanes[name].jobs.empty())
            m_lanes.erase(name);
        else
            beginStep(name);
    }

    MainQueue &m_mainQueue;
    Scheduler &m_scheduler;
    WorkerPool &m_workers;
    std::map<QString, Lane> m_lanes; ///< Only those with something to do.
};

TerminalLanes::TerminalLanes(MainQueue &mainQueue, Scheduler &scheduler)
    : m_jobs(std::make_shared<Jobs>(mainQueue, scheduler, m_workers))
    , m_workers(maximumThreads, WorkerPool::Priority::Normal)
{}

TerminalLanes::~TerminalLanes() = default;

QString TerminalLanes::laneOf(const TerminalTarget &target)
{
    // Sessions of several shells may share a terminal; without an identifier, the shell is what tells them apart.
    const QString which = target.sessionID.isEmpty() ? QString::number(target.shellPid.value_or(0)) : target.sessionID;
    return target.type + u'\n' + which;
}

void TerminalLanes::run(const QString &lane, Steps steps, Done done)
{
    m_jobs->add(lane, std::move(steps), std::move(done));
}

} // namespace vantry
