#include "portmonitor.h"

#include "datagramcontent.h"

#include <QIODevice>
#include <QSocketNotifier>

namespace simulation {

namespace {

QString textOf(const UdpEndpoint &endpoint)
{
    return QString::fromLatin1(dottedAddress(endpoint.address)) + ':' + QString::number(endpoint.port);
}

/// Returns whether \a content is complete, has a type in each line, and holds one frame, or two in ascending
/// order, as the first datagram of a router does. The last frame number must not be 0.
bool isWellFormed(const DatagramContent &content)
{
    const QVector<qint32> &numbers = content.numbers;
    if (!content.isComplete || content.types.contains(QByteArray()) || numbers.isEmpty() ||
        numbers.size() > 2)
        return false;
    return numbers.last() != 0 && (numbers.size() == 1 || numbers.first() < numbers.last());
}

} // namespace

PortMonitor::PortMonitor(const UdpEndpoint &endpoint, QObject *parent)
    : QObject(parent)
    , m_endpoint(endpoint)
{
}

bool PortMonitor::listen(int interfaceIndex, QString *problem)
{
    if (!m_socket.listen(m_endpoint.address, m_endpoint.port, interfaceIndex)) {
        *problem = tr("cannot listen on %1: %2").arg(name(), QString::fromLocal8Bit(m_socket.error()));
        return false;
    }
    m_endpoint.port = m_socket.port();
    auto *notifier = new QSocketNotifier(m_socket.descriptor(), QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, &PortMonitor::takePending);
    return true;
}

QString PortMonitor::name() const
{
    return textOf(m_endpoint);
}

ReceiverStatistics PortMonitor::statistics() const
{
    ReceiverStatistics statistics = m_statistics;
    statistics.lost = m_sequence.lost();
    statistics.outOfOrder = m_sequence.outOfOrder();
    return statistics;
}

QString PortMonitor::sender() const
{
    return m_statistics.datagrams == 0 ? tr("nobody") : textOf(m_sender);
}

double PortMonitor::averageRate() const
{
    if (!m_sinceFirst.isValid())
        return 0.0;
    // The first frame starts m_sinceFirst, so it does not count.
    const double seconds = double(qMax(m_sinceFirst.nsecsElapsed(), qint64(1))) / 1e9;
    return double(m_statistics.frames - 1) / seconds;
}

void PortMonitor::takePending()
{
    // The number is limited, so that a flooding sender cannot block the event loop, which also serves the
    // other ports and the timers.
    constexpr int atOnce = 256;
    QByteArray datagram;
    for (int i = 0; i < atOnce && m_socket.receive(&datagram, &m_sender); ++i)
        take(datagram);
}

void PortMonitor::take(const QByteArray &datagram)
{
    ++m_statistics.datagrams;
    m_statistics.bytes += datagram.size();
    const DatagramContent content = readDatagram(datagram);
    if (!isWellFormed(content)) {
        ++m_statistics.malformed;
        return;
    }
    if (!m_sinceFirst.isValid())
        m_sinceFirst.start();
    m_statistics.frames += content.numbers.size();
    m_statistics.lastNumber = content.numbers.last();
    // The first of two numbers need not be a multiple of the divisor, so only the last one is taken.
    m_sequence.take(content.numbers.last());
    if (m_recording)
        m_recording->write(datagram);
}

} // namespace simulation
