#pragma once

#include "process.h"

#include <QDeadlineTimer>

#include <thread>

/// Whether \a wanted comes to hold. It is looked at without events being handled.
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
