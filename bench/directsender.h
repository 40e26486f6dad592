#pragma once

#include "pipeline.h"
#include "sender.h"

#include <vector>

namespace bench {

class Receivers;

/// The limit that the rows call "one sender": the feeding thread sends all datagrams itself, without a
/// hand-off to other threads.
class DirectSender : public Pipeline
{
public:
    /// Creates a sender for each of the first \a channels receivers, which must have been started.
    DirectSender(const Receivers &receivers, int channels);

    int64_t sendFrame(uint32_t number) override;
    int channels() const override { return int(m_senders.size()); }

private:
    SendSocket m_socket;
    std::vector<Sender> m_senders;
};

} // namespace bench
