#pragma once

#include <atomic>
#include <functional>
#include <thread>

/// A thread that calls a function without a pause until this object is destroyed. The function gets the
/// number of the call, from 1 on.
class Loop
{
public:
    explicit Loop(const std::function<void(int)> &turn)
        : m_thread([this, turn] {
            for (int number = 1; !m_ended; ++number)
                turn(number);
        })
    {
    }
    ~Loop()
    {
        m_ended = true;
        m_thread.join();
    }

private:
    std::atomic<bool> m_ended{false};
    std::thread m_thread;
};
