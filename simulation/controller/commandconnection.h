#pragma once

#include <QObject>
#include <QTimer>

#include <functional>

class QTcpSocket;

namespace simulation {

/// The server's side of one command connection: reads requests line by line and writes one answer for each,
/// in order and after a delay. Disconnects a client that does not read its answers or sends a line that is
/// too long. Deletes itself when the connection has ended. Lives on a thread with an event loop; not
/// thread-safe.
class CommandConnection : public QObject
{
    Q_OBJECT

public:
    /// Returns the answer to a request. Both are without a line end.
    using Handler = std::function<QByteArray(const QByteArray &request)>;

    /// Takes ownership of \a socket, which must be connected.
    CommandConnection(QTcpSocket *socket, Handler handler, int answerDelayMs, QObject *parent);

private:
    void readRequest();
    void answer();
    void write(const QByteArray &text);
    void refuseAndClose(const QByteArray &text);

    QTcpSocket *m_socket;
    const Handler m_handler;
    QTimer m_delay; ///< runs while m_request waits for its answer
    QByteArray m_request;
    bool m_closing = false;
};

} // namespace simulation
