#pragma once

#include <cstdint>

namespace bench {

/// The destination whose sockets are never ready: a send says so, and a wait lasts its time-out, which is 100
/// ms in the module. The benchmark's own sendto() and poll() take the place of the C library's for the whole
/// process.
constexpr uint16_t stalledPort = 9;

} // namespace bench
