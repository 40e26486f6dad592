#pragma once

#include "controllerstate.h"

/// What the channels of a session are set up with.
struct ChannelPreset
{
    const char *group = nullptr; ///< multicast group, null for this computer
    int divisor = 1;
    QSet<QByteArray> types;
};

/// The preset of channel \a index. No two are alike.
ChannelPreset channelPreset(int index);
