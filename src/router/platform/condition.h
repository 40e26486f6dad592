#pragma once

#include "native.h"

#include <atomic>
#include <cstdint>

/// The condition variable of condTimedWait() and condWake(), built from two semaphores, the gate and the
/// queue. A waiter passes the gate to be counted and then sleeps on the queue. A wake-up keeps the gate
/// closed until the group of waiters that it wakes has left, so that no later waiter can take a post meant
/// for the group.
///
/// If waits can time out, only one thread may wait at a time. A waiter that times out although a wake-up was
/// issued to it leaves its post in the queue. If a second waiter took that post, closeGroup() would later
/// wait for it forever.
struct Condition
{
    NativeSemaphore *queue = nullptr; ///< starts at 0; one post lets one waiter through
    NativeSemaphore *gate = nullptr;  ///< 1 open, 0 closed
    NativeLock *lock = nullptr;       ///< guards the counters

    /// Waiters that were counted at the gate and have no wake-up yet, including those in waitersGone. Written
    /// only while the gate is closed. Atomic, because condWake() first reads it holding only the lock.
    std::atomic<int32_t> waitersBlocked{0};
    int32_t waitersToUnblock = 0; ///< wake-ups whose waiters have not left yet; above 0 the gate is closed
    int32_t waitersGone = 0;      ///< left without a wake-up, still included in waitersBlocked
    int32_t waitersLate = 0; ///< timed out although a wake-up was issued; each leaves a post in the queue
};
