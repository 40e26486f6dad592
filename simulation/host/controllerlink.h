#pragma once

#include "iomanager.h"

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QSet>

#include <condition_variable>
#include <mutex>

class SimulatedController;

/// One line of the host's log.
struct LogLine
{
    QByteArray level;
    QByteArray component;
    int number = 0;
    QByteArray message;
};

Q_DECLARE_METATYPE(LogLine)

/// The host's command service on top of a simulated Controller, and the delivery of data lines and messages
/// to whoever has registered. Every function may be called on any thread. No lock is held while a requester
/// or a receiver is called, so that it may call back.
class ControllerLink : public QObject, public IOManager
{
    Q_OBJECT

public:
    /// The room that an answer has, its terminating zero included.
    static constexpr int AnswerSize = 208;

    explicit ControllerLink(SimulatedController &controller, QObject *parent = nullptr);

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

    /// Hands one line to every registered requester that has asked for \a type, on the calling thread.
    /// Several threads may deliver at a time.
    void deliver(const QByteArray &type, const QByteArray &line);

    /// Tell every registered requester, on the calling thread.
    void deliverReset();
    void deliverIdle();

    /// Hands \a text to every message receiver, on the calling thread.
    void sendMessage(const QByteArray &text);

    /// The types that \a requester has asked for and not released.
    QSet<QByteArray> requestedTypes(Requester *requester) const;

    /// Requesters and message receivers that are registered at the moment.
    int registeredCount() const;

    /// The latest lines of the log in order, at most LogLimit.
    QList<LogLine> logLines() const;

    static constexpr int LogLimit = 10000;

signals:
    void logged(const LogLine &line);
    /// The set of requested types has changed.
    void requestsChanged();

private:
    struct Subscriber
    {
        Requester *requester = nullptr;
        QSet<QByteArray> types;
        bool registered = false;
        int busy = 0; ///< calls under way
    };
    struct Listener
    {
        QByteArray name;
        MessageReceiver *receiver = nullptr;
        int busy = 0;
    };

    Subscriber *findSubscriber(Requester *requester);
    Subscriber &needSubscriber(Requester *requester);
    Listener *findListener(MessageReceiver *receiver);
    template <typename Wanted, typename Call>
    void callRequesters(Wanted wanted, Call call);

    SimulatedController &m_controller;
    mutable std::mutex m_mutex;
    std::condition_variable m_callEnded;
    QList<Subscriber> m_subscribers;
    QList<Listener> m_listeners;
    QList<LogLine> m_log;
};
