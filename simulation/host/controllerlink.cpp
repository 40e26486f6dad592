#include "controllerlink.h"

#include "controller.h"
#include "messagereceiver.h"
#include "requester.h"

#include <QThread>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <vector>

namespace simulation {

namespace {

QByteArray formatted(const char *format, va_list arguments)
{
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, arguments);
    QByteArray text(std::max(length, 0), '\0');
    if (length > 0)
        std::vsnprintf(text.data(), size_t(length) + 1, format, again);
    va_end(again);
    return text;
}

} // namespace

ControllerLink::ControllerLink(Controller &controller, QObject *parent)
    : QObject(parent)
    , m_controller(controller)
{
    qRegisterMetaType<LogLine>();
}

Controller &ControllerLink::delayedController() const
{
    if (m_answerDelayMs > 0)
        QThread::msleep(ulong(m_answerDelayMs));
    return m_controller;
}

int ControllerLink::getValue(char *answer, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const QByteArray text = formatted(format, arguments);
    va_end(arguments);

    QByteArray reply;
    const int result = delayedController().query(text, &reply);
    if (!reply.isNull()) {
        // The text is Latin-1, so truncation cannot split a character.
        reply.truncate(AnswerSize - 1);
        std::memcpy(answer, reply.constData(), size_t(reply.size()) + 1);
    }
    return result;
}

int ControllerLink::getIntValue(int *answer, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const QByteArray text = formatted(format, arguments);
    va_end(arguments);

    QByteArray reply;
    if (const int result = delayedController().query(text, &reply))
        return result;
    bool isNumber = false;
    const int number = reply.toInt(&isNumber);
    if (!isNumber)
        return Failed;
    *answer = number;
    return 0;
}

int ControllerLink::setValue(const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const QByteArray text = formatted(format, arguments);
    va_end(arguments);
    return delayedController().command(text);
}

int ControllerLink::requestOutputType(const char *type, Requester *requester)
{
    if (!type || !requester)
        return Failed;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        QSet<QByteArray> &types = findOrAddSubscriber(requester).types;
        if (types.contains(type))
            return 0;
        types.insert(type);
    }
    emit requestsChanged();
    return 0;
}

int ControllerLink::releaseOutputType(const char *type, Requester *requester)
{
    if (!type || !requester)
        return Failed;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        Subscriber *subscriber = findSubscriber(requester);
        if (!subscriber || !subscriber->types.remove(type))
            return 0;
    }
    emit requestsChanged();
    return 0;
}

int ControllerLink::addRequester(Requester *requester)
{
    if (!requester)
        return Failed;
    const std::lock_guard<std::mutex> lock(m_mutex);
    findOrAddSubscriber(requester).registered = true;
    return 0;
}

int ControllerLink::removeRequester(Requester *requester)
{
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        Subscriber *subscriber = findSubscriber(requester);
        if (!subscriber || !subscriber->registered)
            return Failed;
        subscriber->registered = false;
        m_callEnded.wait(lock, [this, requester] {
            const Subscriber *waiting = findSubscriber(requester);
            return !waiting || waiting->busy == 0;
        });
        m_subscribers.erase(std::remove_if(m_subscribers.begin(), m_subscribers.end(),
                                           [requester](const Subscriber &entry) {
                                               return entry.requester == requester && !entry.registered;
                                           }),
                            m_subscribers.end());
    }
    emit requestsChanged();
    return 0;
}

int ControllerLink::log(const char *level, const char *component, int number, const char *message)
{
    const LogLine line{level, component, number, message};
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_log.size() >= LogLimit)
            m_log.removeFirst();
        m_log.append(line);
    }
    emit logged(line);
    return 0;
}

int ControllerLink::addMessageReceiver(const char *name, MessageReceiver *receiver)
{
    if (!name || !receiver)
        return Failed;
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (findListener(receiver))
        return Failed;
    m_listeners.append({name, receiver, 0});
    return 0;
}

