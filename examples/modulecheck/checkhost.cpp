#include "checkhost.h"

#include <cstring>

namespace {

/// The size in bytes of the module's answer buffer, including the terminating zero.
constexpr std::size_t answerSize = 208;

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

const std::string *CheckHost::answerTo(const std::string &query)
{
    noteCall("the query \"" + query + "\"");
    noteText(query);
    if (duringQuery)
        duringQuery();
    return refuseEverything ? nullptr : TableManager::answerTo(query);
}

int CheckHost::execute(const std::string &command)
{
    noteCall("the command \"" + command + "\"");
    noteText(command);
    commands.append(QString::fromStdString(command));
    return refuseEverything ? -1 : 0;
}

int CheckHost::requestOutputType(const char *type, Requester *requester)
{
    noteCall(std::string("requestOutputType(\"") + type + "\")");
    return TableManager::requestOutputType(type, requester);
}

int CheckHost::releaseOutputType(const char *type, Requester *requester)
{
    noteCall(std::string("releaseOutputType(\"") + type + "\")");
    return TableManager::releaseOutputType(type, requester);
}

int CheckHost::addRequester(Requester *requester)
{
    noteCall("addRequester()");
    if (m_registered)
        addFault("addRequester() was called twice");
    m_registered = requester;
    return TableManager::addRequester(requester);
}

int CheckHost::removeRequester(Requester *requester)
{
    noteCall("removeRequester()");
    if (m_registered != requester)
        addFault("removeRequester() was called for a requester that is not registered");
    m_registered = nullptr;
    return TableManager::removeRequester(requester);
}

int CheckHost::log(const char *level, const char *component, int number, const char *message)
{
    noteCall(std::string("log(\"") + message + "\")");
    if (std::strcmp(level, "standard") != 0 || std::strcmp(component, "ORVANE3") != 0 || number != 1)
        addFault(std::string("log() was called with \"") + level + "\", \"" + component + "\", " +
                 std::to_string(number));
    return 0;
}

int CheckHost::addMessageReceiver(const char *name, MessageReceiver *receiver)
{
    noteCall("addMessageReceiver()");
    if (m_receiver)
        addFault("addMessageReceiver() was called twice");
    return TableManager::addMessageReceiver(name, receiver);
}

int CheckHost::removeMessageReceiver(const char *name, MessageReceiver *receiver)
{
    noteCall("removeMessageReceiver()");
    if (m_receiver != receiver)
        addFault("removeMessageReceiver() was called for a receiver that is not registered");
    return TableManager::removeMessageReceiver(name, receiver);
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
        addFault(call + " came on a thread other than the GUI thread");
        return;
    }
    ++m_callCount;
    if (m_closed)
        addFault(call + " came after prepareShutdown() had returned");
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
