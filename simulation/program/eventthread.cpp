#include "eventthread.h"

#include <QEventLoop>

#include <future>
#include <mutex>

namespace simulation {

namespace {

Q_NEVER_INLINE void callQt(QObject *object, const char *name)
{
    QMetaObject::invokeMethod(object, name, Qt::QueuedConnection);
}

} // namespace

// tests/support/tsan.supp suppresses reports by the name of this function. ThreadSanitizer's stack traces
// lack a function that calls uninstrumented code directly, so this function calls Qt through another one.
Q_NEVER_INLINE void queueCall(QObject *object, const char *name)
{
    callQt(object, name);
}

/// Runs the tasks. They pass between the threads under a std::mutex, because ThreadSanitizer does not see the
/// lock of Qt's event queue and would report data races.
class TaskRunner : public QObject
{
    Q_OBJECT

public:
    void post(std::packaged_task<void()> task)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_task = std::move(task);
        queueCall(this, "runTask");
    }

private:
    Q_INVOKABLE void runTask()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_task();
    }

    std::mutex m_mutex;
    std::packaged_task<void()> m_task; ///< guarded by m_mutex
};

EventThread::EventThread()
{
    std::promise<void> ready;
    m_thread = std::thread([this, &ready] {
        TaskRunner runner;
        QEventLoop loop;
        m_runner = &runner;
        m_loop = &loop;
        ready.set_value();
        loop.exec();
    });
    ready.get_future().wait();
}

EventThread::~EventThread()
{
    run([this] { m_loop->quit(); });
    m_thread.join();
}

void EventThread::run(const Task &task)
{
    std::packaged_task<void()> packaged(task);
    std::future<void> done = packaged.get_future();
    m_runner->post(std::move(packaged));
    done.wait();
}

} // namespace simulation

#include "eventthread.moc"
