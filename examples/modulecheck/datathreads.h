#pragma once

#include <atomic>
#include <thread>
#include <vector>

class CheckHost;

/// Delivers tracking data on threads of its own until it is destroyed, a frame each millisecond. The first
/// thread delivers whole frames of the types "fr", "6d" and "mk". Each further one delivers lines of the type
/// "3d", and the last of these also resets the data now and then.
class DataThreads
{
public:
    DataThreads(CheckHost &host, int count);
    ~DataThreads();
    DataThreads(const DataThreads &) = delete;
    DataThreads &operator=(const DataThreads &) = delete;

private:
    void deliverFrames();
    void deliverLines(bool withResets);

    CheckHost &m_host;
    std::atomic<bool> m_stopping{false};
    std::vector<std::thread> m_threads;
};
