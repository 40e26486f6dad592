#pragma once

#include "iomanager.h"

#include <cstdarg>

namespace networksettings2g {

/// Passes the calls of the dialog, its channels and its pages on to the host's command service until close().
/// Afterwards every call fails without reaching the host, so an operation that is in progress at shut-down
/// sends nothing more. GUI thread only.
///
/// Formats and arguments are passed on separately, so that the host can dispatch by the format. A format may
/// have at most three conversions, "%s", "%d" or "%02d".
class HostConnection final : public IOManager
{
public:
    /// The host keeps ownership of \a ioManager, which is not called after close().
    explicit HostConnection(IOManager *ioManager);
    virtual ~HostConnection() = default;

    void close() { m_ioManager = nullptr; }

    /// Returns whether a call to the host is in progress. If so, the caller is nested in it.
    bool isCallUnderWay() const { return m_callsUnderWay > 0; }

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

private:
    template <typename Call>
    int pass(Call call);

    /// Calls \a function of the host with \a answer, \a format and the arguments for the format.
    template <typename Function, typename... Answer>
    int send(Function function, const char *format, va_list arguments, Answer... answer);

    IOManager *m_ioManager; // null after close()
    int m_callsUnderWay = 0;
};

} // namespace networksettings2g
