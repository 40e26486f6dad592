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

/// Returns the preset of channel \a index, counted from 0. All presets differ.
ChannelPreset channelPreset(int index);

} // namespace simulation
