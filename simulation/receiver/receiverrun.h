#pragma once

#include "receiveroptions.h"

#include <QElapsedTimer>
#include <QFile>
#include <QObject>

#include <memory>
#include <vector>

namespace simulation {

class PortMonitor;

/// One run of the program: receives on all ports, prints a line per second and port, and judges at the end.
class ReceiverRun : public QObject
{
    Q_OBJECT

public:
    explicit ReceiverRun(const ReceiverOptions &options, QObject *parent = nullptr);
    ~ReceiverRun() override;

    /// Opens the file and all ports. Returns false and sets \a problem to a message of one line on failure.
    bool begin(QString *problem);

    /// Prints until the application quits.
    void run();

    /// Closes the file. Returns false and sets \a problem if not everything could be written.
    bool finishRecording(QString *problem);

    /// Prints the summary. Returns whether every port received its frames.
    bool judge() const;

private:
    struct Port
    {
        std::unique_ptr<PortMonitor> monitor;
        qint64 framesBefore = 0; ///< at the previous line
    };

    void writeProgress();
    bool isGood(const PortMonitor &monitor) const;

    const ReceiverOptions m_options;
    QFile m_recording;
    std::vector<Port> m_ports;
    QElapsedTimer m_sinceProgress;
};

} // namespace simulation
