#include "directsender.h"

#include "clocks.h"
#include "receivers.h"

namespace bench {

DirectSender::DirectSender(const Receivers &receivers, int channels)
{
    for (int channel = 0; channel < channels; ++channel)
        m_senders.emplace_back(channel, receivers.port(channel), m_socket.descriptor());
}

int64_t DirectSender::sendFrame(uint32_t number)
{
    const int64_t start = nowNs();
    for (Sender &sender : m_senders)
        sender.send(number);
    return start;
}

} // namespace bench
