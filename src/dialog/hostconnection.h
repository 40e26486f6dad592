#pragma once

#include "iomanager.h"

#include <QByteArray>

#include <cstdarg>

namespace networksettings2g {

/// The host's command service as the dialog, its channels and its pages use it: passes every call on to the
/// host until close(). Afterwards every call fails without reaching the host, so that an operation that was
/// under way at shut-down ends silently, wherever it stands. GUI thread.
///
/// A command reaches the host as its finished text with the format "%s", because arguments cannot be passed
/// on.
class HostConnection final : public IOManager
{
public:
    /// \a ioManager stays the host's and is not called after close().
    explicit HostConnection(IOManager *ioManager);
    virtual ~HostConnection() = default;

    void close() { m_ioManager = nullptr; }

    /// Whether the host is inside one of the calls, so that it is the host's code that called the module.
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

    IOManager *m_ioManager; // null after close()
    int m_callsUnderWay = 0;
};

} // namespace networksettings2g
