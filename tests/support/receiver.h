#pragma once

#include "platformfaults.h"
#include "waiting.h"

#include <QUdpSocket>

/// Takes datagrams at a port of this computer.
class Receiver
{
public:
    Receiver() { m_socket.bind(QHostAddress(QHostAddress::LocalHost)); }

    quint16 port() const { return m_socket.localPort(); }

    bool isEmpty() const { return !m_socket.hasPendingDatagrams(); }

    /// The next datagram; empty if none comes.
    QByteArray next()
    {
        if (!comesTrue([this] { return !isEmpty(); }))
            return {};
        QByteArray bytes(static_cast<int>(m_socket.pendingDatagramSize()), '\0');
        m_socket.readDatagram(bytes.data(), bytes.size());
        faults::bytesUnderWay -= faults::bytesTaken(bytes.size());
        return bytes;
    }

    /// comesTrue(), and each datagram that comes meanwhile goes to \a take.
    template <typename Predicate, typename Take>
    bool readsUntil(Predicate wanted, Take take)
    {
        const auto readAll = [&] {
            while (!isEmpty())
                take(next());
        };
        const bool came = comesTrue([&] {
            readAll();
            return wanted();
        });
        readAll();
        return came;
    }

private:
    QUdpSocket m_socket;
};

/// Holds every send for as long as it lives or until released.
class HeldSends
{
public:
    HeldSends() { faults::path = faults::Held; }
    ~HeldSends() { release(); }
    static void release() { faults::path = faults::Open; }
    bool hold() const
    {
        return comesTrue([this] { return faults::sends > m_before; });
    }

private:
    const int m_before = faults::sends;
};
