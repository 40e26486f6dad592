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
    /// Fills the table with the answers of a Controller in router mode with two channels: channel 1 sends
    /// "fr" and "6d" to \a port of 127.0.0.1, channel 2 sends "3d" to \a port of 127.0.0.2. The descriptions
    /// of the types are as long as the module's buffer allows.
    void answerWithTwoChannels(quint16 port);

    /// Adds the output type "mk", which only channel 1 ticks, to the table. The module reads it after the
    /// message "OutputTypesChanged".
    void addType();

    std::map<std::string, std::string> answers;   ///< by query; a query without an answer fails
    BackendVersions versions{{0, 0, 0}, 1, 9, 0}; ///< Controller version 1.9.0
    bool refuseEverything = false;                ///< all queries and commands fail
    std::function<void()> duringQuery;            ///< called before each query is answered, if set
    QStringList commands;                         ///< all commands so far

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

    /// Passes \a line to the module if \a type is requested and a requester is registered.
    void deliver(const char *type, const std::string &line);

    /// Reports to the module that the data starts again, if a requester is registered.
    void reset();

    /// Returns null if no message receiver is registered.
    MessageReceiver *messageReceiver() const { return m_receiver; }

    bool isRequested(const std::string &type);

    /// Returns whether a requester or a message receiver is registered, or a type is requested.
    bool isInUse();

    /// Makes every later call by the module a fault. Call it after prepareShutdown() has returned.
    void close() { m_closed = true; }

    /// Returns how often the module has called a function of IOManager on the GUI thread.
    int callCount() const { return m_callCount; }

    /// Returns the faults that were recorded since the previous call of this function.
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
    // other. Locked exclusively to change the next two members, so removeRequester() waits for calls in
    // progress.
    std::shared_mutex m_dataMutex;
    Requester *m_requester = nullptr; // guarded by m_dataMutex
    std::set<std::string> m_types;    // guarded by m_dataMutex

    std::mutex m_faultMutex;
    QStringList m_faults; // guarded by m_faultMutex
};
