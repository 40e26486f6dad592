#pragma once

#include "tablemanager.h"

#include <networksettings2g/backendversions.h>

#include <QStringList>

#include <functional>
#include <mutex>
#include <thread>

/// The services of the tiny host. Records a fault for each call with which the module violates its
/// obligations.
///
/// Thread safety: deliver(), reset() and isRequested() on any thread, all others on the GUI thread only.
class CheckHost final : public TableManager
{
public:
    /// Fills the table with the answers of a Controller in router mode with two channels: channel 1 sends
    /// "fr" and "6d" to \a port of 127.0.0.1, channel 2 sends "3d" to \a port of 127.0.0.2. The descriptions
    /// of the types are as long as the module's buffer allows.
    void answerWithTwoChannels(quint16 port);

    /// Adds the output type "mk", which only channel 1 ticks, to the table. The module reads it after the
    /// message "OutputTypesChanged".
    void addType();

    BackendVersions versions{{0, 0, 0}, 1, 9, 0}; ///< Controller version 1.9.0
    bool refuseEverything = false;                ///< all queries and commands fail
    std::function<void()> duringQuery;            ///< called before each query is answered, if set
    QStringList commands;                         ///< all commands so far

    int requestOutputType(const char *type, Requester *requester) override;
    int releaseOutputType(const char *type, Requester *requester) override;
    int addRequester(Requester *requester) override;
    int removeRequester(Requester *requester) override;
    int log(const char *level, const char *component, int number, const char *message) override;
    int addMessageReceiver(const char *name, MessageReceiver *receiver) override;
    int removeMessageReceiver(const char *name, MessageReceiver *receiver) override;

    /// Returns null if no message receiver is registered.
    MessageReceiver *messageReceiver() const { return m_receiver; }

    /// Makes every later call by the module a fault. Call it after prepareShutdown() has returned.
    void close() { m_closed = true; }

    /// Returns how often the module has called a function of IOManager on the GUI thread.
    int callCount() const { return m_callCount; }

    /// Returns the faults that were recorded since the previous call of this function.
    QStringList takeFaults();

protected:
    const std::string *answerTo(const std::string &query) override;
    int execute(const std::string &command) override;

private:
    void noteCall(const std::string &call);
    void noteText(const std::string &text);
    void addFault(const std::string &fault);

    const std::thread::id m_guiThread = std::this_thread::get_id();
    bool m_closed = false;
    int m_callCount = 0;
    Requester *m_registered = nullptr;

    std::mutex m_faultMutex;
    QStringList m_faults; // guarded by m_faultMutex
};
