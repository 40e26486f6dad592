#pragma once

#include <atomic>
#include <thread>

class TableManager;

/// Delivers tracking data on its own thread: a frame of three lines about every two milliseconds.
class DataThread
{
public:
    /// Starts the thread. \a manager must outlive this object.
    explicit DataThread(TableManager &manager)
        : m_manager(manager)
        , m_thread([this] { run(); })
    {
    }
    /// Stops the thread and waits until it has ended.
    ~DataThread();
    DataThread(const DataThread &) = delete;
    DataThread &operator=(const DataThread &) = delete;

private:
    void run();

    TableManager &m_manager;
    std::atomic<bool> m_stopping{false};
    std::thread m_thread; // last member: the thread uses the others as soon as it starts
};
