#include "datagramreceiver.h"

#include "udplistener.h"

#include <algorithm>

namespace simulation {

namespace {

QNetworkInterface loopback()
{
    const QList<QNetworkInterface> all = QNetworkInterface::allInterfaces();
    const auto found = std::find_if(all.cbegin(), all.cend(), [](const QNetworkInterface &interface) {
        return interface.flags().testFlag(QNetworkInterface::IsLoopBack);
    });
    return found == all.cend() ? QNetworkInterface() : *found;
}

} // namespace

DatagramReceiver::DatagramReceiver(const FrameLedger &ledger)
    : m_checker(ledger)
{
}

DatagramReceiver::~DatagramReceiver()
{
    m_thread.run([this] { m_listener.reset(); });
}

bool DatagramReceiver::listen(quint32 address, quint16 port)
{
    m_address = address;
    m_port = port;
    m_thread.run([&] {
        m_listener = std::make_unique<UdpListener>();
        m_isListening = m_listener->listen({QHostAddress(address), port}, loopback());
        if (m_isListening)
            m_port = m_listener->localPort();
        else
            m_error = m_listener->errorString();
        QObject::connect(m_listener.get(), &QIODevice::readyRead, m_listener.get(),
                         [this] { takeWaiting(); });
    });
    return m_isListening;
}

void DatagramReceiver::expect(const Expectation &expectation)
{
    afterWaiting([&] { m_checker.expect(expectation); });
}

void DatagramReceiver::begin()
{
    afterWaiting([this] { m_checker.begin(); });
}

void DatagramReceiver::restart()
{
    afterWaiting([this] { m_checker.restart(); });
}

void DatagramReceiver::join()
{
    afterWaiting([this] { m_checker.join(); });
}

bool DatagramReceiver::isComplete() const
{
    bool isComplete = false;
    m_thread.run([&] { isComplete = m_checker.isComplete(); });
    return isComplete;
}

ReceiverStatistics DatagramReceiver::statistics() const
{
    return copied([this] { return m_checker.statistics(); });
}

ReceiverStatistics DatagramReceiver::finalStatistics() const
{
    return copied([this] { return m_checker.finalStatistics(); });
}

/// Runs \a change on the thread after the datagrams that wait in the socket have been checked.
void DatagramReceiver::afterWaiting(const EventThread::Task &change)
{
    m_thread.run([&] {
        takeWaiting();
        change();
    });
}

void DatagramReceiver::takeWaiting()
{
    if (m_listener && m_listener->state() == QAbstractSocket::BoundState)
        m_listener->takePending(
            [this](const QByteArray &datagram, const UdpEndpoint &) { m_checker.take(datagram); });
}

/// Returns the result of \a statistics, which is called on the thread, with a deep copy of lastFrame.
/// ThreadSanitizer does not see that Qt's reference counts are atomic, and would report a data race on bytes
/// that two threads share.
ReceiverStatistics DatagramReceiver::copied(const std::function<ReceiverStatistics()> &statistics) const
{
    ReceiverStatistics result;
    m_thread.run([&] {
        result = statistics();
        result.lastFrame.detach();
    });
    return result;
}

} // namespace simulation
