#include "hostconnection.h"

#include <QScopedValueRollback>

#include <cstdio>

namespace networksettings2g {

namespace {

constexpr int failed = -1;

QByteArray formatted(const char *format, va_list arguments)
{
    va_list measured;
    va_copy(measured, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, measured);
    va_end(measured);
    QByteArray text(qMax(length, 0), Qt::Uninitialized);
    // QByteArray keeps room for the terminating zero.
    std::vsnprintf(text.data(), static_cast<size_t>(text.size()) + 1, format, arguments);
    return text;
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

int HostConnection::getValue(char *answer, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const QByteArray text = formatted(format, arguments);
    va_end(arguments);
    return pass([&](IOManager *host) { return host->getValue(answer, "%s", text.constData()); });
}

int HostConnection::getIntValue(int *answer, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const QByteArray text = formatted(format, arguments);
    va_end(arguments);
    return pass([&](IOManager *host) { return host->getIntValue(answer, "%s", text.constData()); });
}

int HostConnection::setValue(const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const QByteArray text = formatted(format, arguments);
    va_end(arguments);
    return pass([&](IOManager *host) { return host->setValue("%s", text.constData()); });
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
