#pragma once

#include <cstdint>

namespace bench {

/// A socket that sends to this port is never ready: sendto() fails with EAGAIN, and a later poll() of the
/// socket lasts until its time-out, which is at most 100 ms in the module. For this, the benchmark defines
/// sendto() and poll(), which replace those of the C library in the whole process.
constexpr uint16_t stalledPort = 9;

} // namespace bench
