#include "udp.h"

#include "native.h"
#include "sockethandle.h"

#include <new>

namespace {

SocketHandle *makeHandle(uint16_t flags)
{
    const NativeSocket socket = nativeSocketCreate();
    if (socket == nativeNoSocket)
        return nullptr;
    auto *handle = new (std::nothrow) SocketHandle{socket, flags};
    if (!handle)
        nativeSocketClose(socket);
    return handle;
}

bool configure(const SocketHandle *handle, uint16_t port)
{
    const bool anyPort = handle->flags & UdpAnyPort;
    if ((handle->flags & UdpBroadcast) && nativeSocketAllowBroadcast(handle->socket) != NativeTaken)
        return false;
    if (!anyPort && port == 0)
        return true;
    return nativeSocketBind(handle->socket, anyPort ? 0 : port) == NativeTaken;
}

} // namespace

int udpOpen(SocketHandle **handle, uint16_t port, uint16_t flags)
{
    if (nativeNetworkStart() != NativeTaken)
        return UdpFailed;
    SocketHandle *made = makeHandle(flags);
    if (!made) {
        nativeNetworkStop();
        return UdpFailed;
    }
    if (!configure(made, port)) {
        udpClose(made);
        return UdpFailed;
    }
    *handle = made;
    return UdpSucceeded;
}

int udpSend(SocketHandle *handle, const void *data, int32_t length, uint32_t address, uint16_t port,
            uint32_t timeoutMicroseconds)
{
    // A negative length must not equal the negative result of a failed call.
    if (length < 0)
        return UdpFailed;
    // Send first: the socket is usually ready, so the system call of the wait is saved.
    int32_t sent = nativeSocketSend(handle->socket, data, length, address, port);
    if (sent == NativeNotReady) {
        const int writable = nativeSocketWaitWritable(handle->socket, timeoutMicroseconds);
        if (writable != NativeTaken)
            return writable == NativeTimedOut ? UdpTimedOut : UdpFailed;
        sent = nativeSocketSend(handle->socket, data, length, address, port);
        if (sent == NativeNotReady)
            return UdpTimedOut;
    }
    return sent == length ? UdpSucceeded : UdpFailed;
}

int udpClose(SocketHandle *handle)
{
    const int result = nativeSocketClose(handle->socket);
    delete handle;
    nativeNetworkStop();
    return result == NativeTaken ? UdpSucceeded : UdpFailed;
}

uint32_t resolveHost(const char *text)
{
    if (*text == '\0')
        return 0;
    const uint32_t dotted = nativeDottedAddress(text);
    if (dotted != nativeNoAddress)
        return dotted;
    if (nativeNetworkStart() != NativeTaken)
        return 0;
    const uint32_t address = nativeLookUp(text);
    nativeNetworkStop();
    return address;
}

void splitIpv4(uint32_t *first, uint32_t *second, uint32_t *third, uint32_t *fourth, uint32_t address)
{
    *first = address >> 24;
    *second = address >> 16 & 0xff;
    *third = address >> 8 & 0xff;
    *fourth = address & 0xff;
}
