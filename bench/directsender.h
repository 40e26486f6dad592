#pragma once

#include "road.h"
#include "sender.h"

#include <vector>

class Receivers;

/// One thread sends all: the feeding thread itself. No hand-off.
class DirectSender : public Road
{
public:
    DirectSender(const Receivers &receivers, int channels);

    int64_t carry(uint32_t number) override;
    int channels() const override { return int(m_senders.size()); }

private:
    SendSocket m_socket;
    std::vector<Sender> m_senders;
};
