#pragma once

#include "commandservice.h"

#include <atomic>

namespace simulation {

/// Passes queries and commands to another service after a delay, like a slow Controller. Thread-safe.
class DelayedCommands : public CommandService
{
public:
    explicit DelayedCommands(CommandService &service)
        : m_service(service)
    {
    }

    void setDelay(int milliseconds) { m_delayMs = milliseconds; }
    int delay() const { return m_delayMs; }

    int query(const QByteArray &text, QByteArray *answer) override;
    int command(const QByteArray &text) override;

private:
    void wait() const;

    CommandService &m_service;
    std::atomic<int> m_delayMs{0};
};

} // namespace simulation
