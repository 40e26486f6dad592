#pragma once

#include <QElapsedTimer>
#include <QHash>

namespace simulation {

class Session;

/// Runs a session without a window: prints one line per second for each receiver, then a summary. GUI thread
/// only.
class Headless
{
public:
    explicit Headless(Session &session);

    /// Starts the session and runs the event loop until the time set by --seconds is over, the data have
    /// ended, or the application quits. Then stops the session.
    void run();

    /// Prints the summary; call it after run(). Returns whether the Controller has sent frames and every
    /// receiver got frames, all of them well-formed, in order and without loss. With an embedded Controller,
    /// there must also be a receiver for each channel that --channels sets up.
    bool printSummary() const;

private:
    void printProgress();

    Session &m_session;
    QElapsedTimer m_sinceProgress;
    QHash<int, qint64> m_framesBefore; ///< frames of each channel at the previous progress line
};

} // namespace simulation
