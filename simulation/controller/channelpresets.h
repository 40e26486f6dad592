#pragma once

#include "controllerstate.h"

namespace simulation {

/// The initial settings of one channel.
struct ChannelPreset
{
    const char *group = nullptr; ///< multicast group; null: unicast to this computer
    int divisor = 1;
    QSet<QByteArray> types;
};

/// Returns the preset of the channel \a index, which is from 0 to 9. All presets differ.
ChannelPreset channelPreset(int index);

} // namespace simulation
