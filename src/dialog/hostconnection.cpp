#include "hostconnection.h"

#include <QScopedValueRollback>

#include <cstring>

namespace networksettings2g {

namespace {

constexpr int failed = -1;

/// The largest number of arguments of a format in commands.h.
constexpr std::size_t maximumArguments = 3;

/// Calls \a call with the values in \a read, followed by the arguments for the conversions in \a format.
/// Each level of the recursion reads one argument: a text for "%s", an int for any other conversion.
template <typename Call, typename... Read>
int callWithArguments(const char *format, va_list arguments, Call call, Read... read)
{
    const char *conversion = std::strchr(format, '%');
    if (!conversion)
        return call(read...);
    if constexpr (sizeof...(read) < maximumArguments) {
        if (conversion[1] == 's') {
            const char *text = va_arg(arguments, const char *);
            return callWithArguments(conversion + 1, arguments, call, read..., text);
        }
        const int number = va_arg(arguments, int);
        return callWithArguments(conversion + 1, arguments, call, read..., number);
    }
    return failed;
}

} // namespace

HostConnection::HostConnection(IOManager *ioManager)
    : m_ioManager(ioManager)
{
}

template <typename Call>
int HostConnection::pass(Call call)
{
    if (!m_ioManager)
        return failed;
    const QScopedValueRollback<int> underWay(m_callsUnderWay, m_callsUnderWay + 1);
    return call(m_ioManager);
}

template <typename Function, typename... Answer>
int HostConnection::send(Function function, const char *format, va_list arguments, Answer... answer)
{
    return pass([&](IOManager *host) {
        return callWithArguments(format, arguments, [&](auto... values) {
            return (host->*function)(answer..., format, values...);
        });
    });
}

int HostConnection::getValue(char *answer, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const int result = send(&IOManager::getValue, format, arguments, answer);
    va_end(arguments);
    return result;
}

int HostConnection::getIntValue(int *answer, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const int result = send(&IOManager::getIntValue, format, arguments, answer);
    va_end(arguments);
    return result;
}

int HostConnection::setValue(const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const int result = send(&IOManager::setValue, format, arguments);
    va_end(arguments);
    return result;
}

int HostConnection::requestOutputType(const char *type, Requester *requester)
{
    return pass([=](IOManager *host) { return host->requestOutputType(type, requester); });
}

int HostConnection::releaseOutputType(const char *type, Requester *requester)
{
    return pass([=](IOManager *host) { return host->releaseOutputType(type, requester); });
}

int HostConnection::addRequester(Requester *requester)
{
    return pass([=](IOManager *host) { return host->addRequester(requester); });
}

int HostConnection::removeRequester(Requester *requester)
{
    return pass([=](IOManager *host) { return host->removeRequester(requester); });
}

int HostConnection::log(const char *level, const char *component, int number, const char *message)
{
    return pass([=](IOManager *host) { return host->log(level, component, number, message); });
}

int HostConnection::addMessageReceiver(const char *name, MessageReceiver *receiver)
{
    return pass([=](IOManager *host) { return host->addMessageReceiver(name, receiver); });
}

int HostConnection::removeMessageReceiver(const char *name, MessageReceiver *receiver)
{
    return pass([=](IOManager *host) { return host->removeMessageReceiver(name, receiver); });
}

} // namespace networksettings2g
