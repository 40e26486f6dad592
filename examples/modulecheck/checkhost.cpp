#include "checkhost.h"

#include <networksettings2g/requester.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

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

bool startsWith(const std::string &text, const char *start)
{
    return text.compare(0, std::strlen(start), start) == 0;
}

} // namespace

void CheckHost::answerWithTwoChannels(quint16 port)
{
    // The longest answer that a host may give, to detect a module whose buffer is too small.
    const std::string longest(answerSize - 1, 'x');
    answers = {
        {"config is_changeable", "yes"},
        {"system model", "100"}, // on any other model the dialog refuses the destination 127.0.0.1
        {"output net_via_router", "yes"},
        {"output net chmon", "udp 127.0.0.1 5000"},
        {"output number_of_types", "3"},
        {"output net ch01", "udp 127.0.0.1 " + std::to_string(port)},
        {"output net_active ch01", "yes"},
        {"output net_divisor ch01", "1"},
        {"output net ch02", "udp 127.0.0.2 " + std::to_string(port)},
        {"output net_active ch02", "yes"},
        {"output net_divisor ch02", "1"},
    };
    const char *const types[] = {"fr", "6d", "3d"};
    for (int i = 0; i < 3; ++i) {
        const std::string type = types[i];
        answers["output type t0" + std::to_string(i + 1)] = type;
        answers["output type_desc " + type] = longest;
        answers["output available " + type] = "yes";
        answers["output active ch01 " + type] = type == "3d" ? "no" : "yes";
        answers["output active ch02 " + type] = type == "3d" ? "yes" : "no";
    }
}

void CheckHost::addType()
{
    answers["output number_of_types"] = "4";
    answers["output type t04"] = "mk";
    answers["output type_desc mk"] = "\"added while the module runs\"";
    answers["output available mk"] = "yes";
    answers["output active ch01 mk"] = "yes";
    answers["output active ch02 mk"] = "no";
}

int CheckHost::result() const
{
    return refuseEverything ? refused : done;
}

int CheckHost::getValue(char *answer, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const std::string query = formatted(format, arguments);
    va_end(arguments);
    noteCall("getValue(\"" + query + "\")");
    noteText(query);
    if (duringQuery)
        duringQuery();
    const auto found = answers.find(query);
    if (refuseEverything || found == answers.end())
        return refused;
    std::snprintf(answer, answerSize, "%s", found->second.c_str());
    return done;
}

int CheckHost::getIntValue(int *answer, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const std::string query = formatted(format, arguments);
    va_end(arguments);
    noteCall("getIntValue(\"" + query + "\")");
    noteText(query);
    if (duringQuery)
        duringQuery();
    const auto found = answers.find(query);
    if (refuseEverything || found == answers.end())
        return refused;
    *answer = std::atoi(found->second.c_str());
    return done;
}

int CheckHost::setValue(const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const std::string command = formatted(format, arguments);
    va_end(arguments);
    noteCall("setValue(\"" + command + "\")");
    noteText(command);
    commands.append(QString::fromStdString(command));
    return result();
}

int CheckHost::requestOutputType(const char *type, Requester * /*requester*/)
{
    noteCall(std::string("requestOutputType(\"") + type + "\")");
    const std::unique_lock<std::shared_mutex> lock(m_dataMutex);
    m_types.insert(type);
    return done;
}

int CheckHost::releaseOutputType(const char *type, Requester * /*requester*/)
{
    noteCall(std::string("releaseOutputType(\"") + type + "\")");
    const std::unique_lock<std::shared_mutex> lock(m_dataMutex);
    m_types.erase(type);
    return done;
}

int CheckHost::addRequester(Requester *requester)
{
    noteCall("addRequester()");
    const std::unique_lock<std::shared_mutex> lock(m_dataMutex);
    if (m_requester)
        addFault("addRequester() was called twice");
    m_requester = requester;
    return done;
}

int CheckHost::removeRequester(Requester *requester)
{
    noteCall("removeRequester()");
    // Locking waits for calls in progress; after this function no call is in progress and none will follow.
    const std::unique_lock<std::shared_mutex> lock(m_dataMutex);
    if (m_requester != requester)
        addFault("removeRequester() was called for a requester that is not registered");
    m_requester = nullptr;
    return done;
}

int CheckHost::log(const char *level, const char *component, int number, const char *message)
{
    noteCall(std::string("log(\"") + message + "\")");
    if (std::strcmp(level, "standard") != 0 || std::strcmp(component, "ORVANE3") != 0 || number != 1)
        addFault(std::string("log() was called with \"") + level + "\", \"" + component + "\", " +
                 std::to_string(number));
    return done;
}

int CheckHost::addMessageReceiver(const char *name, MessageReceiver *receiver)
{
    noteCall(std::string("addMessageReceiver(\"") + name + "\")");
    if (m_receiver)
        addFault("addMessageReceiver() was called twice");
    m_receiver = receiver;
    return done;
}

int CheckHost::removeMessageReceiver(const char *name, MessageReceiver *receiver)
{
    noteCall(std::string("removeMessageReceiver(\"") + name + "\")");
    if (m_receiver != receiver)
        addFault("removeMessageReceiver() was called for a receiver that is not registered");
    m_receiver = nullptr;
    return done;
}

void CheckHost::deliver(const char *type, const std::string &line)
{
    const std::shared_lock<std::shared_mutex> lock(m_dataMutex);
    if (m_requester && m_types.count(type) > 0 && m_requester->onOutputData(type, line.c_str()) != 0)
        addFault("onOutputData() returned a result other than 0");
}

void CheckHost::reset()
{
    const std::shared_lock<std::shared_mutex> lock(m_dataMutex);
    if (m_requester)
        m_requester->onOutputReset();
}

bool CheckHost::isRequested(const std::string &type)
{
    const std::shared_lock<std::shared_mutex> lock(m_dataMutex);
    return m_types.count(type) > 0;
}

bool CheckHost::isInUse()
{
    const std::shared_lock<std::shared_mutex> lock(m_dataMutex);
    return m_requester || m_receiver || !m_types.empty();
}

QStringList CheckHost::takeFaults()
{
    const std::lock_guard<std::mutex> lock(m_faultMutex);
    QStringList faults;
    faults.swap(m_faults);
    return faults;
}

void CheckHost::noteCall(const std::string &call)
{
    if (std::this_thread::get_id() != m_guiThread) {
        addFault(call + " was called on a thread other than the GUI thread");
        return;
    }
    ++m_callCount;
    if (m_closed)
        addFault(call + " was called after prepareShutdown() had returned");
}

// Records a fault if the Controller's version does not know the query or command \a text.
void CheckHost::noteText(const std::string &text)
{
    if ((startsWith(text, "output net_via_router") && !versionAtLeast(versions, 1, 4)) ||
        (startsWith(text, "output net_divisor") && !versionAtLeast(versions, 1, 6)) ||
        (startsWith(text, "config is_changeable") && !versionAtLeast(versions, 1, 9)))
        addFault("\"" + text + "\" is unknown to this version of the Controller");
}

void CheckHost::addFault(const std::string &fault)
{
    const std::lock_guard<std::mutex> lock(m_faultMutex);
    m_faults.append(QString::fromStdString(fault));
}
