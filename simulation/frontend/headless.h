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

    /// Starts the data and runs the event loop until the time is over, the recording has ended, or the
    /// application quits. When it returns, the data have stopped and the receivers have read the pending
    /// datagrams.
    void run();

    /// Prints the summary. Returns whether every channel received its frames in order without loss.
    bool judge() const;

private:
    void writeProgress();

    Session &m_session;
    qint64 m_residentAtStart = 0; ///< KiB at the first progress line, when all buffers have been used
    QElapsedTimer m_sinceProgress;
    QHash<int, qint64> m_framesBefore; ///< by channel, at the previous progress line
};

} // namespace simulation
