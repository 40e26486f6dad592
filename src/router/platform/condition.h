#pragma once

#include "native.h"

#include <atomic>
#include <cstdint>

/// The condition variable of condTimedWait() and condWake(): a gate-and-queue scheme of two semaphores. A
/// waiter passes the gate to be counted and then sleeps on the queue. A wake-up keeps the gate closed until
/// the group of waiters that it wakes has left. Otherwise a later waiter could take a post that is meant for
/// the group (A. D. Birrell, "Implementing Condition Variables with Semaphores", 2003, explains the problem).
///
///     wait:  wait(gate);  ++waitersBlocked;  post(gate);  unlock the mutex;  wait(queue) until the time-out
///            with lock:  outside a group (the wait timed out):  ++waitersGone
///                        in a group:  if the wait timed out:  ++waitersLate
///                                     if --waitersToUnblock == 0:
///                                         if waitersBlocked > 0:  post(gate)
///                                         else:  drain = waitersLate;  waitersLate = 0;  last = true
///            if last:  wait(queue) drain times;  post(gate)
///            lock the mutex
///     wake:  with lock:  outside a group:  if waitersBlocked == waitersGone:  return
///                                          wait(gate);  waitersBlocked -= waitersGone;  waitersGone = 0
///                        in a group:  if waitersBlocked == 0:  return
///                        move one waiter, or all, from waitersBlocked to waitersToUnblock
///            post(queue) for each waiter moved
///
/// | State    | Gate   | waitersToUnblock | Next state                                                     |
/// |----------|--------|------------------|----------------------------------------------------------------|
/// | No group | open   | 0                | Group, when a wake-up finds a waiter                           |
/// | Group    | closed | above 0          | when its last waiter leaves: Draining, or No group if other    |
/// |          |        |                  | waiters are blocked                                            |
/// | Draining | closed | 0                | No group, when the posts of the late waiters have been taken   |
///
/// In the state No group, the gate is also closed for a moment while waitersBlocked changes.
///
/// Thread safety: any thread may wait or wake. If waits can time out, only one thread may wait at a time: a
/// waiter that times out although a wake-up was issued to it leaves its post in the queue; if a second waiter
/// took that post, closeGroup() would later wait for it forever.
///
/// Invariants:
/// 1. waitersBlocked changes only while the gate is closed.
/// 2. waitersGone is 0 in a group, and never exceeds waitersBlocked.
/// 3. In a group, waitersToUnblock is the number of wake-ups issued to waiters that have not left yet.
struct Condition
{
    NativeSemaphore *queue = nullptr; ///< starts at 0; one post lets one waiter through
    NativeSemaphore *gate = nullptr;  ///< 1 open, 0 closed
    NativeLock *lock = nullptr;

    /// Waiters that were counted at the gate and have no wake-up yet, including those in waitersGone. Written
    /// only while the gate is closed. Atomic, because condWake() first reads it holding only the lock.
    std::atomic<int32_t> waitersBlocked{0};
    int32_t waitersToUnblock GUARDED_BY(lock) = 0; ///< wake-ups whose waiters have not left yet
    int32_t waitersGone GUARDED_BY(lock) = 0; ///< left without a wake-up, still included in waitersBlocked
    /// Timed out although a wake-up was issued; each leaves a post in the queue.
    int32_t waitersLate GUARDED_BY(lock) = 0;
};
