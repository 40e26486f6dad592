#pragma once

#include "native.h"

/// The record that udpOpen() creates.
struct SocketHandle
{
    NativeSocket socket;
    uint16_t flags; ///< UdpFlag values, as passed to udpOpen()
};
