#pragma once

#include <QMetaType>

class MessageReceiver;
class Requester;

#if defined(__GNUC__)
// In a member function, the implicit argument this counts as argument 1.
#define IOMANAGER_PRINTF(text, arguments) __attribute__((format(printf, text, arguments)))
#else
#define IOMANAGER_PRINTF(text, arguments)
#endif

/// The command service of the host, through which the module talks to the tracking Controller and subscribes
/// to tracking data. The host implements and owns it and keeps it valid from the call that sets the parameter
/// "CommandManager" until ModuleInterface::releaseResources() has returned. The module calls it on the GUI
/// thread only, and not after ModuleInterface::prepareShutdown().
///
/// Every function returns 0 for success and any other value for failure. Texts are Latin-1. The order of the
/// functions is part of the binary interface between host and module.
class IOManager
{
public:
    /// Sends the query \a format, filled printf-style, and writes the zero-terminated answer to \a answer,
    /// which the module has zeroed before. No length is passed: the buffer has 208 bytes, the terminating
    /// zero included. No argument points into that buffer.
    virtual int getValue(char *answer, const char *format, ...) IOMANAGER_PRINTF(3, 4) = 0;

    /// Sends the query \a format, filled printf-style, and on success writes the number from the answer to
    /// \a answer.
    virtual int getIntValue(int *answer, const char *format, ...) IOMANAGER_PRINTF(3, 4) = 0;

    /// Sends the command \a format, filled printf-style. Failure means that the Controller refused the
    /// command or could not be reached.
    virtual int setValue(const char *format, ...) IOMANAGER_PRINTF(2, 3) = 0;

    /// Makes the host pass lines of \a type to Requester::onOutputData() of \a requester, as long as
    /// \a requester is added with addRequester(). Must accept a type that is already requested.
    virtual int requestOutputType(const char *type, Requester *requester) = 0;

    /// Undoes requestOutputType(). Must accept a type that was never requested.
    virtual int releaseOutputType(const char *type, Requester *requester) = 0;

    /// Makes the host pass the lines of the requested types to \a requester.
    virtual int addRequester(Requester *requester) = 0;

    /// Ends the calls to \a requester: when this function returns, no call is in progress and none will
    /// follow.
    virtual int removeRequester(Requester *requester) = 0;

    /// Writes \a message to the host's log. The module always passes the \a level "standard", the \a
    /// component "ORVANE3" and the \a number 1.
    virtual int log(const char *level, const char *component, int number, const char *message) = 0;

    /// Makes the host pass its messages to \a receiver, under the name \a name.
    virtual int addMessageReceiver(const char *name, MessageReceiver *receiver) = 0;

    /// Ends the calls to \a receiver: when this function returns, no call is in progress and none will
    /// follow.
    virtual int removeMessageReceiver(const char *name, MessageReceiver *receiver) = 0;

protected:
    ~IOManager() = default;
};

Q_DECLARE_METATYPE(IOManager *)
