#pragma once

#include "commandservice.h"

#include <atomic>

namespace simulation {

/// Passes queries and commands to another service like a slow Controller: each call first blocks its thread
/// for the delay. Thread-safe.
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
