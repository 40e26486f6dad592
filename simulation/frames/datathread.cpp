#include "datathread.h"

#include "framesink.h"

#include <utility>

namespace simulation {

namespace {

std::chrono::nanoseconds periodOf(int rate)
{
    return std::chrono::nanoseconds(std::chrono::seconds(1)) / rate;
}

} // namespace

DataThread::DataThread(FrameSource source, int rate, FrameSink &sink)
    : m_source(std::move(source))
    , m_sink(sink)
    , m_period(periodOf(rate))
{
}

DataThread::~DataThread()
{
    stop();
}

void DataThread::start()
{
    m_last = Clock::now() - m_period;
    m_thread = std::thread([this] { run(); });
}

/// Sets \a member to \a value and wakes the thread.
template <typename Value>
void DataThread::change(Value DataThread::*member, Value value)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        this->*member = value;
    }
    m_changed.notify_all();
}

void DataThread::stop()
{
    change(&DataThread::m_stopping, true);
    if (m_thread.joinable())
        m_thread.join();
}

void DataThread::setRate(int rate)
{
    change(&DataThread::m_period, periodOf(rate));
}

void DataThread::setPaused(bool paused)
{
    change(&DataThread::m_paused, paused);
}

void DataThread::reset()
{
    change(&DataThread::m_resetting, true);
}

void DataThread::run()
{
    Frame frame;
    m_sink.takeReset();
    while (waitForTurn()) {
        if (takeReset()) {
            m_sink.takeReset();
            emit wasReset();
        } else if (m_source(&frame)) {
            m_sink.takeFrame(frame);
        } else {
            break;
        }
    }
    m_sink.takeIdle();
    emit finished();
}

/// Waits until the next frame is due or a reset is requested. Returns false if the thread must stop.
bool DataThread::waitForTurn()
{
    // If a frame is later than this, for example after a pause, continue at the set rate from now on instead
    // of sending a burst of frames to catch up.
    constexpr auto maximumDelay = std::chrono::milliseconds(250);
    std::unique_lock<std::mutex> lock(m_mutex);
    while (!m_stopping && !m_resetting) {
        const Clock::time_point now = Clock::now();
        // Count from the previous due time, not from the current time, so that delays do not accumulate.
        const Clock::time_point due = m_last + m_period;
        if (!m_paused && due <= now) {
            m_last = now - due > maximumDelay ? now : due;
            break;
        }
        if (m_paused)
            m_changed.wait(lock);
        else
            m_changed.wait_until(lock, due);
    }
    return !m_stopping;
}

bool DataThread::takeReset()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return std::exchange(m_resetting, false);
}

} // namespace simulation
