#include "datathread.h"

#include "controllerlink.h"
#include "directoutput.h"
#include "frameledger.h"
#include "framesource.h"

using Clock = std::chrono::steady_clock;

DataThread::DataThread(std::unique_ptr<FrameSource> source, int rate, FrameLedger &ledger,
                       DirectOutput &output, ControllerLink &link)
    : m_source(std::move(source))
    , m_period(std::chrono::nanoseconds(std::chrono::seconds(1)) / rate)
    , m_ledger(ledger)
    , m_output(output)
    , m_link(link)
{
}

DataThread::~DataThread()
{
    stop();
}

void DataThread::start()
{
    m_thread = std::thread([this] { run(); });
}

void DataThread::stop()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_stopping = true;
    }
    m_stopped.notify_all();
    if (m_thread.joinable())
        m_thread.join();
}

void DataThread::run()
{
    // A computer that was asleep goes on at the usual pace, without a burst of all the frames it has missed.
    constexpr auto maxDelay = std::chrono::milliseconds(250);
    m_link.deliverReset();
    // Moments are counted from the start, not from the frame before, so that delays do not add up.
    Clock::time_point due = Clock::now();
    while (waitUntil(due)) {
        const Frame frame = m_source->next();
        if (frame.isEmpty())
            break;
        m_ledger.note(frameNumber(frame));
        m_output.send(frame);
        for (const DataLine &line : frame)
            m_link.deliver(line.type, line.text);
        due += m_period;
        if (Clock::now() - due > maxDelay)
            due = Clock::now();
    }
    m_link.deliverIdle();
    emit finished();
}

/// False when the thread is to stop.
bool DataThread::waitUntil(Clock::time_point moment)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_stopped.wait_until(lock, moment, [this] { return m_stopping; });
    return !m_stopping;
}