int ControllerLink::removeMessageReceiver(const char *name, MessageReceiver *receiver)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    Listener *listener = findListener(receiver);
    if (!listener || !name || listener->name != name)
        return Failed;
    // sendMessage() skips a listener without a name.
    listener->name.clear();
    m_callEnded.wait(lock, [this, receiver] { return findListener(receiver)->busy == 0; });
    m_listeners.erase(
        std::remove_if(m_listeners.begin(), m_listeners.end(),
                       [receiver](const Listener &entry) { return entry.receiver == receiver; }),
        m_listeners.end());
    return 0;
}

/// Calls \a call for each registered requester that \a wanted accepts, with m_mutex unlocked.
/// Subscriber::busy keeps removeRequester() waiting until the call has returned.
template <typename Wanted, typename Call>
void ControllerLink::callRequesters(Wanted wanted, Call call)
{
    std::vector<Requester *> called;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        for (Subscriber &subscriber : m_subscribers) {
            if (subscriber.registered && wanted(subscriber)) {
                ++subscriber.busy;
                called.push_back(subscriber.requester);
            }
        }
    }
    for (Requester *requester : called) {
        call(requester);
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (--findSubscriber(requester)->busy == 0)
            m_callEnded.notify_all();
    }
}

void ControllerLink::deliver(const QByteArray &type, const QByteArray &line)
{
    callRequesters(
        [&type](const Subscriber &subscriber) { return subscriber.types.contains(type); },
        [&](Requester *requester) { requester->onOutputData(type.constData(), line.constData()); });
}

void ControllerLink::deliverReset()
{
    callRequesters([](const Subscriber &) { return true; },
                   [](Requester *requester) { requester->onOutputReset(); });
}

void ControllerLink::deliverIdle()
{
    callRequesters([](const Subscriber &) { return true; },
                   [](Requester *requester) { requester->onOutputIdle(); });
}

void ControllerLink::sendMessage(const QByteArray &text)
{
    std::vector<MessageReceiver *> called;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        for (Listener &listener : m_listeners) {
            if (!listener.name.isEmpty()) {
                ++listener.busy;
                called.push_back(listener.receiver);
            }
        }
    }
    for (MessageReceiver *receiver : called) {
        receiver->onMessage(0, 0, text.constData());
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (--findListener(receiver)->busy == 0)
            m_callEnded.notify_all();
    }
}

QSet<QByteArray> ControllerLink::requestedTypes(Requester *requester) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (const Subscriber &subscriber : m_subscribers) {
        if (subscriber.requester == requester)
            return subscriber.types;
    }
    return {};
}

int ControllerLink::registeredCount() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto requesters = std::count_if(m_subscribers.cbegin(), m_subscribers.cend(),
                                          [](const Subscriber &subscriber) { return subscriber.registered; });
    return int(requesters) + m_listeners.size();
}

QList<LogLine> ControllerLink::logLines() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_log;
}

ControllerLink::Subscriber *ControllerLink::findSubscriber(Requester *requester)
{
    const auto found =
        std::find_if(m_subscribers.begin(), m_subscribers.end(),
                     [requester](const Subscriber &entry) { return entry.requester == requester; });
    return found == m_subscribers.end() ? nullptr : &*found;
}

ControllerLink::Subscriber &ControllerLink::findOrAddSubscriber(Requester *requester)
{
    if (Subscriber *subscriber = findSubscriber(requester))
        return *subscriber;
    m_subscribers.append({requester, {}, false, 0});
    return m_subscribers.last();
}

ControllerLink::Listener *ControllerLink::findListener(MessageReceiver *receiver)
{
    const auto found = std::find_if(m_listeners.begin(), m_listeners.end(),
                                    [receiver](const Listener &entry) { return entry.receiver == receiver; });
    return found == m_listeners.end() ? nullptr : &*found;
}

} // namespace simulation
