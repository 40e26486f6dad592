#pragma once

#include "iomanager.h"

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QSet>

#include <condition_variable>
#include <mutex>

namespace simulation {

class CommandService;

/// One line of the host's log.
struct LogLine
{
    QByteArray level;
    QByteArray component;
    int number = 0;
    QByteArray message;
};

/// The host's command service on top of a Controller, and the delivery of data lines and messages to
/// registered requesters and receivers.
///
/// Thread-safe. No lock is held while a requester or a receiver is called, so it may call back, except to
/// remove a requester or receiver: a removal waits until no call to the removed object is pending or in
/// progress.
class ControllerLink : public QObject, public IOManager
{
    Q_OBJECT

public:
    /// Size of an answer buffer, including the terminating zero.
    static constexpr int AnswerSize = 208;

    explicit ControllerLink(CommandService &service, QObject *parent = nullptr);

    int getValue(char *answer, const char *format, ...) override IOMANAGER_PRINTF(3, 4);
    int getIntValue(int *answer, const char *format, ...) override IOMANAGER_PRINTF(3, 4);
    int setValue(const char *format, ...) override IOMANAGER_PRINTF(2, 3);
    int requestOutputType(const char *type, Requester *requester) override;
    int releaseOutputType(const char *type, Requester *requester) override;
    int addRequester(Requester *requester) override;
    int removeRequester(Requester *requester) override;
    int log(const char *level, const char *component, int number, const char *message) override;
    int addMessageReceiver(const char *name, MessageReceiver *receiver) override;
    int removeMessageReceiver(const char *name, MessageReceiver *receiver) override;

    /// Passes a line to every registered requester that has requested \a type, on the calling thread. Several
    /// threads may deliver at the same time.
    void deliver(const QByteArray &type, const QByteArray &line);

    /// Call onOutputReset() or onOutputIdle() of every registered requester on the calling thread.
    void deliverReset();
    void deliverIdle();

    /// Passes \a text to every message receiver on the calling thread.
    void sendMessage(const QByteArray &text);

    /// Returns the types that \a requester has requested and not released. Its removal releases all.
    QSet<QByteArray> requestedTypes(Requester *requester) const;

    /// Returns the number of registered requesters and message receivers.
    int registeredCount() const;

    /// Returns the latest log lines in order, at most LogLimit.
    QList<LogLine> logLines() const;

    static constexpr int LogLimit = 10000;

signals:
    void logged(const simulation::LogLine &line);
    /// The set of requested types may have changed.
    void requestsChanged();

private:
    struct Subscriber
    {
        Requester *requester = nullptr;
        QSet<QByteArray> types;
        bool registered = false;
        int busy = 0; ///< calls pending or in progress
    };
    struct Listener
    {
        QByteArray name;
        MessageReceiver *receiver = nullptr;
        int busy = 0;
    };

    Subscriber *findSubscriber(Requester *requester);
    Subscriber &findOrAddSubscriber(Requester *requester);
    Listener *findListener(MessageReceiver *receiver);
    template <typename Wanted, typename Call>
    void callRequesters(Wanted wanted, Call call);

    CommandService &m_service;
    mutable std::mutex m_mutex;
    std::condition_variable m_callEnded;
    QList<Subscriber> m_subscribers;
    QList<Listener> m_listeners;
    QList<LogLine> m_log;
};

} // namespace simulation

Q_DECLARE_METATYPE(simulation::LogLine)
