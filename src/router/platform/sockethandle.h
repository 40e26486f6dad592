#pragma once

#include "native.h"

/// The record behind udpOpen().
struct SocketHandle
{
    NativeSocket socket;
    uint16_t flags; ///< of UdpFlag, as given to udpOpen()
};
