#include "native.h"
#include "sockethandle.h"
#include "udp.h"
#include "waiting.h"

#ifdef _WIN32
#include <winsock2.h>

#include <ws2tcpip.h>
#else
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/select.h>
#include <sys/socket.h>
#endif

#include <QtTest>

namespace {

#ifdef _WIN32
using SystemSocket = SOCKET;

bool isInherited(NativeSocket socket)
{
    DWORD flags = 0;
    return !GetHandleInformation(reinterpret_cast<HANDLE>(socket), &flags) || (flags & HANDLE_FLAG_INHERIT);
}
#else
using SystemSocket = int;

bool isInherited(NativeSocket socket)
{
    return !(fcntl(static_cast<int>(socket), F_GETFD) & FD_CLOEXEC);
}
#endif

/// Returns the port of \a socket; 0 if it is not bound.
uint16_t portOf(NativeSocket socket)
{
    sockaddr_in name = {};
    socklen_t size = sizeof name;
    getsockname(static_cast<SystemSocket>(socket), reinterpret_cast<sockaddr *>(&name), &size);
    return ntohs(name.sin_port);
}

/// Returns the next datagram at \a socket, or "none" after two seconds.
QByteArray receivedAt(NativeSocket socket)
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

} // namespace

class TestUdp : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void datagramArrivesWholeOrNotAtAll();
    void flagsAndPortConfigureTheSocket();
    void failedCloseIsReported();
    void textIsResolvedAndAddressIsSplit();

private:
    int send(SocketHandle *from, const QByteArray &data, uint32_t address = INADDR_LOOPBACK);

    SocketHandle *m_sender = nullptr;
    SocketHandle *m_receiver = nullptr;
    int m_descriptors = 0;
};

void TestUdp::init()
{
    m_descriptors = descriptorCount();
    QCOMPARE(udpOpen(&m_sender, 0, UdpAnyPort), int(UdpSucceeded));
    QCOMPARE(udpOpen(&m_receiver, 0, UdpAnyPort), int(UdpSucceeded));
}

void TestUdp::cleanup()
{
    QCOMPARE(udpClose(m_sender), int(UdpSucceeded));
    QCOMPARE(udpClose(m_receiver), int(UdpSucceeded));
    QCOMPARE(descriptorCount(), m_descriptors);
}

/// Sends \a data to the port of m_receiver. Returns the result of udpSend().
int TestUdp::send(SocketHandle *from, const QByteArray &data, uint32_t address)
{
    return udpSend(from, data.constData(), data.size(), address, portOf(m_receiver->socket), 100000);
}

void TestUdp::datagramArrivesWholeOrNotAtAll()
{
    QCOMPARE(send(m_sender, QByteArray(65508, 'x')), int(UdpFailed));
    for (const int32_t negative : {-1, -2, INT32_MIN})
        QCOMPARE(udpSend(m_sender, "", negative, INADDR_LOOPBACK, portOf(m_receiver->socket), 0),
                 int(UdpFailed));
    for (const QByteArray &data : {QByteArray(65507, 'x'), QByteArray("a\0\xff\0", 4), QByteArray()}) {
        QCOMPARE(send(m_sender, data), int(UdpSucceeded));
        QCOMPARE(receivedAt(m_receiver->socket), data);
    }
}

void TestUdp::flagsAndPortConfigureTheSocket()
{
    const uint16_t taken = portOf(m_receiver->socket);
    SocketHandle *handle = m_sender;
    QCOMPARE(udpOpen(&handle, taken, 0), int(UdpFailed));
    QCOMPARE(handle, m_sender);
    QCOMPARE(udpOpen(&handle, taken, UdpAnyPort), int(UdpSucceeded));
    QVERIFY(portOf(handle->socket) != 0 && portOf(handle->socket) != taken);
    QVERIFY(!isInherited(handle->socket));
    QCOMPARE(udpClose(handle), int(UdpSucceeded));
    const uint32_t broadcast = 0x7fffffff; // 127.255.255.255, the broadcast address of the loopback network
    QCOMPARE(send(m_sender, "all", broadcast), int(UdpFailed));
    QCOMPARE(udpOpen(&handle, 0, UdpBroadcast), int(UdpSucceeded));
    QCOMPARE(portOf(handle->socket), uint16_t(0));
    QCOMPARE(send(handle, "all", broadcast), int(UdpSucceeded));
    QCOMPARE(receivedAt(m_receiver->socket), QByteArray("all"));
    QCOMPARE(udpClose(handle), int(UdpSucceeded));

    QCOMPARE(udpClose(m_receiver), int(UdpSucceeded));
    QCOMPARE(udpOpen(&m_receiver, taken, 0), int(UdpSucceeded));
    QCOMPARE(portOf(m_receiver->socket), taken);
}

void TestUdp::failedCloseIsReported()
{
    SocketHandle *handle = nullptr;
    QCOMPARE(udpOpen(&handle, 0, UdpAnyPort), int(UdpSucceeded));
    QCOMPARE(nativeSocketClose(handle->socket), int(NativeTaken));
    QCOMPARE(udpClose(handle), int(UdpFailed));
}

void TestUdp::textIsResolvedAndAddressIsSplit()
{
    const std::pair<const char *, uint32_t> resolved[] = {
        {"192.168.0.1", 0xc0a80001},
        {"127.1", INADDR_LOOPBACK},
        {"255.255.255.255", 0xffffffff},
        {"1.2.3.256", 0},
        {"", 0},
        {"localhost", INADDR_LOOPBACK},
        {"no-such-host.invalid", 0},
    };
    for (const auto &[text, address] : resolved)
        QVERIFY2(resolveHost(text) == address, text);
    uint32_t part[4] = {};
    splitIpv4(&part[0], &part[1], &part[2], &part[3], 0xfe800102);
    QCOMPARE(QList<uint32_t>({part[0], part[1], part[2], part[3]}), QList<uint32_t>({254, 128, 1, 2}));
}

QTEST_GUILESS_MAIN(TestUdp)
#include "test_udp.moc"
