#pragma once

#include "frame.h"

#include <QObject>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace simulation {

class FrameSink;

/// Writes the next frame of a source, which may be empty, to \a frame. Returns false at the end of the
/// source.
using FrameSource = std::function<bool(Frame *frame)>;

/// Passes the frames of a source to a sink at a constant rate, on its own thread, the data thread.
///
/// Thread safety: one thread, which must not be the data thread, calls start(), stop() and the destructor.
/// After start() any thread may call the other functions.
class DataThread : public QObject
{
    Q_OBJECT

public:
    /// \a rate is in frames per second, at least 1. \a sink must outlive this object.
    DataThread(FrameSource source, int rate, FrameSink &sink);
    ~DataThread() override;

    /// Starts the thread, which calls FrameSink::takeReset() before the first frame. Call it once.
    void start();

    /// Ends the thread between two frames. The thread calls FrameSink::takeIdle() before it ends. Returns
    /// when it has ended, so the sink is not called afterwards. A second call has no effect.
    void stop();

    /// Sets the rate in frames per second, at least 1.
    void setRate(int rate);

    /// Pauses or continues. A pause skips no frame of the source.
    void setPaused(bool paused);

    /// Makes the thread call FrameSink::takeReset() before the next frame, even during a pause, and then emit
    /// wasReset(). Calls in quick succession may result in only one reset. A call after the end of the source
    /// has no effect.
    void reset();

signals:
    /// The source has ended, or stop() was called. Emitted on the data thread, after FrameSink::takeIdle().
    void finished();
    /// The sink has handled a reset requested by reset(). Emitted on the data thread.
    void wasReset();

private:
    using Clock = std::chrono::steady_clock;

    template <typename Value>
    void change(Value DataThread::*member, Value value);
    void run();
    bool waitForTurn();
    bool takeReset();

    const FrameSource m_source;
    FrameSink &m_sink;
    std::thread m_thread;

    std::condition_variable m_changed; ///< notified when another thread has changed a member below
    std::mutex m_mutex;                ///< guards all members below while the thread runs
    std::chrono::nanoseconds m_period;
    Clock::time_point m_last; ///< the next frame is due m_period after this time
    bool m_stopping = false;
    bool m_paused = false;
    bool m_resetting = false;
};

} // namespace simulation
