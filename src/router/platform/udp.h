#pragma once

#include <cstdint>

/// UDP over IPv4 for the router: plain functions on an opaque handle, without Qt and without exceptions.
/// Addresses are unsigned 32-bit numbers in host byte order, with the first octet in the most significant
/// byte; 0 means none. Ports are in host byte order. No pointer may be null.

/// An open UDP socket. Only one thread may use it at a time.
struct SocketHandle;

/// The results of the functions that return int.
enum UdpResult : int
{
    UdpSucceeded = 0,
    UdpTimedOut = -1, ///< only from udpSend(): nothing was sent
    UdpFailed = -2
};

/// Options of udpOpen(), combined with |.
enum UdpFlag : uint16_t
{
    UdpBroadcast = 1, ///< may send to broadcast addresses
    UdpAnyPort = 4,   ///< binds to a port that the system picks; the port argument is ignored
};

/// Opens a datagram socket bound to \a port on all interfaces; with port 0 and without UdpAnyPort it is not
/// bound. \a flags are UdpFlag values. Returns UdpSucceeded and writes \a handle, or returns UdpFailed.
int udpOpen(SocketHandle **handle, uint16_t port, uint16_t flags);

/// Sends \a length bytes as one datagram to \a address and \a port. Waits at most \a timeoutMicroseconds, on
/// POSIX rounded up to milliseconds, until the socket accepts it. Returns UdpSucceeded (sent completely),
/// UdpTimedOut, or UdpFailed (error or only partly sent).
int udpSend(SocketHandle *handle, const void *data, int32_t length, uint32_t address, uint16_t port,
            uint32_t timeoutMicroseconds);

/// Closes and frees \a handle. Returns UdpSucceeded, or UdpFailed if the platform reports an error; the
/// handle is freed in both cases.
int udpClose(SocketHandle *handle);

/// Returns the IPv4 address of \a text, a dotted address or a host name: the first one if there are several,
/// 0 if there is none or \a text is empty. Blocks while it looks up a name. May be called on any thread.
uint32_t resolveHost(const char *text);

/// Splits \a address into its four octets, most significant first.
void splitIpv4(uint32_t *first, uint32_t *second, uint32_t *third, uint32_t *fourth, uint32_t address);
