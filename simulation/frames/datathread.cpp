#include "datathread.h"

#include "framesink.h"
#include "framesource.h"

namespace simulation {

namespace {

std::chrono::nanoseconds periodOf(int rate)
{
    return std::chrono::nanoseconds(std::chrono::seconds(1)) / rate;
}

} // namespace

DataThread::DataThread(std::unique_ptr<FrameSource> source, int rate, FrameSink &sink)
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

void DataThread::stop()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_stopping = true;
    }
    m_changed.notify_all();
    if (m_thread.joinable())
        m_thread.join();
}

void DataThread::setRate(int rate)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_period = periodOf(rate);
    }
    m_changed.notify_all();
}

void DataThread::setPaused(bool paused)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_paused = paused;
    }
    m_changed.notify_all();
}

void DataThread::reset()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_resetting = true;
    }
    m_changed.notify_all();
}

void DataThread::run()
{
    Frame frame;
    m_sink.takeReset();
    while (waitForTurn()) {
        if (takeReset()) {
            m_sink.takeReset();
            emit wasReset();
        } else if (m_source->next(&frame)) {
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
    const bool resetting = m_resetting;
    m_resetting = false;
    return resetting;
}

} // namespace simulation
