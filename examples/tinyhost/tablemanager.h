#pragma once

#include <networksettings2g/iomanager.h>

#include <map>
#include <set>
#include <shared_mutex>
#include <string>

/// The services of the tiny host. A real host asks the Controller; this one looks answers up in a table.
class TableManager : public IOManager
{
public:
    /// The answers by query. A query without an answer fails. GUI thread only.
    std::map<std::string, std::string> answers;

    // The module calls these functions on the GUI thread only.
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

    /// Passes \a line to the module if \a type is requested and a requester is registered. Any thread.
    void deliver(const std::string &type, const std::string &line);

    /// Reports to the module that the data start again, if a requester is registered. Any thread.
    void reset();

    /// Passes \a text to the module if a message receiver is registered. GUI thread only.
    void sendMessage(const char *text);

    /// Returns whether the module has requested \a type. Any thread.
    bool isRequested(const std::string &type);

    /// Returns whether a requester or a message receiver is registered, or a type is requested. GUI thread
    /// only.
    bool isInUse();

protected:
    /// Returns the answer to \a query, or null if the query fails.
    virtual const std::string *answerTo(const std::string &query);

    /// Executes \a command. Returns 0 for success.
    virtual int execute(const std::string &command);

    MessageReceiver *m_receiver = nullptr; // used on the GUI thread only

private:
    // Locked in shared mode during each call of the requester, so that several data threads can call it at
    // the same time. Locked exclusively to change the next two members.
    std::shared_mutex m_mutex;
    Requester *m_requester = nullptr;
    std::set<std::string> m_types;
};
