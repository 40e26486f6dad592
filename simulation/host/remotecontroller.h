#pragma once

#include "controller.h"
#include "networkprotocol.h"

#include <QHostAddress>
#include <QTcpSocket>
#include <QTimer>

namespace simulation {

/// A Controller on the network. After start() it connects in the background, and again half a second after
/// each failed attempt and each loss of the connection. query() and command() block until the answer has
/// arrived. Call all functions on the thread that created the object, which must run an event loop.
///
/// Invariants:
/// 1. Without a connection, requests fail at once with NotConnected.
/// 2. A request that gets no answer for AnswerTimeoutMs fails with TimedOut and drops the connection. A late
///    answer is therefore never taken for the answer to the next request, and the requests that follow do not
///    wait.
/// 3. A line that no request has asked for drops the connection, because all later answers would be taken for
///    those to previous requests.
class RemoteController : public QObject, public Controller
{
    Q_OBJECT

public:
    /// How long a request waits for its answer, and an attempt to connect for the greeting. It is longer than
    /// maximumAnswerDelayMs, the longest delay of a simulated Controller.
    static constexpr int AnswerTimeoutMs = 3000;

    RemoteController(const QString &host, quint16 port, QObject *parent = nullptr);
    ~RemoteController() override;

    /// Starts to connect in the background. Call it once, after connecting to the signals, so that no signal
    /// is missed.
    void start();

    /// Runs an event loop until the Controller has answered "hello", that is, until isConnected(). Returns
    /// false after \a milliseconds, or when the application quits; problem() then returns the reason.
    bool waitForConnected(int milliseconds);

    bool isConnected() const { return m_isConnected; }

    /// Returns the latest answer to "hello", or a default Greeting if there was none.
    Greeting greeting() const { return m_greeting; }

    /// Returns the address of the Controller while there is a connection.
    QHostAddress address() const { return m_socket.peerAddress(); }

    /// Returns the reason of the latest failure or loss of the connection. Before the first failure, the text
    /// says that the Controller does not answer.
    QString problem() const { return m_problem; }

    /// Sends a query. Fails without sending it if \a text is too long for one line or contains a character
    /// below the blank.
    int query(const QByteArray &text, QByteArray *answer) override;

    /// Sends a command. Fails without sending it in the same cases as query().
    int command(const QByteArray &text) override;

signals:
    /// The Controller has answered "hello".
    void connected(const simulation::Greeting &greeting);
    /// The connection was lost, or an attempt to connect has failed.
    void disconnected(const QString &reason);
    /// A query or command is about to return.
    void exchanged(const simulation::Exchange &exchange);

private:
    int request(const QByteArray &line, QByteArray *answer);
    void drop(const QString &reason);
    void onReadyRead();
    void takeGreeting();

    const QString m_host;
    const quint16 m_port;
    QTcpSocket m_socket;
    QTimer m_retryTimer; ///< runs from a failure to the next attempt
    QTimer m_limitTimer; ///< runs during an attempt, until the Controller answers "hello"
    bool m_isConnected = false;
    bool m_isWaiting = false; ///< a request waits for its answer
    Greeting m_greeting;
    QString m_problem;
};

} // namespace simulation
