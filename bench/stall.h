#pragma once

#include <cstdint>

namespace bench {

/// A socket that sends to this port is never ready: sendto() fails with EAGAIN, and a later poll() of only
/// this socket returns 0 after its time-out, which is at most 100 ms in the module. stall.cpp defines these
/// two functions, which replace those of the C library in the whole process. At most one socket at a time
/// may send to this port.
constexpr uint16_t stalledPort = 9;

} // namespace bench
