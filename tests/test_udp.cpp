#include "sockethandle.h"
#include "udp.h"

#include <QByteArray>
#include <QDir>
#include <QtTest>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr uint32_t loopback = INADDR_LOOPBACK;
constexpr uint32_t sendTimeout = 100000;

int descriptorOf(const SocketHandle *handle)
{
    return static_cast<int>(handle->socket);
}

int openDescriptors()
{
    return QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::AllEntries | QDir::System).size();
}

/// 0 if the handle is not bound.
uint16_t portOf(const SocketHandle *handle)
{
    sockaddr_in name = {};
    socklen_t size = sizeof name;
    getsockname(descriptorOf(handle), reinterpret_cast<sockaddr *>(&name), &size);
    return ntohs(name.sin_port);
}

/// The next datagram and the port that it came from, or "none" after two seconds.
QByteArray receive(const SocketHandle *handle, uint16_t *sender = nullptr)
{
    pollfd waited = {descriptorOf(handle), POLLIN, 0};
    if (poll(&waited, 1, 2000) != 1)
        return "none";
    QByteArray data(70000, 0);
    sockaddr_in from = {};
    socklen_t size = sizeof from;
    data.resize(static_cast<int>(recvfrom(waited.fd, data.data(), static_cast<size_t>(data.size()), 0,
                                          reinterpret_cast<sockaddr *>(&from), &size)));
    if (sender)
        *sender = ntohs(from.sin_port);
    return data;
}

int send(SocketHandle *handle, const QByteArray &data, uint16_t port)
{
    return udpSend(handle, data.constData(), data.size(), loopback, port, sendTimeout);
}

} // namespace

class TestUdp : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void datagramArrivesWhole_data();
    void datagramArrivesWhole();
    void failedSendLeavesHandleUsable();
    void portIsChosenByFlags();
    void takenPortIsRefused();
    void broadcastNeedsItsFlag();
    void descriptorsBeyondSelectWork();
    void hostResolves_data();
    void hostResolves();
    void addressSplits();

private:
    SocketHandle *m_sender = nullptr;
    SocketHandle *m_receiver = nullptr;
    int m_descriptors = 0;
};

void TestUdp::init()
{
    m_descriptors = openDescriptors();
    QCOMPARE(udpOpen(&m_sender, 0, UdpAnyPort), 0);
    QCOMPARE(udpOpen(&m_receiver, 0, UdpAnyPort), 0);
}

void TestUdp::cleanup()
{
    QCOMPARE(udpClose(m_sender), 0);
    QCOMPARE(udpClose(m_receiver), 0);
    QCOMPARE(openDescriptors(), m_descriptors);
}

void TestUdp::datagramArrivesWhole_data()
{
    QTest::addColumn<QByteArray>("data");
    QTest::newRow("one frame") << QByteArray("fr 1\r\n6d 0\r\n");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("zero bytes") << QByteArray("a\0\xff\0", 4);
    QTest::newRow("the largest") << QByteArray(65507, 'x');
}

void TestUdp::datagramArrivesWhole()
{
    QFETCH(QByteArray, data);
    uint16_t from = 0;
    QCOMPARE(send(m_sender, data, portOf(m_receiver)), 0);
    QCOMPARE(receive(m_receiver, &from), data);
    QCOMPARE(from, portOf(m_sender));
}

void TestUdp::failedSendLeavesHandleUsable()
{
    QCOMPARE(send(m_sender, QByteArray(65508, 'x'), portOf(m_receiver)), -2);
    QCOMPARE(udpSend(m_sender, "x", -1, loopback, portOf(m_receiver), sendTimeout), -2);
    QCOMPARE(send(m_sender, "nobody listens", 9), 0);
    QCOMPARE(udpSend(m_sender, "at once", 7, loopback, portOf(m_receiver), 0), 0);
    QCOMPARE(receive(m_receiver), QByteArray("at once"));
}

