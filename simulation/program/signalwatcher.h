#pragma once

#include <QObject>

class QSocketNotifier;

namespace simulation {

/// Turns SIGINT and SIGTERM into a Qt signal on the thread of the event loop, so that the program ends as if
/// it were closed. A second signal of the same kind ends the program at once. At most one object may exist.
class SignalWatcher : public QObject
{
    Q_OBJECT

public:
    explicit SignalWatcher(QObject *parent = nullptr);
    ~SignalWatcher() override;

signals:
    void interrupted();

private:
    void takeSignal();

    QSocketNotifier *m_notifier;
};

} // namespace simulation
