#pragma once

#include "process.h"

#include <QDeadlineTimer>

#include <thread>

/// Calls \a wanted until it returns true, without processing events. Returns false if that takes more than 30
/// seconds.
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
