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

/// The command service of the host, through which the module sends queries and commands to the tracking
/// Controller and subscribes to tracking data. The host implements and owns it; how long it must exist is
/// said at ModuleInterface::setParameter(). The module calls it on the GUI thread only, and not after
/// ModuleInterface::prepareShutdown().
///
/// Every function returns 0 for success and any other value for failure. A function may block; the GUI waits
/// for it. Texts are Latin-1, zero-terminated and valid during the call only. The order of the functions is
/// part of the binary interface between host and module.
class IOManager
{
public:
    /// Sends the query \a format, filled printf-style, and writes the answer to \a answer: at most 208 bytes,
    /// the terminating zero included. On failure it writes nothing. The module zeroes the buffer before the
    /// call, and no argument points into it.
    virtual int getValue(char *answer, const char *format, ...) IOMANAGER_PRINTF(3, 4) = 0;

    /// Sends the query \a format, filled printf-style, and writes the number from the answer to \a answer. On
    /// failure it writes nothing.
    virtual int getIntValue(int *answer, const char *format, ...) IOMANAGER_PRINTF(3, 4) = 0;

    /// Sends the command \a format, filled printf-style. Failure means that the Controller refused the
    /// command or could not be reached.
    virtual int setValue(const char *format, ...) IOMANAGER_PRINTF(2, 3) = 0;

    /// Makes the host pass lines of \a type to Requester::onOutputData() of \a requester. Lines are passed
    /// only while \a requester is registered with addRequester().
    /// Note: Must accept a type that is already requested.
    virtual int requestOutputType(const char *type, Requester *requester) = 0;

    /// Makes the host stop passing lines of \a type, however often it was requested.
    /// Note: Must accept a type that was never requested.
    virtual int releaseOutputType(const char *type, Requester *requester) = 0;

    /// Registers \a requester: from now on the host may call its functions, on any thread.
    virtual int addRequester(Requester *requester) = 0;

    /// Unregisters \a requester. When this function returns, no call of \a requester is in progress and none
    /// will follow.
    virtual int removeRequester(Requester *requester) = 0;

    /// Writes \a message to the host's log. The module always passes the \a level "standard", the \a
    /// component "ORVANE3" and the \a number 1.
    virtual int log(const char *level, const char *component, int number, const char *message) = 0;

    /// Registers \a receiver under the name \a name: from now on the host may pass its messages to it, on any
    /// thread. The module always passes the name "NetworkDialog".
    virtual int addMessageReceiver(const char *name, MessageReceiver *receiver) = 0;

    /// Unregisters \a receiver. When this function returns, no call of \a receiver is in progress and none
    /// will follow.
    virtual int removeMessageReceiver(const char *name, MessageReceiver *receiver) = 0;

protected:
    ~IOManager() = default;
};

Q_DECLARE_METATYPE(IOManager *)
