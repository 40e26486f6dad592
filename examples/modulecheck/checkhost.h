#pragma once

#include <networksettings2g/backendversions.h>
#include <networksettings2g/iomanager.h>

#include <QStringList>

#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <shared_mutex>
#include <string>
#include <thread>

/// The services of a host, with a table in place of the Controller. Fulfils the obligations of a host, and
/// records a fault for each call with which the module violates its own obligations.
///
/// Thread safety: deliver(), reset() and isRequested() on any thread, all others on the GUI thread only.
class CheckHost final : public IOManager
{
public:
    /// Answers as a Controller in router mode with two channels: channel 1 sends "fr" and "6d" to \a port of
    /// this computer, channel 2 has "3d" ticked. "mk" is unknown until addType().
    void answerWithTwoChannels(quint16 port);

    /// Adds the output type "mk", ticked for channel 1.
    void addType();

    std::map<std::string, std::string> answers; ///< by query
    BackendVersions versions{{0, 0, 0}, 1, 9, 0};
    bool refuseEverything = false;
    std::function<void()> duringQuery; ///< called before each query is answered, if set
    QStringList commands;              ///< all commands so far

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

    /// Passes a line to the module if it has requested \a type.
    void deliver(const char *type, const std::string &line);

    /// Reports to the module that the data start over.
    void reset();

    MessageReceiver *messageReceiver() const { return m_receiver; }
    bool isRequested(const std::string &type);

    /// Returns whether a requester, a message receiver or a requested type is registered.
    bool isInUse();

    /// Makes every later call of the module a fault. Call it after prepareShutdown() has returned.
    void close() { m_closed = true; }

    int callCount() const { return m_callCount; }

    /// Returns the faults that were recorded since the previous call.
    QStringList takeFaults();

private:
    int result() const;
    void noteCall(const std::string &call);
    void noteText(const std::string &text);
    void addFault(const std::string &fault);

    const std::thread::id m_guiThread = std::this_thread::get_id();
    bool m_closed = false;
    int m_callCount = 0;
    MessageReceiver *m_receiver = nullptr;

    // Locked in shared mode during each call of the requester, so that the data threads do not wait for each
    // other, and exclusively to remove the requester, which therefore waits for calls in progress.
    std::shared_mutex m_dataMutex;
    Requester *m_requester = nullptr; // guarded by m_dataMutex
    std::set<std::string> m_types;    // guarded by m_dataMutex

    std::mutex m_faultMutex;
    QStringList m_faults; // guarded by m_faultMutex
};
