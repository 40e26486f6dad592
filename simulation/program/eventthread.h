#pragma once

#include <QObject>

#include <functional>
#include <mutex>
#include <thread>
#include <vector>

class QEventLoop;

namespace simulation {

/// Runs functions on the thread to which it belongs, in the order of post(). Unlike queued slots it shares
/// its data under a std::mutex, which thread sanitizers understand.
class TaskQueue : public QObject
{
    Q_OBJECT

public:
    using Task = std::function<void()>;

    /// Thread-safe. Tasks that have not run are dropped when the queue is destroyed.
    void post(Task task);

private:
    Q_INVOKABLE void runTasks();
    void wake();

    std::mutex m_mutex;
    std::vector<Task> m_tasks; ///< guarded by m_mutex
};

/// A thread with an event loop.
class EventThread
{
public:
    EventThread();
    ~EventThread();
    EventThread(const EventThread &) = delete;
    EventThread &operator=(const EventThread &) = delete;

    /// Runs \a task on the thread. Thread-safe.
    void post(TaskQueue::Task task);

    /// Runs \a task on the thread and waits for its end. Not to be called on the thread itself.
    void run(const TaskQueue::Task &task);

    /// Runs the posted tasks, then ends the thread. No task may be posted afterwards.
    void stop();

private:
    TaskQueue *m_tasks = nullptr; ///< lives on m_thread, as does the next
    QEventLoop *m_loop = nullptr;
    std::thread m_thread;
};

} // namespace simulation
