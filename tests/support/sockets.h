#pragma once

#include "native.h"

#include <QByteArray>

#ifdef _WIN32
#include <winsock2.h>

#include <ws2tcpip.h>
#else
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/select.h>
#include <sys/socket.h>
#endif

// What a test looks at of a socket, with the calls that all systems share.

#ifdef _WIN32
using SystemSocket = SOCKET;

inline bool isInherited(NativeSocket socket)
{
    DWORD flags = 0;
    return !GetHandleInformation(reinterpret_cast<HANDLE>(socket), &flags) || (flags & HANDLE_FLAG_INHERIT);
}
#else
using SystemSocket = int;

inline bool isInherited(NativeSocket socket)
{
    return !(fcntl(static_cast<int>(socket), F_GETFD) & FD_CLOEXEC);
}
#endif

/// 0 if \a socket is not bound.
inline uint16_t portOf(NativeSocket socket)
{
    sockaddr_in name = {};
    socklen_t size = sizeof name;
    getsockname(static_cast<SystemSocket>(socket), reinterpret_cast<sockaddr *>(&name), &size);
    return ntohs(name.sin_port);
}

/// The next datagram at \a socket, or "none" after two seconds.
inline QByteArray receivedAt(NativeSocket socket)
{
    const auto handle = static_cast<SystemSocket>(socket);
    fd_set waited;
    FD_ZERO(&waited);
    FD_SET(handle, &waited);
    timeval limit = {2, 0};
    char data[70000];
    if (select(static_cast<int>(handle) + 1, &waited, nullptr, nullptr, &limit) != 1)
        return "none";
    return {data, static_cast<int>(recv(handle, data, sizeof data, 0))};
}
