#pragma once

#include <functional>
#include <thread>

class QEventLoop;
class QObject;

namespace simulation {

class TaskRunner;

/// Queues a call of \a object's invokable function \a name, which must take no arguments. The event loop of
/// the thread to which \a object belongs makes the call. May be called on any thread.
void queueCall(QObject *object, const char *name);

/// A thread with an event loop, from the constructor to the destructor. One thread at a time may use it.
class EventThread
{
public:
    using Task = std::function<void()>;

    EventThread();
    ~EventThread();
    EventThread(const EventThread &) = delete;
    EventThread &operator=(const EventThread &) = delete;

    /// Runs \a task on the thread and waits until it has returned.
    void run(const Task &task);

private:
    TaskRunner *m_runner = nullptr; ///< points to a local variable of m_thread's function
    QEventLoop *m_loop = nullptr;   ///< points to a local variable of m_thread's function
    std::thread m_thread;
};

} // namespace simulation
