#pragma once

#include "commandserver.h"
#include "controlleroptions.h"
#include "controlleroutput.h"
#include "dataserver.h"
#include "simulatedcontroller.h"

namespace simulation {

/// What the program `controller` consists of: the simulated Controller with its data, and the servers through
/// which frontends use them. Lives on a thread with an event loop; not thread-safe.
class ControllerProgram : public QObject, public FrameSink
{
    Q_OBJECT

public:
    explicit ControllerProgram(const ControllerOptions &options);

    /// Prepares the source of the frames: reads the recording if the options name one. Returns false and sets
    /// \a problem to a message of one line on failure.
    bool openSource(QString *problem);

    /// Starts to listen and to produce data. Call it once, after openSource() has succeeded. Returns false
    /// and sets \a problem to a message of one line on failure.
    bool start(QString *problem);

    quint16 commandPort() const { return m_commandServer.serverPort(); }
    quint16 dataPort() const { return m_dataServer.serverPort(); }

private:
    void takeFrame(const Frame &frame) override;
    void takeReset() override;
    void takeIdle() override;
    void publishState();
    void followClient(const QHostAddress &address);

    const ControllerOptions m_options;
    SimulatedController m_controller;
    CommandServer m_commandServer;
    DataServer m_dataServer;
    ControllerOutput m_output; ///< the last member: it calls the functions of FrameSink until it is destroyed
};

} // namespace simulation
