#pragma once

#include <QObject>

class QSocketNotifier;

namespace simulation {

/// Emits a Qt signal on the thread to which this object belongs after SIGINT or SIGTERM, so that the program
/// can shut down in an orderly way. The thread must run an event loop. A second SIGINT, or a second SIGTERM,
/// ends the program at once. The destructor restores the default actions of both signals. Only one
/// SignalWatcher may exist at a time.
class SignalWatcher : public QObject
{
    Q_OBJECT

public:
    /// Aborts the program if no pipe can be created.
    explicit SignalWatcher(QObject *parent = nullptr);
    ~SignalWatcher() override;

signals:
    /// SIGINT or SIGTERM was received.
    void interrupted();

private:
    void takeSignal();

    QSocketNotifier *m_notifier;
};

} // namespace simulation
