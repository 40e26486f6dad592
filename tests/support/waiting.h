#pragma once

#include <QDeadlineTimer>

#include <filesystem>
#include <thread>

// What a test waits for and counts in its own process.

/// Waits until \a wanted returns true, without processing events. Returns false after 30 seconds.
template <typename Predicate>
bool comesTrue(Predicate wanted)
{
    const QDeadlineTimer limit(30000);
    while (!wanted()) {
        if (limit.hasExpired())
            return false;
        std::this_thread::yield();
    }
    return true;
}

inline int entryCount(const char *folder)
{
    const std::filesystem::directory_iterator entries(folder);
    return static_cast<int>(std::distance(begin(entries), end(entries)));
}

inline int threadCount()
{
    return entryCount("/proc/self/task");
}

inline int descriptorCount()
{
    return entryCount("/proc/self/fd");
}
