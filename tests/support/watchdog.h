#pragma once

#include <QCoreApplication>
#include <QProcess>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <mutex>
#include <sys/prctl.h>
#include <thread>
#include <vector>

/// Ends a test that stands still. As soon as one of its lanes has made no progress for too long, the stacks
/// of all threads are printed, if there is a debugger, and the process is aborted.
class Watchdog
{
public:
    explicit Watchdog(int lanes, int patienceSeconds = 60)
        : m_steps(static_cast<size_t>(lanes))
        , m_patience(patienceSeconds)
        , m_thread([this] { watch(); })
    {
    }

    ~Watchdog()
    {
        {
            const std::lock_guard<std::mutex> guard(m_mutex);
            m_ended = true;
        }
        m_wake.notify_one();
        m_thread.join();
    }

    Watchdog(const Watchdog &) = delete;
    Watchdog &operator=(const Watchdog &) = delete;

    /// Relaxed, so that being watched puts the threads into no order that hides a race.
    void progress(int lane) { m_steps[static_cast<size_t>(lane)].fetch_add(1, std::memory_order_relaxed); }

private:
    void watch()
    {
        std::vector<int> seen(m_steps.size(), 0);
        std::vector<int> idleSeconds(m_steps.size(), 0);
        std::unique_lock<std::mutex> lock(m_mutex);
        while (!m_wake.wait_for(lock, std::chrono::seconds(1), [this] { return m_ended; })) {
            for (size_t lane = 0; lane < m_steps.size(); ++lane) {
                const int steps = m_steps[lane].load(std::memory_order_relaxed);
                idleSeconds[lane] = steps == seen[lane] ? idleSeconds[lane] + 1 : 0;
                seen[lane] = steps;
                if (idleSeconds[lane] >= m_patience)
                    giveUp(lane);
            }
        }
    }

    void giveUp(size_t lane) const
    {
        qWarning("lane %zu stands still", lane);
        prctl(PR_SET_PTRACER, PR_SET_PTRACER_ANY);
        QProcess::execute(QLatin1String("gdb"), {QLatin1String("-batch"), QLatin1String("-p"),
                                                 QString::number(QCoreApplication::applicationPid()),
                                                 QLatin1String("-ex"), QLatin1String("thread apply all bt")});
        std::abort();
    }

    std::vector<std::atomic<int>> m_steps; // what each lane has done so far
    const int m_patience;                  // seconds
    std::mutex m_mutex;
    std::condition_variable m_wake;
    bool m_ended = false; // under m_mutex
    std::thread m_thread;
};
