#pragma once

#include <QMetaType>

class MessageReceiver;
class Requester;

#if defined(__GNUC__)
// The implicit object counts as argument 1.
#define IOMANAGER_PRINTF(text, arguments) __attribute__((format(printf, text, arguments)))
#else
#define IOMANAGER_PRINTF(text, arguments)
#endif

/// The command service of the host: the module's way to the tracking Controller, and its subscription to the
/// tracking data. Implemented by the host, owned by it, and valid from the parameter "CommandManager" until
/// ModuleInterface::releaseResources() has returned. The module calls it on the GUI thread alone.
///
/// Every result is 0 for success and anything else for failure. Texts are Latin-1. The order of the functions
/// is the binary boundary with the module.
class IOManager
{
public:
    /// Sends the query \a format, filled printf-style, and writes the zero-terminated answer to \a answer,
    /// which the module has zeroed before. No length is passed: the module gives room for 208 bytes, the zero
    /// included. An argument never lies in \a answer.
    virtual int getValue(char *answer, const char *format, ...) IOMANAGER_PRINTF(3, 4) = 0;

    /// Sends the query \a format, filled printf-style, and writes the number answered to \a answer, on
    /// success only.
    virtual int getIntValue(int *answer, const char *format, ...) IOMANAGER_PRINTF(3, 4) = 0;

    /// Sends the command \a format, filled printf-style. Failure means that the Controller refused it.
    virtual int setValue(const char *format, ...) IOMANAGER_PRINTF(2, 3) = 0;

    /// From now on lines of \a type reach Requester::onOutputData() of \a requester, if it has been added.
    /// Asking again for a type that is requested already does no harm.
    virtual int requestOutputType(const char *type, Requester *requester) = 0;

    /// Ends requestOutputType(). Releasing a type that was never requested does no harm.
    virtual int releaseOutputType(const char *type, Requester *requester) = 0;

    /// From now on \a requester gets the lines of the types that it has requested.
    virtual int addRequester(Requester *requester) = 0;

    /// When this returns, no call of \a requester is under way and none will come.
    virtual int removeRequester(Requester *requester) = 0;

    /// A line for the host's log. The module always gives \a level "standard", \a component "ORVANE3" and
    /// \a number 1.
    virtual int log(const char *level, const char *component, int number, const char *message) = 0;

    /// From now on messages of the host reach \a receiver, which is known as \a name.
    virtual int addMessageReceiver(const char *name, MessageReceiver *receiver) = 0;

    /// When this returns, no call of \a receiver is under way and none will come.
    virtual int removeMessageReceiver(const char *name, MessageReceiver *receiver) = 0;

protected:
    ~IOManager() = default;
};

Q_DECLARE_METATYPE(IOManager *)
