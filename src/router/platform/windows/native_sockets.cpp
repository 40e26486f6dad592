#include "native.h"

#include <winsock2.h>

#include <mswsock.h>
#include <ws2tcpip.h>

namespace {

SOCKET descriptor(NativeSocket socket)
{
    return static_cast<SOCKET>(socket);
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

/// Makes the socket non-blocking, because sends must not wait and sendto() on Windows has no flag for that.
bool makeNonBlocking(SOCKET socket)
{
    u_long on = 1;
    return ioctlsocket(socket, FIONBIO, &on) == 0;
}

/// Prevents calls on \a socket from failing with WSAECONNRESET after one of its datagrams has reached a
/// closed port. If the system refuses the setting, only datagrams are lost, so the result is ignored.
void ignoreClosedPorts(SOCKET socket)
{
    BOOL reported = FALSE;
    DWORD written = 0;
    WSAIoctl(socket, SIO_UDP_CONNRESET, &reported, sizeof reported, nullptr, 0, &written, nullptr, nullptr);
}

} // namespace

int nativeNetworkStart()
{
    WSADATA data;
    return outcome(WSAStartup(MAKEWORD(2, 0), &data));
}

void nativeNetworkStop()
{
    WSACleanup();
}

NativeSocket nativeSocketCreate()
{
    const SOCKET made =
        WSASocketW(AF_INET, SOCK_DGRAM, 0, nullptr, 0, WSA_FLAG_OVERLAPPED | WSA_FLAG_NO_HANDLE_INHERIT);
    if (made == INVALID_SOCKET)
        return nativeNoSocket;
    if (!makeNonBlocking(made)) {
        closesocket(made);
        return nativeNoSocket;
    }
    ignoreClosedPorts(made);
    return static_cast<NativeSocket>(made);
}

int nativeSocketAllowBroadcast(NativeSocket socket)
{
    const BOOL on = TRUE;
    return outcome(setsockopt(descriptor(socket), SOL_SOCKET, SO_BROADCAST,
                              reinterpret_cast<const char *>(&on), sizeof on));
}

int nativeSocketBind(NativeSocket socket, uint16_t port)
{
    const sockaddr_in local = endpoint(INADDR_ANY, port);
    return outcome(bind(descriptor(socket), reinterpret_cast<const sockaddr *>(&local), sizeof local));
}

// On Windows an fd_set is a list of handles, not a bit field, so select() accepts any handle.
int nativeSocketWaitWritable(NativeSocket socket, uint32_t timeoutMicroseconds)
{
    constexpr uint32_t microsecondsInSecond = 1000000;
    fd_set waited = {1, {descriptor(socket)}};
    timeval limit = {static_cast<long>(timeoutMicroseconds / microsecondsInSecond),
                     static_cast<long>(timeoutMicroseconds % microsecondsInSecond)};
    const int ready = select(0, nullptr, &waited, nullptr, &limit);
    if (ready == 0)
        return NativeTimedOut;
    return ready == 1 ? NativeTaken : NativeFailed;
}

int32_t nativeSocketSend(NativeSocket socket, const void *data, int32_t length, uint32_t address,
                         uint16_t port)
{
    const sockaddr_in destination = endpoint(address, port);
    const int sent = sendto(descriptor(socket), static_cast<const char *>(data), length, 0,
                            reinterpret_cast<const sockaddr *>(&destination), sizeof destination);
    if (sent != SOCKET_ERROR)
        return sent;
    return WSAGetLastError() == WSAEWOULDBLOCK ? NativeNotReady : NativeFailed;
}

int nativeSocketClose(NativeSocket socket)
{
    return outcome(closesocket(descriptor(socket)));
}

uint32_t nativeDottedAddress(const char *text)
{
    return ntohl(inet_addr(text));
}

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
