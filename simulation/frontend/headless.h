#pragma once

#include "receiverpool.h"

#include <QElapsedTimer>
#include <QHash>
#include <QObject>

class Session;

/// The run without a window: a line a second for each receiver, then a summary. GUI thread.
class Headless : public QObject
{
    Q_OBJECT

public:
    explicit Headless(Session &session, QObject *parent = nullptr);

    /// Starts the session's frames and runs the event loop until the time is over, the recording has ended,
    /// or the application is told to quit. When it returns, the frames have stopped and the receivers have
    /// taken what was on its way.
    void run();

    /// Writes the summary. Returns whether every channel got its frames, in order and none lost.
    bool judge() const;

private:
    void writeProgress();

    Session &m_session;
    qint64 m_residentAtStart = 0; ///< KiB at the first progress, when all buffers have been in use
    QElapsedTimer m_sinceProgress;
    QHash<int, qint64> m_framesBefore; ///< by channel, at the last progress
};
