#pragma once

#include "controllerstate.h"

/// What the channels of a session are set up with.
struct ChannelPreset
{
    const char *group; ///< multicast group, null for this computer
    int divisor;
    QSet<QByteArray> types;
};

/// The preset of channel \a index. No two are alike.
ChannelPreset channelPreset(int index);
