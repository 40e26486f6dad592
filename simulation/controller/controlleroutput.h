#pragma once

#include "channelroute.h"
#include "framesink.h"

#include <memory>
#include <mutex>

class QUdpSocket;

namespace simulation {

class DataThread;
class SimulatedController;

/// The data of a simulated Controller: produces the frames, passes them to a sink and, with router mode off,
/// sends those of each active channel, one datagram per frame. Each channel has a socket of its own that
/// never blocks, so that a receiver that cannot be reached delays no other channel.
///
/// Thread safety: call the functions on the thread that created the object, which must run an event loop. The
/// sink is called, and the datagrams are sent, on the thread of data().
class ControllerOutput : public QObject, public FrameSink
{
    Q_OBJECT

public:
    /// \a controller and \a sink must outlive this object. \a reach is that of the RouteFinder.
    ControllerOutput(SimulatedController &controller, FrameSink &sink, Reach reach);
    ~ControllerOutput() override;

    /// Creates data(), which produces \a rate frames per second: those of the file \a recording ("-" for
    /// standard input) or, without a name, synthetic ones. Call it once. Returns false and sets \a problem to
    /// a message of one line if the recording cannot be used.
    bool open(const QString &recording, int rate, QString *problem);

    /// Returns the thread that produces the frames, or null before open(). start() and stop() are left to the
    /// caller; the destructor calls stop(), too.
    DataThread *data() { return m_data.get(); }

    /// Returns the number of skipped lines of the recording.
    int skippedLines() const { return m_skippedLines; }

signals:
    /// The routes have changed. Frames are sent with the new ones already.
    void routesChanged(const simulation::ChannelRoutes &routes);

private:
    void takeFrame(const Frame &frame) override;
    void takeReset() override;
    void takeIdle() override;
    void follow(const ChannelRoutes &routes);
    QUdpSocket &socket(size_t channel);

    SimulatedController &m_controller;
    FrameSink &m_sink;
    const Reach m_reach;
    RouteFinder m_routeFinder;
    int m_skippedLines = 0;
    std::array<std::unique_ptr<QUdpSocket>, outputChannelCount> m_sockets; ///< opened when first used

    std::mutex m_mutex;
    ChannelRoutes m_routes; ///< guarded by m_mutex

    std::unique_ptr<DataThread> m_data;
};

/// Returns the datagram that a channel with \a content sends for \a frame: the lines of the channel's types,
/// each ended by CR LF. Returns an empty datagram if the divisor leaves out the frame, if "fr" is not ticked,
/// or if the lines do not fit into one datagram.
QByteArray datagramOf(const Frame &frame, const Expectation &content);

} // namespace simulation
