#pragma once

#include "iomanager.h"

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QSet>

#include <atomic>
#include <condition_variable>
#include <mutex>

namespace simulation {

class Controller;

/// One line of the host's log.
struct LogLine
{
    QByteArray level;
    QByteArray component;
    int number = 0;
    QByteArray message;
};

/// Implements the host's command service with a Controller, and delivers data lines and messages to the
/// registered requesters and message receivers.
///
/// Thread-safe. No lock is held while a requester or a message receiver is called. These may therefore call
/// any function except removeRequester() and removeMessageReceiver(), which could deadlock: they wait until
/// no call to the removed object is pending or in progress. Signals are emitted on the thread of the call
/// that caused them.
class ControllerLink : public QObject, public IOManager
{
    Q_OBJECT

public:
    /// Size in bytes of the answer buffer of getValue(), including the terminating zero.
    static constexpr int AnswerSize = 208;

    /// \a controller must outlive this object.
    explicit ControllerLink(Controller &controller, QObject *parent = nullptr);

    /// Makes each query and command block for this time first, as with a slow Controller; initially 0.
    void setAnswerDelay(int milliseconds) { m_answerDelayMs = milliseconds; }
    int answerDelay() const { return m_answerDelayMs; }

    // IOManager. Queries and commands return the CommandResult, getIntValue() also -1 if the
    // answer is not a number. The other functions return -1 if a type, a name or an object is null, if a
    // message receiver is already registered, or if the object to remove is not registered or was registered
    // under another name.
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

    /// Calls onOutputReset() of every registered requester on the calling thread.
    void deliverReset();

    /// Calls onOutputIdle() of every registered requester on the calling thread.
    void deliverIdle();

    /// Passes \a text to every message receiver on the calling thread.
    void sendMessage(const QByteArray &text);

    /// Returns the types that \a requester has requested and not released. removeRequester() releases all of
    /// them.
    QSet<QByteArray> requestedTypes(Requester *requester) const;

    /// Returns the number of registered requesters and message receivers.
    int registeredCount() const;

signals:
    void logged(const simulation::LogLine &line);
    /// The set of requested types may have changed.
    void requestsChanged();

private:
    /// A requester or a message receiver.
    struct Client
    {
        void *object = nullptr;
        bool isRegistered = false; ///< between add...() and remove...(); false: it is not called
        QByteArray name;           ///< message receivers only, not null
        QSet<QByteArray> types;    ///< requesters only
        int busy = 0;              ///< calls pending or in progress
    };

    Controller &delayedController() const;
    Client *find(const void *object) const;
    Client &findOrAdd(Requester *requester);
    int remove(void *object, const QByteArray &name);
    template <typename Object, typename Call>
    void callEach(const QByteArray &type, Call call);

    Controller &m_controller;
    std::atomic<int> m_answerDelayMs{0};
    mutable std::mutex m_mutex;          ///< guards the lists below
    std::condition_variable m_callEnded; ///< notified when a busy counter becomes 0
    mutable QList<Client> m_clients;     ///< mutable for find()
};

} // namespace simulation

Q_DECLARE_METATYPE(simulation::LogLine)
