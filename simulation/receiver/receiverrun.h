#pragma once

#include "receiveroptions.h"

#include <QElapsedTimer>
#include <QFile>
#include <QObject>

#include <memory>
#include <vector>

namespace simulation {

class PortMonitor;

/// One run of the program: receives on all ports, prints a line per second and port, and judges the data at
/// the end.
class ReceiverRun : public QObject
{
    Q_OBJECT

public:
    explicit ReceiverRun(const ReceiverOptions &options, QObject *parent = nullptr);
    ~ReceiverRun() override;

    /// Opens all ports and the file. Returns false and sets \a problem to a message of one line on failure.
    bool begin(QString *problem);

    /// Runs the event loop and prints the counts once per second until the application quits.
    void run();

    /// Closes the file. Returns false and sets \a problem to a message of one line if not everything could be
    /// written.
    bool finishRecording(QString *problem);

    /// Prints the summary. Returns whether every port received frames, as fast as expected, and none was lost
    /// or malformed.
    bool judge() const;

private:
    struct Port
    {
        std::unique_ptr<PortMonitor> monitor;
        qint64 framesBefore = 0; ///< frames at the previous progress line
    };

    void writeProgress();
    bool isGood(const PortMonitor &monitor) const;

    const ReceiverOptions m_options;
    QFile m_recording;
    std::vector<Port> m_ports;
    QElapsedTimer m_sinceProgress;
};

} // namespace simulation
