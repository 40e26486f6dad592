#include "channelpresets.h"

namespace simulation {

ChannelPreset channelPreset(int index)
{
    static const std::array<ChannelPreset, outputChannelCount> presets{{
        {nullptr, 1, {"fr", "6d"}},
        {nullptr, 2, {"fr", "3d", "6df2"}},
        {"239.255.42.3", 5, {"fr", "6d", "3d"}},
        {nullptr, 1, {"fr", "6di"}},
        {nullptr, 3, {"fr", "ts", "6d"}},
        {nullptr, 2, {"fr", "6dmt2", "6dmtr"}},
        {nullptr, 4, {"fr", "st", "3d"}},
        {"239.255.42.8", 1, {"fr", "6dcal", "6d"}},
        {nullptr, 10, {"fr", "ts2", "6d", "3d"}},
        {nullptr, 1, {"fr", "ts2", "ts", "st", "6dcal", "6d", "6di", "3d", "6df2", "6dmt2", "6dmtr", "6dx"}},
    }};
    return presets[size_t(index)];
}

} // namespace simulation
