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
/// again after each loss of the connection.
///
/// Thread safety: any thread may call query() and command(), which wait for the answer; calls are answered
/// one after another. The socket lives on a separate thread, so that it works while the GUI thread waits for
/// an answer.
///
/// Invariants:
/// 1. At most one request is unanswered (m_requestMutex).
/// 2. Without a connection, requests fail at once.
/// 3. A request that times out drops the connection. A late answer is therefore never taken for the answer to
///    the next request, and the requests that follow do not wait.
class CommandClient : public QObject, public CommandService
{
    Q_OBJECT

public:
    /// Longer than the longest delay of a simulated Controller.
    static constexpr int AnswerTimeoutMs = 3000;

    CommandClient(const QString &host, quint16 port, QObject *parent = nullptr);
    ~CommandClient() override;

    /// Connects in the background. Connect the signals first, or the first connection may go unnoticed.
    void start();

    /// Waits until the Controller has answered "hello". Returns false after \a milliseconds; problem() then
    /// returns the reason.
    bool waitForConnected(int milliseconds);

    bool isConnected() const;
    Greeting greeting() const;
    QString problem() const;

    int query(const QByteArray &text, QByteArray *answer) override;
    int command(const QByteArray &text) override;

signals:
    void connected(const simulation::Greeting &greeting);
    void disconnected(const QString &reason);
    /// A query or command has returned. Emitted on the thread that called it.
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
    RetryingSocket *m_socket = nullptr; ///< lives on m_thread, which runs its slots on...()
    QTimer *m_greetingTimer = nullptr;  ///< lives on m_thread; runs until the Controller answers "hello"
    TaskQueue m_owner;                  ///< emits the signals on the thread of this object
    std::mutex m_requestMutex;

    mutable std::mutex m_mutex; ///< guards the members from m_isConnected to m_problem
    mutable std::condition_variable m_changed;
    bool m_isConnected = false;
    bool m_isAnswered = false;
    QByteArray m_answer;
    Greeting m_greeting;
    QString m_problem;

    EventThread m_thread; ///< the last member, so that it ends before the others are destroyed
};

} // namespace simulation

Q_DECLARE_METATYPE(simulation::Greeting)
