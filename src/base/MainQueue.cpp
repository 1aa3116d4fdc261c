#include "base/MainQueue.h"

#include <QCoreApplication>
#include <QEvent>
#include <QObject>

#include <utility>

namespace vantry {

MainQueue::~MainQueue()
{
    std::vector<Task> dropped;
    {
        const std::scoped_lock lock(m_mutex);
        m_isEnding = true;
        dropped.swap(m_tasks);
    }
    // What a task has captured may post once more when it goes, which needs the mutex and the list.
    dropped.clear();
}

void MainQueue::post(Task task)
{
    bool wasEmpty = false;
    {
        const std::scoped_lock lock(m_mutex);
        if (m_isEnding)
            return;
        wasEmpty = m_tasks.empty();
        m_tasks.push_back(std::move(task));
    }
    if (wasEmpty)
        wake();
}

std::size_t MainQueue::drain()
{
    std::vector<Task> tasks;
    {
        const std::scoped_lock lock(m_mutex);
        tasks.swap(m_tasks);
    }
    for (Task &task : tasks) {
        // What a task has captured goes with it, not only when all the others have run.
        const Task running = std::exchange(task, {});
        running();
    }
    return tasks.size();
}

class QtMainQueue::Receiver final : public QObject
{
public:
    explicit Receiver(MainQueue &queue)
        : m_queue(queue)
    {}

    static QEvent::Type wakeUp()
    {
        static const auto type = static_cast<QEvent::Type>(QEvent::registerEventType());
        return type;
    }

    bool event(QEvent *event) override
    {
        if (event->type() != wakeUp())
            return QObject::event(event);
        m_queue.drain();
        return true;
    }

private:
    MainQueue &m_queue;
};

QtMainQueue::QtMainQueue()
    : m_receiver(std::make_unique<Receiver>(*this))
{}

QtMainQueue::~QtMainQueue() = default;

void QtMainQueue::wake()
{
    QCoreApplication::postEvent(m_receiver.get(), new QEvent(Receiver::wakeUp()));
}

} // namespace vantry