void TestUdp::portIsChosenByFlags()
{
    const uint16_t taken = portOf(m_receiver);
    SocketHandle *anyPort = nullptr;
    QCOMPARE(udpOpen(&anyPort, taken, UdpAnyPort), 0);
    QVERIFY(portOf(anyPort) != 0);
    QVERIFY(portOf(anyPort) != taken);
    QVERIFY(fcntl(descriptorOf(anyPort), F_GETFD) & FD_CLOEXEC);
    QCOMPARE(udpClose(anyPort), 0);

    SocketHandle *unbound = nullptr;
    QCOMPARE(udpOpen(&unbound, 0, 0), 0);
    QCOMPARE(portOf(unbound), uint16_t(0));
    QCOMPARE(send(unbound, "unbound", taken), 0);
    QCOMPARE(receive(m_receiver), QByteArray("unbound"));
    QCOMPARE(udpClose(unbound), 0);
}

void TestUdp::takenPortIsRefused()
{
    const uint16_t port = portOf(m_receiver);
    SocketHandle *handle = m_sender;
    QCOMPARE(udpOpen(&handle, port, 0), -2);
    QCOMPARE(handle, m_sender);
    QCOMPARE(openDescriptors(), m_descriptors + 2);

    QCOMPARE(udpClose(m_receiver), 0);
    QCOMPARE(udpOpen(&m_receiver, port, 0), 0);
    QCOMPARE(portOf(m_receiver), port);
}

void TestUdp::broadcastNeedsItsFlag()
{
    const uint32_t everybody = 0x7fffffff; // on loopback
    const uint16_t port = portOf(m_receiver);
    QCOMPARE(udpSend(m_sender, "all", 3, everybody, port, sendTimeout), -2);
    SocketHandle *broadcaster = nullptr;
    QCOMPARE(udpOpen(&broadcaster, 0, UdpBroadcast | UdpAnyPort), 0);
    QCOMPARE(udpSend(broadcaster, "all", 3, everybody, port, sendTimeout), 0);
    QCOMPARE(receive(m_receiver), QByteArray("all"));
    QCOMPARE(udpClose(broadcaster), 0);
}

void TestUdp::descriptorsBeyondSelectWork()
{
    rlimit limit = {};
    getrlimit(RLIMIT_NOFILE, &limit);
    if (limit.rlim_max < FD_SETSIZE + 100)
        QSKIP("too few descriptors are allowed here");
    limit.rlim_cur = qMax<rlim_t>(limit.rlim_cur, FD_SETSIZE + 100);
    QCOMPARE(setrlimit(RLIMIT_NOFILE, &limit), 0);

    std::vector<int> fillers;
    while (fillers.empty() || fillers.back() < FD_SETSIZE)
        fillers.push_back(fcntl(descriptorOf(m_sender), F_DUPFD_CLOEXEC, 0));
    SocketHandle *high = nullptr;
    QCOMPARE(udpOpen(&high, 0, UdpAnyPort), 0);
    QVERIFY(high->socket > FD_SETSIZE);
    QCOMPARE(send(high, "high", portOf(m_receiver)), 0);
    QCOMPARE(receive(m_receiver), QByteArray("high"));
    QCOMPARE(udpClose(high), 0);
    for (const int filler : fillers)
        close(filler);
}

void TestUdp::hostResolves_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<uint32_t>("address");
    QTest::newRow("dotted") << QByteArray("192.168.0.1") << uint32_t(0xc0a80001);
    QTest::newRow("short dotted") << QByteArray("127.1") << loopback;
    QTest::newRow("all zero") << QByteArray("0.0.0.0") << uint32_t(0);
    QTest::newRow("all set") << QByteArray("255.255.255.255") << uint32_t(0xffffffff);
    QTest::newRow("name") << QByteArray("localhost") << loopback;
    QTest::newRow("octet too large") << QByteArray("1.2.3.256") << uint32_t(0);
    // A label has at most 63 letters, so no name server needs to be asked.
    QTest::newRow("impossible name") << QByteArray(64, 'x') << uint32_t(0);
    QTest::newRow("unknown name") << QByteArray("no-such-host.invalid") << uint32_t(0);
    QTest::newRow("empty") << QByteArray("") << uint32_t(0);
}

void TestUdp::hostResolves()
{
    QFETCH(QByteArray, text);
    QTEST(resolveHost(text.constData()), "address");
}

void TestUdp::addressSplits()
{
    uint32_t part[4] = {};
    splitIpv4(&part[0], &part[1], &part[2], &part[3], 0xfe800102);
    QCOMPARE(QList<uint32_t>({part[0], part[1], part[2], part[3]}), QList<uint32_t>({254, 128, 1, 2}));
}

QTEST_GUILESS_MAIN(TestUdp)
#include "test_udp.moc"
