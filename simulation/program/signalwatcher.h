#pragma once

#include <QObject>

class QSocketNotifier;

/// Turns SIGINT and SIGTERM into a signal on the GUI thread, so that the program ends the same way as when it
/// is closed. A second one of them ends the program at once. One object at a time.
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
