#include "native.h"
#include "process.h"
#include "sockethandle.h"
#include "udp.h"

#include <QNetworkDatagram>
#include <QUdpSocket>
#include <QtTest>

#ifdef _WIN32
#include <winsock2.h>
#else
#include <fcntl.h>
#endif

namespace {

constexpr uint32_t loopback = 0x7f000001;

#ifdef _WIN32
bool isInherited(NativeSocket socket)
{
    DWORD flags = 0;
    return !GetHandleInformation(reinterpret_cast<HANDLE>(socket), &flags) || (flags & HANDLE_FLAG_INHERIT);
}
#else
bool isInherited(NativeSocket socket)
{
    return !(fcntl(static_cast<int>(socket), F_GETFD) & FD_CLOEXEC);
}
#endif

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
    int send(SocketHandle *from, const QByteArray &data, uint32_t address = loopback);
    QNetworkDatagram received();

    SocketHandle *m_sender = nullptr;
    std::unique_ptr<QUdpSocket> m_receiver;
    int m_descriptors = 0;
};

void TestUdp::init()
{
    m_descriptors = descriptorCount();
    QCOMPARE(udpOpen(&m_sender, 0, UdpAnyPort), int(UdpSucceeded));
    m_receiver = std::make_unique<QUdpSocket>();
    QVERIFY(m_receiver->bind(QHostAddress(QHostAddress::AnyIPv4)));
}

void TestUdp::cleanup()
{
    m_receiver.reset();
    QCOMPARE(udpClose(m_sender), int(UdpSucceeded));
    QCOMPARE(descriptorCount(), m_descriptors);
}

/// Sends \a data to m_receiver. Returns the result of udpSend().
int TestUdp::send(SocketHandle *from, const QByteArray &data, uint32_t address)
{
    return udpSend(from, data.constData(), data.size(), address, m_receiver->localPort(), 100000);
}

/// Returns the next datagram at m_receiver, or an invalid one after two seconds.
QNetworkDatagram TestUdp::received()
{
    if (!m_receiver->hasPendingDatagrams())
        m_receiver->waitForReadyRead(2000);
    return m_receiver->receiveDatagram();
}

void TestUdp::datagramArrivesWholeOrNotAtAll()
{
    QCOMPARE(send(m_sender, QByteArray(65508, 'x')), int(UdpFailed));
    for (const int32_t negative : {-1, -2, INT32_MIN})
        QCOMPARE(udpSend(m_sender, "", negative, loopback, m_receiver->localPort(), 0), int(UdpFailed));
    for (const QByteArray &data : {QByteArray(65507, 'x'), QByteArray("a\0\xff\0", 4), QByteArray()}) {
        QCOMPARE(send(m_sender, data), int(UdpSucceeded));
        const QNetworkDatagram datagram = received();
        QVERIFY(datagram.isValid());
        QCOMPARE(datagram.data(), data);
    }
}

void TestUdp::flagsAndPortConfigureTheSocket()
{
    const uint16_t taken = m_receiver->localPort();
    SocketHandle *handle = m_sender;
    QCOMPARE(udpOpen(&handle, taken, 0), int(UdpFailed));
    QCOMPARE(handle, m_sender);
    QCOMPARE(udpOpen(&handle, taken, UdpAnyPort), int(UdpSucceeded));
    QVERIFY(!isInherited(handle->socket));
    QCOMPARE(udpClose(handle), int(UdpSucceeded));

    const uint32_t broadcast = 0x7fffffff; // 127.255.255.255, the broadcast address of the loopback network
    QCOMPARE(send(m_sender, "all", broadcast), int(UdpFailed));
    QCOMPARE(udpOpen(&handle, 0, UdpBroadcast), int(UdpSucceeded));
    QCOMPARE(send(handle, "all", broadcast), int(UdpSucceeded));
    QCOMPARE(received().data(), QByteArray("all"));
    QCOMPARE(udpClose(handle), int(UdpSucceeded));

    QUdpSocket other;
    QVERIFY(other.bind(QHostAddress(QHostAddress::AnyIPv4)));
    const uint16_t free = other.localPort();
    other.close();
    QCOMPARE(udpOpen(&handle, free, 0), int(UdpSucceeded));
    QCOMPARE(send(handle, "from"), int(UdpSucceeded));
    QCOMPARE(received().senderPort(), int(free));
    QCOMPARE(udpClose(handle), int(UdpSucceeded));
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
        {"127.1", loopback},
        {"255.255.255.255", 0xffffffff},
        {"1.2.3.256", 0},
        {"", 0},
        {"localhost", loopback},
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
