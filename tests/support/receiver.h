#pragma once

#include "fedchannel.h"
#include "platformfaults.h"
#include "waiting.h"

#include <QUdpSocket>

Q_DECLARE_METATYPE(faults::Call)

/// Receives datagrams at a port of 127.0.0.1 that the system picks.
class Receiver
{
public:
    Receiver() { m_socket.bind(QHostAddress(QHostAddress::LocalHost)); }

    quint16 port() const { return m_socket.localPort(); }

    bool isEmpty() const { return !m_socket.hasPendingDatagrams(); }

    /// Waits for the next datagram and returns it. Returns an empty array if none arrives within the time
    /// limit of comesTrue().
    QByteArray next()
    {
        if (!comesTrue([this] { return !isEmpty(); }))
            return {};
        QByteArray bytes(static_cast<int>(m_socket.pendingDatagramSize()), '\0');
        m_socket.readDatagram(bytes.data(), bytes.size());
        return bytes;
    }

private:
    QUdpSocket m_socket;
};

/// A channel that is started, and the receiver to which it sends.
class RunningChannel : public FedChannel
{
public:
    RunningChannel()
        : FedChannel(0)
    {
        setPort(receiver.port());
        updateRouterActiveState(true);
    }

    Receiver receiver;
};

/// Blocks every send until release() is called or the object is destroyed.
class HeldSends
{
public:
    HeldSends() { faults::path = faults::Held; }
    ~HeldSends() { release(); }
    static void release() { faults::path = faults::Open; }

    /// Waits until a send is blocked. Returns false if that takes longer than the time limit of comesTrue().
    bool hold() const
    {
        return comesTrue([this] { return faults::sends > m_before; });
    }

private:
    const int m_before = faults::sends;
};
