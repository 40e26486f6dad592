#include "native.h"

#include <arpa/inet.h>
#include <cerrno>
#include <chrono>
#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

int descriptor(NativeSocket socket)
{
    return static_cast<int>(socket);
}

int outcome(int result)
{
    return result == 0 ? NativeTaken : NativeFailed;
}

sockaddr_in endpoint(uint32_t address, uint16_t port)
{
    sockaddr_in end = {};
    end.sin_family = AF_INET;
    end.sin_addr.s_addr = htonl(address);
    end.sin_port = htons(port);
    return end;
}

} // namespace

// POSIX has no socket library to start.

int nativeNetworkStart()
{
    return NativeTaken;
}

void nativeNetworkStop() {}

NativeSocket nativeSocketCreate()
{
    const int made = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    return made < 0 ? nativeNoSocket : made;
}

int nativeSocketAllowBroadcast(NativeSocket socket)
{
    const int on = 1;
    return outcome(setsockopt(descriptor(socket), SOL_SOCKET, SO_BROADCAST, &on, sizeof on));
}

int nativeSocketBind(NativeSocket socket, uint16_t port)
{
    const sockaddr_in local = endpoint(INADDR_ANY, port);
    return outcome(bind(descriptor(socket), reinterpret_cast<const sockaddr *>(&local), sizeof local));
}

// Uses poll(), because a host may hold more descriptors than the fd_set of select() has bits.
int nativeSocketWaitWritable(NativeSocket socket, uint32_t timeoutMicroseconds)
{
    using Clock = std::chrono::steady_clock;
    using Milliseconds = std::chrono::milliseconds;

    const auto deadline = Clock::now() + std::chrono::microseconds(timeoutMicroseconds);
    pollfd waited = {descriptor(socket), POLLOUT, 0};
    int ready = 0;
    do {
        const auto left = std::chrono::ceil<Milliseconds>(deadline - Clock::now());
        ready = poll(&waited, 1, left.count() > 0 ? static_cast<int>(left.count()) : 0);
    } while (ready < 0 && errno == EINTR);
    if (ready == 0)
        return NativeTimedOut;
    return ready == 1 && !(waited.revents & POLLNVAL) ? NativeTaken : NativeFailed;
}

int32_t nativeSocketSend(NativeSocket socket, const void *data, int32_t length, uint32_t address,
                         uint16_t port)
{
    const sockaddr_in destination = endpoint(address, port);
    ssize_t sent = 0;
    do {
        sent = sendto(descriptor(socket), data, static_cast<size_t>(length), MSG_DONTWAIT,
                      reinterpret_cast<const sockaddr *>(&destination), sizeof destination);
    } while (sent < 0 && errno == EINTR);
    if (sent >= 0)
        return static_cast<int32_t>(sent);
    return errno == EAGAIN || errno == EWOULDBLOCK ? NativeNotReady : NativeFailed;
}

int nativeSocketClose(NativeSocket socket)
{
    return outcome(close(descriptor(socket)));
}

uint32_t nativeDottedAddress(const char *text)
{
    return ntohl(inet_addr(text));
}

// Uses getaddrinfo() rather than gethostbyname(), because several threads may look up names at once.
uint32_t nativeLookUp(const char *name)
{
    addrinfo hints = {};
    hints.ai_family = AF_INET;
    hints.ai_socktype = SOCK_DGRAM;
    addrinfo *found = nullptr;
    if (getaddrinfo(name, nullptr, &hints, &found) != 0)
        return 0;
    const auto *first = reinterpret_cast<const sockaddr_in *>(found->ai_addr);
    const uint32_t address = ntohl(first->sin_addr.s_addr);
    freeaddrinfo(found);
    return address;
}
