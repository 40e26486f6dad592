#pragma once

#include "receiveroptions.h"

#include <QElapsedTimer>
#include <QFile>
#include <QObject>

#include <memory>
#include <vector>

namespace simulation {

class PortMonitor;

/// One run of the program `receiver`: receives on all ports, prints a line per second and port, and judges
/// the data at the end.
class ReceiverRun : public QObject
{
    Q_OBJECT

public:
    explicit ReceiverRun(const ReceiverOptions &options, QObject *parent = nullptr);
    ~ReceiverRun() override;

    /// Opens all ports, and the file to which datagrams are written, if the options name one. Returns false
    /// and sets \a problem to a message of one line on failure.
    bool begin(QString *problem);

    /// Runs the event loop and prints the counts once per second, until the time in the options has passed or
    /// the application quits for another reason. Call begin() first.
    void run();

    /// Returns whether every well-formed datagram was written to the file, if there is one.
    bool hasRecordedAll() const { return m_hasRecordedAll; }

    /// Prints a summary for each port. Returns whether on every port frames arrived, their average rate was
    /// at least 95 % of the expected one, no frame was lost, no datagram was malformed, and hasRecordedAll().
    bool judge() const;

signals:
    /// The file cannot be written; \a problem is a message of one line. Emitted once; the file then ends with
    /// the last datagram that was written completely.
    void recordingFailed(const QString &problem);

private:
    struct Port
    {
        std::unique_ptr<PortMonitor> monitor;
        qint64 framesBefore = 0; ///< frames at the previous progress line
    };

    void record(const QByteArray &datagram);
    void writeProgress();
    bool isGood(const PortMonitor &monitor) const;

    const ReceiverOptions m_options;
    QFile m_recording;
    bool m_hasRecordedAll = true;
    std::vector<Port> m_ports;
    QElapsedTimer m_sinceProgress;
};

} // namespace simulation
