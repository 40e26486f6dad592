#pragma once

#include "native.h"

#include <atomic>
#include <cstdint>

/// The record behind condTimedWait() and condWake(): a gate and a queue. A waiter passes the gate to be
/// counted and sleeps on the queue. A wake-up closes the gate while its group of waiters leaves, so that no
/// newcomer can take a post that was meant for the group.
struct Condition
{
    NativeSemaphore *queue = nullptr; ///< starts at 0; one post lets one waiter through
    NativeSemaphore *gate = nullptr;  ///< 1 open, 0 closed
    NativeLock *lock = nullptr;       ///< guards the counters

    /// Waiters counted at the gate without a wake-up, those of waitersGone included. Written only with the
    /// gate closed; atomic because a wake-up first looks at it under the lock alone.
    std::atomic<int32_t> waitersBlocked{0};
    int32_t waitersToUnblock = 0; ///< wake-ups issued and not accounted for; above 0 the gate is closed
    int32_t waitersGone = 0;      ///< left without a wake-up, still included in waitersBlocked
    int32_t waitersLate = 0; ///< timed out while a wake-up was on its way; each leaves a post in the queue
};
