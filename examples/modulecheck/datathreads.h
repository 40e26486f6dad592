#pragma once

#include <atomic>
#include <thread>
#include <vector>

class CheckHost;

/// Delivers tracking data on its own threads until it is destroyed, about once per millisecond on each. The
/// first thread delivers whole frames of the types "fr", "6d" and "mk". Each other thread delivers lines of
/// the type "3d"; the last of these threads also reports a reset after every 50 lines.
class DataThreads
{
public:
    /// Starts \a count threads, at least 1. \a host must outlive this object.
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
