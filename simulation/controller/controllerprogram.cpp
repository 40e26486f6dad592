#include "controllerprogram.h"

#include "datathread.h"
#include "networkprotocol.h"
#include "presets.h"

namespace simulation {

ControllerProgram::ControllerProgram(const ControllerOptions &options)
    : m_options(options)
    , m_commandServer(m_controller, options.simulated.answerDelayMs)
    , m_output(m_controller, *this, Reach::Network)
{
    connect(&m_controller, &SimulatedController::stateChanged, this, &ControllerProgram::publishState);
    connect(&m_commandServer, &CommandServer::greeted, this, &ControllerProgram::followClient);
    m_controller.change([this](ControllerState &state) {
        m_options.simulated.applyTo(state);
        state.monitorAddress = "127.0.0.1"; // until followClient() knows better
        for (int i = 0; i < m_options.simulated.channels; ++i)
            state.channels[size_t(i)] = presetChannel(i, state);
    });
}

bool ControllerProgram::openSource(QString *problem)
{
    return m_output.open(m_options.simulated.replay, m_options.simulated.rate, problem);
}

bool ControllerProgram::start(QString *problem)
{
    const QHostAddress address(m_options.address);
    if (address.protocol() != QAbstractSocket::IPv4Protocol) {
        *problem = tr("'%1' is not an IPv4 address").arg(m_options.address);
        return false;
    }
    if (!m_commandServer.listenOn(address, quint16(m_options.port), problem))
        return false;
    const int nextPort = m_options.port == 0 ? 0 : m_options.port + 1;
    const int dataPort = m_options.dataPort < 0 ? nextPort : m_options.dataPort;
    if (dataPort > maximumPort) {
        *problem = tr("there is no port after %1 for the data").arg(m_options.port);
        return false;
    }
    if (!m_dataServer.listenOn(address, quint16(dataPort), problem))
        return false;
    m_commandServer.setDataPort(m_dataServer.serverPort());
    m_output.data()->start();
    return true;
}

void ControllerProgram::publishState()
{
    m_dataServer.setState(protocol::state + stateText(m_controller.state()));
}

/// Stores the address of the client that sent "hello" last. The query "output net chmon" returns this
/// address, and "my_ip" in a command stands for it.
void ControllerProgram::followClient(const QHostAddress &address)
{
    const QByteArray text = QHostAddress(address.toIPv4Address()).toString().toLatin1();
    if (m_controller.state().monitorAddress != text)
        m_controller.change([&text](ControllerState &state) { state.monitorAddress = text; });
}

void ControllerProgram::takeFrame(const Frame &frame)
{
    m_dataServer.sendFrame(frame);
}

void ControllerProgram::takeReset()
{
    m_dataServer.sendReset();
}

void ControllerProgram::takeIdle()
{
    m_dataServer.sendIdle();
}

} // namespace simulation
