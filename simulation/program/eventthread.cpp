#include "eventthread.h"

#include "queuedcall.h"

#include <QEventLoop>

#include <future>

namespace simulation {

void TaskQueue::post(Task task)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_tasks.push_back(std::move(task));
    if (m_tasks.size() == 1)
        queueCall(this, "runTasks");
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
