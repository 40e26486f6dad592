#pragma once

#include "commandservice.h"
#include "eventthread.h"
#include "exchange.h"
#include "networkprotocol.h"
#include "retryingsocket.h"

#include <condition_variable>
#include <mutex>

namespace simulation {

/// Sends queries and commands to a Controller over TCP. After start() it connects in the background, and
/// again after each failed attempt and each loss of the connection.
///
/// Thread safety: any thread may call the public functions. query() and command() wait for the answer; calls
/// from several threads are executed one after another. The socket lives on a separate thread, so that it
/// works while the GUI thread waits for an answer.
///
/// Invariants:
/// 1. At most one request waits for its answer; the thread of the request holds m_requestMutex.
/// 2. Without a connection, requests fail at once with NotConnected.
/// 3. A request that gets no answer for AnswerTimeoutMs fails with TimedOut and drops the connection. A late
///    answer is therefore never taken for the answer to the next request, and the requests that follow do not
///    wait.
class CommandClient : public QObject, public CommandService
{
    Q_OBJECT

public:
    /// How long a request waits for its answer, and a new connection for the greeting. It is longer than
    /// maximumAnswerDelayMs, the longest delay of a simulated Controller.
    static constexpr int AnswerTimeoutMs = 3000;

    CommandClient(const QString &host, quint16 port, QObject *parent = nullptr);
    ~CommandClient() override;

    /// Starts to connect in the background. Call it once, after connecting to the signals, so that no signal
    /// is missed.
    void start();

    /// Waits until the Controller has answered "hello", that is, until isConnected(). Returns false after
    /// \a milliseconds; problem() then returns the reason.
    bool waitForConnected(int milliseconds);

    bool isConnected() const;

    /// Returns the latest answer to "hello", or a default Greeting if there was none.
    Greeting greeting() const;

    /// Returns the reason of the latest failure or loss of the connection. Before the first failure, the text
    /// says that the Controller does not answer.
    QString problem() const;

    /// Sends a query. Fails with -1 without sending it if \a text is too long for one line or contains a
    /// character below the blank.
    int query(const QByteArray &text, QByteArray *answer) override;

    /// Sends a command. Fails with -1 in the same cases as query().
    int command(const QByteArray &text) override;

signals:
    /// The Controller has answered "hello". Emitted on the thread to which this object belongs.
    void connected(const simulation::Greeting &greeting);
    /// The connection was lost, or an attempt to connect has failed. Emitted on the thread to which this
    /// object belongs.
    void disconnected(const QString &reason);
    /// A query or command is about to return. Emitted on the thread that called it.
    void exchanged(const simulation::Exchange &exchange);

private:
    int request(const QByteArray &line, QByteArray *answer);
    void createSocket();
    void onConnected();
    void onFailed(const QString &reason);
    void onReadyRead();
    void takeGreeting(const QByteArray &line);

    const QString m_host;
    const quint16 m_port;
    RetryingSocket *m_socket = nullptr; ///< lives on m_thread, on which its signals are handled
    QTimer *m_greetingTimer = nullptr;  ///< lives on m_thread; runs until the Controller answers "hello"
    TaskQueue m_owner;                  ///< emits connected() and disconnected() on the thread of this object
    std::mutex m_requestMutex;          ///< locked before m_mutex

    mutable std::mutex m_mutex;        ///< guards the members from m_isConnected to m_problem
    std::condition_variable m_changed; ///< notified after each change except those of request()
    bool m_isConnected = false;
    bool m_isAnswered = false;
    QByteArray m_answer;
    Greeting m_greeting;
    QString m_problem;

    EventThread m_thread; ///< the last member, so that it ends before the others are destroyed
};

} // namespace simulation

Q_DECLARE_METATYPE(simulation::Greeting)
