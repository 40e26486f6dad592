#include "controllerservice.h"

#include "channelpresets.h"
#include "datathread.h"
#include "networkprotocol.h"
#include "replayedframes.h"
#include "syntheticframes.h"

namespace simulation {

ControllerService::ControllerService(const ControllerOptions &options, QObject *parent)
    : QObject(parent)
    , m_options(options)
    , m_commandServer(m_controller)
{
    m_controller.change([this](ControllerState &state) {
        state.version = m_options.controllerVersion;
        state.locked = m_options.locked;
        state.viaRouter = m_options.router && versionAtLeast(state.version, 1, 4);
    });
    m_controller.setRefusalProbability(m_options.refusalProbability);
    m_commandServer.setAnswerDelay(m_options.answerDelayMs);
    connect(&m_controller, &SimulatedController::stateChanged, this, &ControllerService::followState);
    connect(&m_commandServer, &CommandServer::greeted, this, &ControllerService::followClient);
    setUpChannels();
}

ControllerService::~ControllerService()
{
    if (m_dataThread)
        m_dataThread->stop();
}

bool ControllerService::openSource(QString *problem)
{
    if (m_options.replay.isEmpty()) {
        m_source = std::make_unique<SyntheticFrames>([this] { return m_controller.availableTypes(); });
        return true;
    }
    QSet<QByteArray> types;
    const QList<OutputType> catalogue = m_controller.catalogue();
    for (const OutputType &type : catalogue)
        types.insert(type.name);
    auto recording = std::make_unique<ReplayedFrames>();
    const bool isOpen = recording->open(m_options.replay, types, problem);
    m_source = std::move(recording);
    return isOpen;
}

bool ControllerService::start(QString *problem)
{
    const QHostAddress address(m_options.address);
    if (address.protocol() != QAbstractSocket::IPv4Protocol) {
        *problem = tr("'%1' is not an IPv4 address").arg(m_options.address);
        return false;
    }
    if (!m_commandServer.listen(address, quint16(m_options.port), problem))
        return false;
    const int nextPort = m_options.port == 0 ? 0 : m_options.port + 1;
    const int dataPort = m_options.dataPort < 0 ? nextPort : m_options.dataPort;
    if (dataPort > 65535) {
        *problem = tr("there is no port after %1 for the data").arg(m_options.port);
        return false;
    }
    if (!m_dataServer.listen(address, quint16(dataPort), problem))
        return false;
    m_commandServer.setDataPort(m_dataServer.port());
    m_dataThread = std::make_unique<DataThread>(std::move(m_source), m_options.rate, *this);
    m_dataThread->start();
    return true;
}

void ControllerService::setUpChannels()
{
    constexpr int firstPort = 5001;
    m_controller.change([this](ControllerState &state) {
        const bool hasDivisor = versionAtLeast(state.version, 1, 6);
        for (int i = 0; i < m_options.channels; ++i) {
            const ChannelPreset preset = channelPreset(i);
            Destination destination{Destination::Kind::Udp, state.monitorAddress, firstPort + i};
            if (preset.group)
                destination = {Destination::Kind::Multicast, preset.group, firstPort + i};
            state.channels[size_t(i)] = {destination, true, hasDivisor ? preset.divisor : 1, preset.types};
        }
    });
}

void ControllerService::followState()
{
    const ControllerState state = m_controller.state();
    m_output.follow(m_routeFinder.routes(state));
    m_dataServer.setState(protocol::state + stateText(state));
}

/// Stores the address of the client that sent "hello" last. The query "output net chmon" returns this
/// address, and "my_ip" in a command stands for it.
void ControllerService::followClient(const QHostAddress &address)
{
    const QByteArray text = QHostAddress(address.toIPv4Address()).toString().toLatin1();
    if (m_controller.state().monitorAddress != text)
        m_controller.change([&text](ControllerState &state) { state.monitorAddress = text; });
}

void ControllerService::takeFrame(const Frame &frame)
{
    m_output.send(frame);
    m_dataServer.sendFrame(frame);
}

void ControllerService::takeReset()
{
    m_dataServer.sendReset();
}

void ControllerService::takeIdle()
{
    m_output.end();
    m_dataServer.sendIdle();
}

} // namespace simulation
