#pragma once

#include "frame.h"

#include <QObject>

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

class ControllerLink;
class DirectOutput;
class FrameLedger;
class FrameSource;

/// The data thread: gives out the frames of a source at a steady rate, to the requesters of the link and to
/// the Controller's own output. Its functions may be called on any other thread.
class DataThread : public QObject
{
    Q_OBJECT

public:
    /// \a rate in frames a second, at least 1.
    DataThread(std::unique_ptr<FrameSource> source, int rate, FrameLedger &ledger, DirectOutput &output,
               ControllerLink &link);
    ~DataThread() override;

    /// Begins with a reset, then the first frame. To be called once.
    void start();

    /// Ends the thread between two frames. When this returns no frame is under way and none will come.
    void stop();

    /// As in the constructor.
    void setRate(int rate);

    /// Holds the frames back, which go on with the next number afterwards.
    void setPaused(bool paused);

    /// Tells the requesters ahead of the next frame that the data starts over; wasReset() then comes.
    void reset();

signals:
    /// The source has come to its end or was stopped. Emitted on the data thread.
    void finished();
    /// Emitted on the data thread, when the requesters have been told.
    void wasReset();

private:
    using Clock = std::chrono::steady_clock;

    void run();
    bool waitForTurn();
    bool takeReset();
    void giveOut(const Frame &frame);

    const std::unique_ptr<FrameSource> m_source;
    FrameLedger &m_ledger;
    DirectOutput &m_output;
    ControllerLink &m_link;
    std::thread m_thread;

    std::mutex m_mutex; ///< of all that follows
    std::condition_variable m_changed;
    std::chrono::nanoseconds m_period;
    Clock::time_point m_last; ///< when the frame before this one was due
    bool m_stopping = false;
    bool m_paused = false;
    bool m_resetting = false;
};
