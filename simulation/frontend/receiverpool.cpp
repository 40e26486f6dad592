#include "receiverpool.h"

#include "queuecall.h"
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

struct ReceiverPool::Receiver
{
    explicit Receiver(const FrameLedger &ledger)
        : checker(ledger)
    {
    }

    bool isListening() const { return problem.isEmpty(); }

    bool isAt(const ChannelRoute &route) const
    {
        return endpoint.address.toIPv4Address() == route.address && endpoint.port == route.port;
    }

    void takeWaiting()
    {
        if (isListening())
            listener.takePending(
                [this](const QByteArray &datagram, const UdpEndpoint &) { checker.take(datagram); });
    }

    FrameChecker checker;
    UdpListener listener;
    UdpEndpoint endpoint;
    QString problem;
};

ReceiverPool::ReceiverPool(const FrameLedger &ledger)
    : m_ledger(ledger)
{
    moveToThread(&m_thread);
    m_thread.start();
}

ReceiverPool::~ReceiverPool()
{
    // On another thread, quit() could still write to the event loop's descriptor while m_thread closes it.
    run([this] {
        m_receivers = {};
        m_thread.quit();
    });
    m_thread.wait();
}

void ReceiverPool::run(const Task &task)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_task = &task;
    queueCall(this, "runTask");
    m_done.wait(lock, [this] { return m_task == nullptr; });
}

void ReceiverPool::runTask()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (const auto &receiver : m_receivers) {
        if (receiver)
            receiver->takeWaiting();
    }
    (*m_task)();
    m_task = nullptr;
    m_done.notify_one();
}

void ReceiverPool::forEach(const std::function<void(Receiver &)> &call)
{
    run([&] {
        for (const auto &receiver : m_receivers) {
            if (receiver)
                call(*receiver);
        }
    });
}

quint16 ReceiverPool::listen(int index, quint32 address)
{
    quint16 port = 0;
    run([&] {
        open(size_t(index), {QHostAddress(address), 0}, {});
        port = m_receivers[size_t(index)]->endpoint.port;
    });
    return port;
}

/// Replaces a channel's receiver. Call it on m_thread.
void ReceiverPool::open(size_t index, const UdpEndpoint &endpoint, const Expectation &content)
{
    m_receivers[index] = std::make_unique<Receiver>(m_ledger);
    Receiver &receiver = *m_receivers[index];
    receiver.endpoint = endpoint;
    // Set the expectation before listening, because the Controller may be sending already.
    receiver.checker.expect(content);
    if (receiver.listener.listen(endpoint, loopback()))
        receiver.endpoint.port = receiver.listener.localPort();
    else
        receiver.problem = tr("cannot listen: %1").arg(receiver.listener.errorString());
    connect(&receiver.listener, &QIODevice::readyRead, this, [&receiver] { receiver.takeWaiting(); });
}

void ReceiverPool::follow(const ChannelRoutes &routes)
{
    run([&] {
        m_routes = routes;
        // First close every receiver that does not listen or whose destination has changed: two channels may
        // have swapped destinations.
        for (size_t i = 0; i < routes.size(); ++i) {
            if (m_receivers[i] && !(m_receivers[i]->isListening() && m_receivers[i]->isAt(routes[i])))
                m_receivers[i].reset();
        }
        for (size_t i = 0; i < routes.size(); ++i) {
            if (m_receivers[i])
                m_receivers[i]->checker.expect(routes[i].content);
            else if (routes[i].isReachable())
                open(i, {QHostAddress(routes[i].address), routes[i].port}, routes[i].content);
        }
    });
}

void ReceiverPool::begin()
{
    forEach([](Receiver &receiver) { receiver.checker.begin(); });
}

void ReceiverPool::restart()
{
    forEach([](Receiver &receiver) { receiver.checker.restart(); });
}

void ReceiverPool::join()
{
    forEach([](Receiver &receiver) { receiver.checker.join(); });
}

bool ReceiverPool::isComplete()
{
    bool isComplete = true;
    forEach([&](Receiver &receiver) {
        isComplete = isComplete && (!receiver.isListening() || receiver.checker.isComplete());
    });
    return isComplete;
}

QList<ReceiverReport> ReceiverPool::reports(bool isFinal)
{
    QList<ReceiverReport> reports;
    run([&] {
        for (size_t i = 0; i < m_receivers.size(); ++i) {
            if (!m_receivers[i])
                continue;
            const Receiver &receiver = *m_receivers[i];
            ReceiverReport report{int(i) + 1, receiver.endpoint.text(), receiver.problem,
                                  m_routes[i].content.active, receiver.checker.statistics()};
            if (isFinal)
                report.statistics = receiver.checker.finalStatistics();
            // ThreadSanitizer does not see that Qt's reference counts are atomic, and would report a data
            // race on bytes that two threads share.
            report.statistics.lastFrame.detach();
            reports.append(report);
        }
    });
    return reports;
}

} // namespace simulation
