#include "receiverpool.h"

#include "datagramreceiver.h"

#include <QCoreApplication>

namespace simulation {

ReceiverPool::ReceiverPool(const FrameLedger &ledger)
    : m_ledger(ledger)
{
}

ReceiverPool::~ReceiverPool() = default;

quint16 ReceiverPool::listen(int index, quint32 address)
{
    std::unique_ptr<DatagramReceiver> &receiver = m_receivers[size_t(index)];
    receiver = std::make_unique<DatagramReceiver>(m_ledger);
    return receiver->listen(address, 0) ? receiver->port() : quint16(0);
}

void ReceiverPool::follow(const ChannelRoutes &routes)
{
    m_routes = routes;
    // First close every receiver that does not listen or whose destination has changed: two channels may have
    // swapped destinations.
    for (size_t i = 0; i < routes.size(); ++i) {
        const DatagramReceiver *receiver = m_receivers[i].get();
        if (receiver && (!receiver->isListening() || receiver->address() != routes[i].address ||
                         receiver->port() != routes[i].port))
            m_receivers[i].reset();
    }
    for (size_t i = 0; i < routes.size(); ++i) {
        if (!routes[i].isReachable())
            continue;
        const bool isNew = !m_receivers[i];
        if (isNew)
            m_receivers[i] = std::make_unique<DatagramReceiver>(m_ledger);
        // Set the expectation before listening, because the Controller may be sending already.
        m_receivers[i]->expect(routes[i].content);
        if (isNew)
            m_receivers[i]->listen(routes[i].address, routes[i].port);
    }
}

void ReceiverPool::forEach(void (DatagramReceiver::*function)())
{
    for (const auto &receiver : m_receivers) {
        if (receiver)
            (receiver.get()->*function)();
    }
}

void ReceiverPool::begin()
{
    forEach(&DatagramReceiver::begin);
}

void ReceiverPool::restart()
{
    forEach(&DatagramReceiver::restart);
}

void ReceiverPool::join()
{
    forEach(&DatagramReceiver::join);
}

bool ReceiverPool::isComplete() const
{
    for (const auto &receiver : m_receivers) {
        if (receiver && receiver->isListening() && !receiver->isComplete())
            return false;
    }
    return true;
}

QList<ReceiverReport> ReceiverPool::reports(bool isFinal) const
{
    QList<ReceiverReport> reports;
    for (size_t i = 0; i < m_receivers.size(); ++i) {
        const DatagramReceiver *receiver = m_receivers[i].get();
        if (!receiver)
            continue;
        ReceiverReport report;
        report.channel = int(i) + 1;
        report.destination =
            QHostAddress(receiver->address()).toString() + ':' + QString::number(receiver->port());
        report.active = m_routes[i].content.active;
        if (!receiver->isListening()) {
            report.problem =
                QCoreApplication::translate("ReceiverPool", "cannot listen: %1").arg(receiver->error());
        }
        report.statistics = isFinal ? receiver->finalStatistics() : receiver->statistics();
        reports.append(report);
    }
    return reports;
}

} // namespace simulation
