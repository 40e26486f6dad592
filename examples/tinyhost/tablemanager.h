#pragma once

#include <iomanager.h>

#include <map>
#include <mutex>
#include <set>
#include <string>

/// The services of the tiny host. Where a real host asks the Controller, this one looks into a table.
class TableManager final : public IOManager
{
public:
    /// The table: what is asked, and what is answered to it.
    std::map<std::string, std::string> answers;

    // For the module, which calls on the GUI thread alone.
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

    /// Hands one line to the module if it has asked for \a type. Data thread.
    void deliver(const std::string &type, const std::string &line);

    /// Hands \a text to the module. GUI thread.
    void sendMessage(const char *text);

    bool isRequested(const std::string &type);

    /// Whether the module has registered anything that is not yet removed.
    bool isInUse();

private:
    std::mutex m_mutex; // guards the next two; held through each call of the requester
    Requester *m_requester = nullptr;
    std::set<std::string> m_types;
    MessageReceiver *m_receiver = nullptr; // GUI thread alone, so no lock
};
