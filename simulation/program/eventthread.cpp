#include "eventthread.h"

#include <QEventLoop>

#include <future>

namespace simulation {

void TaskQueue::post(Task task)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_tasks.push_back(std::move(task));
    if (m_tasks.size() == 1)
        wake();
}

/// Not inlined, so that post() stays visible in ThreadSanitizer's stack traces, which lack the function that
/// calls Qt. tests/support/tsan.supp suppresses reports by the name of post().
Q_NEVER_INLINE void TaskQueue::wake()
{
    QMetaObject::invokeMethod(this, "runTasks", Qt::QueuedConnection);
}

void TaskQueue::runTasks()
{
    std::vector<Task> tasks;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        tasks.swap(m_tasks);
    }
    for (const Task &task : tasks)
        task();
}

EventThread::EventThread()
{
    std::promise<void> ready;
    m_thread = std::thread([this, &ready] {
        TaskQueue tasks;
        QEventLoop loop;
        m_tasks = &tasks;
        m_loop = &loop;
        ready.set_value();
        loop.exec();
    });
    ready.get_future().wait();
}

EventThread::~EventThread()
{
    stop();
}

void EventThread::post(TaskQueue::Task task)
{
    m_tasks->post(std::move(task));
}

void EventThread::run(const TaskQueue::Task &task)
{
    std::promise<void> done;
    post([&] {
        task();
        done.set_value();
    });
    done.get_future().wait();
}

void EventThread::stop()
{
    if (!m_thread.joinable())
        return;
    post([this] { m_loop->quit(); });
    m_thread.join();
}

} // namespace simulation
