#pragma once

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
/// the Controller's own output.
class DataThread : public QObject
{
    Q_OBJECT

public:
    /// \a rate in frames a second, at least 1.
    DataThread(std::unique_ptr<FrameSource> source, int rate, FrameLedger &ledger, DirectOutput &output,
               ControllerLink &link);
    ~DataThread() override;

    void start();

    /// Ends the thread between two frames. When this returns no frame is under way and none will come.
    void stop();

signals:
    /// The source has come to its end or was stopped. Emitted on the data thread.
    void finished();

private:
    void run();
    bool waitUntil(std::chrono::steady_clock::time_point moment);

    const std::unique_ptr<FrameSource> m_source;
    const std::chrono::nanoseconds m_period;
    FrameLedger &m_ledger;
    DirectOutput &m_output;
    ControllerLink &m_link;
    std::mutex m_mutex;
    std::condition_variable m_stopped;
    bool m_stopping = false;
    std::thread m_thread;
};
