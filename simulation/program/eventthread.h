#pragma once

#include <QObject>

#include <functional>
#include <mutex>
#include <thread>
#include <vector>

class QEventLoop;

namespace simulation {

/// Runs functions on the thread to which this object belongs, in the order in which they were posted. The
/// thread must run an event loop. If a task itself runs an event loop, tasks that are posted meanwhile may
/// run before tasks that were posted earlier.
///
/// The functions and their data pass between the threads under a std::mutex. ThreadSanitizer does not see the
/// lock of Qt's event queue and would report data races on the arguments of queued slots.
class TaskQueue : public QObject
{
    Q_OBJECT

public:
    using Task = std::function<void()>;

    /// Queues \a task. Thread-safe. Tasks that have not run are dropped when the queue is destroyed.
    void post(Task task);

private:
    Q_INVOKABLE void runTasks();

    std::mutex m_mutex;
    std::vector<Task> m_tasks; ///< guarded by m_mutex
};

/// A thread with an event loop. The constructor starts the thread, the destructor calls stop().
class EventThread
{
public:
    EventThread();
    ~EventThread();
    EventThread(const EventThread &) = delete;
    EventThread &operator=(const EventThread &) = delete;

    /// Queues \a task to run on the thread. Thread-safe.
    void post(TaskQueue::Task task);

    /// Runs \a task on the thread and waits until it has returned. Thread-safe, but must not be called on the
    /// thread itself, where it would wait forever.
    void run(const TaskQueue::Task &task);

    /// Ends the thread after the tasks that were posted before, and waits for its end. A second call has no
    /// effect. Not thread-safe; must not be called on the thread itself. No task may be posted after the
    /// call.
    void stop();

private:
    TaskQueue *m_tasks = nullptr; ///< points to a local variable of m_thread's function
    QEventLoop *m_loop = nullptr; ///< points to a local variable of m_thread's function
    std::thread m_thread;
};

} // namespace simulation
