#pragma once

#include <QObject>

class QSocketNotifier;

namespace simulation {

/// Emits a Qt signal on the thread of the event loop after SIGINT or SIGTERM, so that the program can shut
/// down in an orderly way. A second SIGINT, or a second SIGTERM, kills the program at once. Only one
/// SignalWatcher may exist at a time.
class SignalWatcher : public QObject
{
    Q_OBJECT

public:
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
