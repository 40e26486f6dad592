#include "delayedcommands.h"

#include <chrono>
#include <thread>

namespace simulation {

int DelayedCommands::query(const QByteArray &text, QByteArray *answer)
{
    wait();
    return m_service.query(text, answer);
}

int DelayedCommands::command(const QByteArray &text)
{
    wait();
    return m_service.command(text);
}

void DelayedCommands::wait() const
{
    const std::chrono::milliseconds delay(m_delayMs);
    if (delay.count() > 0)
        std::this_thread::sleep_for(delay);
}

} // namespace simulation
