#pragma once

#include <atomic>
#include <string>
#include <thread>
#include <vector>

class TableManager;

/// Delivers tracking data on its own thread: about every two milliseconds a frame with one line of each type.
class DataThread
{
public:
    /// Starts the thread. \a manager must outlive this object.
    DataThread(TableManager &manager, std::vector<std::string> types)
        : m_manager(manager)
        , m_types(std::move(types))
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
    const std::vector<std::string> m_types;
    std::atomic<bool> m_stopping{false};
    std::thread m_thread; // last member: the thread uses the others as soon as it starts
};
