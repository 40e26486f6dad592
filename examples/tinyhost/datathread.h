#pragma once

#include <atomic>
#include <thread>

class TableManager;

/// The tracking data: a frame of three lines every few milliseconds, whatever the GUI thread does.
class DataThread
{
public:
    explicit DataThread(TableManager &manager)
        : m_manager(manager)
        , m_thread([this] { run(); })
    {
    }
    ~DataThread();
    DataThread(const DataThread &) = delete;
    DataThread &operator=(const DataThread &) = delete;

private:
    void run();

    TableManager &m_manager;
    std::atomic<bool> m_stopping{false};
    std::thread m_thread; // last, since it uses the others at once
};
