#include "portmonitor.h"

#include "datagramcontent.h"

namespace simulation {

namespace {

/// Returns whether \a content is complete and holds one frame, or two in ascending order, as the first
/// datagram of a router does. The last frame number must not be 0.
bool isWellFormed(const DatagramContent &content)
{
    const QVector<qint32> &numbers = content.numbers;
    if (!content.isComplete || numbers.isEmpty() || numbers.size() > 2)
        return false;
    return numbers.last() != 0 && (numbers.size() == 1 || numbers.first() < numbers.last());
}

} // namespace

PortMonitor::PortMonitor(const UdpEndpoint &endpoint, QObject *parent)
    : QObject(parent)
    , m_endpoint(endpoint)
{
}

bool PortMonitor::listen(const QNetworkInterface &interface, QString *problem)
{
    if (!m_listener.listen(m_endpoint, interface)) {
        *problem = tr("cannot listen on %1: %2").arg(name(), m_listener.errorString());
        return false;
    }
    m_endpoint.port = m_listener.localPort();
    connect(&m_listener, &QIODevice::readyRead, this, &PortMonitor::takePending);
    return true;
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
    return m_statistics.datagrams == 0 ? tr("nobody") : m_sender.text();
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
    m_listener.takePending([this](const QByteArray &datagram, const UdpEndpoint &sender) {
        m_sender = sender;
        take(datagram);
    });
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
    emit wellFormed(datagram);
}

} // namespace simulation
