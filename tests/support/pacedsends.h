#pragma once

#include "native.h"

#include <QDeadlineTimer>

#include <atomic>

// Put before the platform's send by the linker (--wrap): a send waits until the receiver has room, so that a
// test that counts datagrams loses none to a full socket.

namespace platform {

// Taken down by the test as it receives.
inline std::atomic<int> datagramsUnderWay{0};
inline std::atomic<int> bytesUnderWay{0};

} // namespace platform

// NOLINTBEGIN(bugprone-reserved-identifier): the names are the linker's.
extern "C" {

int32_t __real_nativeSocketSend(NativeSocket, const void *, int32_t, uint32_t, uint16_t);
int32_t __wrap_nativeSocketSend(NativeSocket socket, const void *data, int32_t length, uint32_t address,
                                uint16_t port)
{
    const QDeadlineTimer limit(10000);
    while ((platform::datagramsUnderWay >= 64 || platform::bytesUnderWay >= 20000) && !limit.hasExpired())
        nativeSleep(0);
    ++platform::datagramsUnderWay;
    platform::bytesUnderWay += length;
    const int32_t sent = __real_nativeSocketSend(socket, data, length, address, port);
    if (sent < 0) {
        --platform::datagramsUnderWay;
        platform::bytesUnderWay -= length;
    }
    return sent;
}
}
// NOLINTEND(bugprone-reserved-identifier)
