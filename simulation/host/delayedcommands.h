#pragma once

#include "commandservice.h"

#include <atomic>

namespace simulation {

/// Behaves like a slow Controller: each query or command blocks the calling thread for the delay and is then
/// passed to another service. Thread-safe.
class DelayedCommands : public CommandService
{
public:
    /// \a service must outlive this object.
    explicit DelayedCommands(CommandService &service)
        : m_service(service)
    {
    }

    /// Sets the delay of later calls; 0, the initial value, means no delay.
    void setDelay(int milliseconds) { m_delayMs = milliseconds; }

    /// Returns the delay in milliseconds.
    int delay() const { return m_delayMs; }

    int query(const QByteArray &text, QByteArray *answer) override;
    int command(const QByteArray &text) override;

private:
    void wait() const;

    CommandService &m_service;
    std::atomic<int> m_delayMs{0};
};

} // namespace simulation
