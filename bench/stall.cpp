#include "moduleundertest.h"

#include <atomic>
#include <cerrno>
#include <ctime>

#include <dlfcn.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

namespace {

std::atomic<int> stalledSocket{-1};

bool isStalled(const sockaddr *destination)
{
    return destination && destination->sa_family == AF_INET &&
           ntohs(reinterpret_cast<const sockaddr_in *>(destination)->sin_port) == bench::stalledPort;
}

} // namespace

// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name): the library's names are reserved
extern "C" __attribute__((visibility("default"))) ssize_t
sendto(int socket, const void *data, size_t length, int flags, const sockaddr *destination, socklen_t size)
{
    using Function = ssize_t(int, const void *, size_t, int, const sockaddr *, socklen_t);
    static auto *const libraryFunction = reinterpret_cast<Function *>(dlsym(RTLD_NEXT, "sendto"));
    if (!isStalled(destination))
        return libraryFunction(socket, data, length, flags, destination, size);
    stalledSocket = socket;
    errno = EAGAIN;
    return -1;
}

extern "C" __attribute__((visibility("default"))) int poll(pollfd *descriptors, nfds_t count,
                                                           int milliseconds)
{
    using Function = int(pollfd *, nfds_t, int);
    static auto *const libraryFunction = reinterpret_cast<Function *>(dlsym(RTLD_NEXT, "poll"));
    if (count != 1 || descriptors->fd != stalledSocket)
        return libraryFunction(descriptors, count, milliseconds);
    const timespec time{milliseconds / 1000, long(milliseconds % 1000) * 1'000'000};
    nanosleep(&time, nullptr);
    return 0;
}
// NOLINTEND(readability-inconsistent-declaration-parameter-name)
