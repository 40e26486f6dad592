#include "tablemanager.h"

#include <networksettings2g/messagereceiver.h>
#include <networksettings2g/requester.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <mutex>

namespace {

constexpr int done = 0;
constexpr int refused = -1;

/// The size in bytes of the module's answer buffer, including the terminating zero.
constexpr std::size_t answerSize = 208;

std::string formatted(const char *format, va_list arguments)
{
    char text[1024];
    const int length = std::vsnprintf(text, sizeof text, format, arguments);
    const bool fits = length >= 0 && std::size_t(length) < sizeof text;
    return fits ? text : std::string();
}

} // namespace

int TableManager::getValue(char *answer, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const std::string *found = answerTo(formatted(format, arguments));
    va_end(arguments);
    if (!found)
        return refused;
    std::snprintf(answer, answerSize, "%s", found->c_str());
    return done;
}

int TableManager::getIntValue(int *answer, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const std::string *found = answerTo(formatted(format, arguments));
    va_end(arguments);
    if (!found)
        return refused;
    *answer = std::atoi(found->c_str());
    return done;
}

int TableManager::setValue(const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const int result = execute(formatted(format, arguments));
    va_end(arguments);
    return result;
}

const std::string *TableManager::answerTo(const std::string &query)
{
    const auto found = answers.find(query);
    return found == answers.end() ? nullptr : &found->second;
}

int TableManager::execute(const std::string &command)
{
    std::printf("  command: %s\n", command.c_str());
    return done;
}

int TableManager::requestOutputType(const char *type, Requester * /*requester*/)
{
    const std::unique_lock<std::shared_mutex> lock(m_mutex);
    m_types.insert(type);
    return done;
}

int TableManager::releaseOutputType(const char *type, Requester * /*requester*/)
{
    const std::unique_lock<std::shared_mutex> lock(m_mutex);
    m_types.erase(type);
    return done;
}

int TableManager::addRequester(Requester *requester)
{
    const std::unique_lock<std::shared_mutex> lock(m_mutex);
    m_requester = requester;
    return done;
}

int TableManager::removeRequester(Requester * /*requester*/)
{
    // Locking waits until no call of onOutputData() is in progress. With m_requester null, none will follow.
    const std::unique_lock<std::shared_mutex> lock(m_mutex);
    m_requester = nullptr;
    return done;
}

int TableManager::log(const char *level, const char *component, int number, const char *message)
{
    std::printf("  log: %s %s %d %s\n", level, component, number, message);
    return done;
}

int TableManager::addMessageReceiver(const char * /*name*/, MessageReceiver *receiver)
{
    m_receiver = receiver;
    return done;
}

int TableManager::removeMessageReceiver(const char * /*name*/, MessageReceiver * /*receiver*/)
{
    m_receiver = nullptr;
    return done;
}

void TableManager::deliver(const std::string &type, const std::string &line)
{
    // The lock may be held: onOutputData() waits only for short locks and never calls the host.
    const std::shared_lock<std::shared_mutex> lock(m_mutex);
    if (m_requester && m_types.count(type) > 0)
        m_requester->onOutputData(type.c_str(), line.c_str());
}

void TableManager::reset()
{
    const std::shared_lock<std::shared_mutex> lock(m_mutex);
    if (m_requester)
        m_requester->onOutputReset();
}

void TableManager::sendMessage(const char *text)
{
    // Hold no lock: onMessage() sends queries and requests types before it returns.
    if (m_receiver)
        m_receiver->onMessage(0, 0, text);
}

bool TableManager::isRequested(const std::string &type)
{
    const std::shared_lock<std::shared_mutex> lock(m_mutex);
    return m_types.count(type) > 0;
}

bool TableManager::isInUse()
{
    const std::shared_lock<std::shared_mutex> lock(m_mutex);
    return m_requester || m_receiver || !m_types.empty();
}
