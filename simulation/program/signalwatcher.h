#pragma once

#include <QObject>

class QSocketNotifier;

namespace simulation {

/// Emits a Qt signal on the thread to which this object belongs after SIGINT, SIGTERM or SIGHUP, or after a
/// write to a closed pipe (SIGPIPE), so that the program can shut down in an orderly way. On Windows these are
/// Ctrl+C, Ctrl+Break and the closing of the console. The thread must run an event loop: until it does, the
/// signals have no effect, so create the object just before. A second SIGINT, SIGTERM or SIGHUP ends the
/// program at once. The destructor restores the default actions. Only one SignalWatcher may exist at a time.
class SignalWatcher : public QObject
{
    Q_OBJECT

public:
    /// Aborts the program if no pipe can be created.
    explicit SignalWatcher(QObject *parent = nullptr);
    ~SignalWatcher() override;

signals:
    /// One of the signals was received.
    void interrupted();

private:
    void takeSignal();

    QSocketNotifier *m_notifier = nullptr; ///< not used on Windows
};

} // namespace simulation
