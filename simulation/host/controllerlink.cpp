#include "controllerlink.h"

#include "controller.h"
#include "messagereceiver.h"
#include "requester.h"

#include <QThread>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <type_traits>
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
        QSet<QByteArray> &types = findOrAdd(requester).types;
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
        Client *client = find(requester);
        if (!client || !client->types.remove(type))
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
    findOrAdd(requester).isRegistered = true;
    return 0;
}

int ControllerLink::removeRequester(Requester *requester)
{
    const int result = remove(requester, {});
    emit requestsChanged();
    return result;
}

int ControllerLink::log(const char *level, const char *component, int number, const char *message)
{
    emit logged({level, component, number, message});
    return 0;
}

int ControllerLink::addMessageReceiver(const char *name, MessageReceiver *receiver)
{
    if (!name || !receiver)
        return Failed;
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (find(receiver))
        return Failed;
    m_clients.append({receiver, true, name, {}, 0});
    return 0;
}

int ControllerLink::removeMessageReceiver(const char *name, MessageReceiver *receiver)
{
    return name ? remove(receiver, name) : int(Failed);
}

/// Removes a client that is registered under \a name, which is null for requesters, when no call to it is
/// pending or in progress.
int ControllerLink::remove(void *object, const QByteArray &name)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    Client *client = find(object);
    if (!client || !client->isRegistered || client->name != name)
        return Failed;
    client->isRegistered = false;
    m_callEnded.wait(lock, [this, object] { return find(object)->busy == 0; });
    // Another thread may have added it again meanwhile.
    const auto isGone = [object](const Client &entry) {
        return entry.object == object && !entry.isRegistered;
    };
    m_clients.erase(std::remove_if(m_clients.begin(), m_clients.end(), isGone), m_clients.end());
    return 0;
}

/// Calls \a call, with m_mutex unlocked, for each registered client of the type \a Object. A requester must
/// have requested \a type, unless that is null. Client::busy keeps remove() waiting until the call has
/// returned.
template <typename Object, typename Call>
void ControllerLink::callEach(const QByteArray &type, Call call)
{
    constexpr bool isReceiver = std::is_same_v<Object, MessageReceiver>;
    std::vector<void *> called;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        for (Client &client : m_clients) {
            if (client.isRegistered && client.name.isNull() != isReceiver &&
                (type.isNull() || client.types.contains(type))) {
                ++client.busy;
                called.push_back(client.object);
            }
        }
    }
    for (void *object : called) {
        call(static_cast<Object *>(object));
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (--find(object)->busy == 0)
            m_callEnded.notify_all();
    }
}

void ControllerLink::deliver(const QByteArray &type, const QByteArray &line)
{
    callEach<Requester>(
        type, [&](Requester *requester) { requester->onOutputData(type.constData(), line.constData()); });
}

void ControllerLink::deliverReset()
{
    callEach<Requester>({}, [](Requester *requester) { requester->onOutputReset(); });
}

void ControllerLink::deliverIdle()
{
    callEach<Requester>({}, [](Requester *requester) { requester->onOutputIdle(); });
}

void ControllerLink::sendMessage(const QByteArray &text)
{
    callEach<MessageReceiver>(
        {}, [&text](MessageReceiver *receiver) { receiver->onMessage(0, 0, text.constData()); });
}

QSet<QByteArray> ControllerLink::requestedTypes(Requester *requester) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const Client *client = find(requester);
    return client ? client->types : QSet<QByteArray>();
}

int ControllerLink::registeredCount() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return int(std::count_if(m_clients.cbegin(), m_clients.cend(),
                             [](const Client &client) { return client.isRegistered; }));
}

ControllerLink::Client *ControllerLink::find(const void *object) const
{
    const auto found = std::find_if(m_clients.begin(), m_clients.end(),
                                    [object](const Client &client) { return client.object == object; });
    return found == m_clients.end() ? nullptr : &*found;
}

ControllerLink::Client &ControllerLink::findOrAdd(Requester *requester)
{
    if (Client *client = find(requester))
        return *client;
    m_clients.append({requester, false, {}, {}, 0});
    return m_clients.last();
}

} // namespace simulation
