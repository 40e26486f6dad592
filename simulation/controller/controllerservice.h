#pragma once

#include "channelroute.h"
#include "commandserver.h"
#include "controlleroptions.h"
#include "dataserver.h"
#include "directoutput.h"
#include "framesink.h"
#include "simulatedcontroller.h"

#include <memory>

namespace simulation {

class DataThread;
class FrameSource;

/// The simulated Controller on a network: its command server, data server and UDP output. Lives on a thread
/// with an event loop; not thread-safe, except for the functions of FrameSink.
class ControllerService : public QObject, public FrameSink
{
    Q_OBJECT

public:
    explicit ControllerService(const ControllerOptions &options, QObject *parent = nullptr);
    ~ControllerService() override;

    /// Prepares the source of the frames: reads the recording if the options name one. Returns false and sets
    /// \a problem to a message of one line on failure.
    bool openSource(QString *problem);

    /// Starts to listen and to produce data. Call it once, after openSource() has succeeded. Returns false
    /// and sets \a problem to a message of one line on failure.
    bool start(QString *problem);

    /// Returns the Controller, which is thread-safe. After a change of its state on another thread, the UDP
    /// output uses the new state, and the clients of the data server receive it, only when the event loop has
    /// processed the change.
    SimulatedController &controller() { return m_controller; }
    quint16 commandPort() const { return m_commandServer.port(); }
    quint16 dataPort() const { return m_dataServer.port(); }

    // Functions of FrameSink, called on the data thread.
    void takeFrame(const Frame &frame) override;
    void takeReset() override;
    void takeIdle() override;

private:
    void setUpChannels();
    void followState();
    void followClient(const QHostAddress &address);

    const ControllerOptions m_options;
    SimulatedController m_controller;
    CommandServer m_commandServer;
    DataServer m_dataServer;
    DirectOutput m_output{Reach::Network};
    RouteFinder m_routeFinder{Reach::Network};
    std::unique_ptr<FrameSource> m_source;
    std::unique_ptr<DataThread> m_dataThread;
};

} // namespace simulation
