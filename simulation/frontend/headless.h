#pragma once

#include "receiverpool.h"

#include <QElapsedTimer>
#include <QHash>
#include <QObject>

namespace simulation {

class Session;

/// Runs a session without a window: prints one line per second for each receiver, then a summary. GUI thread
/// only.
class Headless : public QObject
{
    Q_OBJECT

public:
    explicit Headless(Session &session, QObject *parent = nullptr);

    /// Starts the session and runs the event loop until the time set by --seconds is over, the data have
    /// ended, or the application quits. Then stops the session.
    void run();

    /// Prints the summary. Returns whether every channel received its frames in order without loss.
    bool judge() const;

private:
    void writeProgress();

    Session &m_session;
    qint64 m_residentAtStart = 0; ///< in KiB, after a second of data has filled the buffers
    QElapsedTimer m_sinceProgress;
    QHash<int, qint64> m_framesBefore; ///< frames of each channel at the previous progress line
};

} // namespace simulation
