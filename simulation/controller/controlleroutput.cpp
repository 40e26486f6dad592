#include "controlleroutput.h"

#include "datathread.h"
#include "replayedframes.h"
#include "simulatedcontroller.h"
#include "syntheticframes.h"

#include <QUdpSocket>

namespace simulation {

QByteArray datagramOf(const Frame &frame, const Expectation &content)
{
    // The largest payload of a UDP datagram over IPv4.
    constexpr int maximumPayload = 65507;
    if (!content.types.contains("fr") || !divisorSelects(content.divisor, frameNumber(frame)))
        return {};
    QByteArray datagram;
    for (const DataLine &line : frame) {
        if (content.types.contains(line.type))
            datagram += withoutLineEnd(line.text) + "\r\n";
    }
    return datagram.size() > maximumPayload ? QByteArray() : datagram;
}

ControllerOutput::ControllerOutput(SimulatedController &controller, FrameSink &sink, Reach reach)
    : m_controller(controller)
    , m_sink(sink)
    , m_reach(reach)
    , m_routeFinder(reach)
{
    connect(&m_controller, &SimulatedController::stateChanged, this,
            [this] { m_routeFinder.follow(m_controller.state()); });
    connect(&m_routeFinder, &RouteFinder::found, this, &ControllerOutput::follow);
}

ControllerOutput::~ControllerOutput()
{
    if (m_data)
        m_data->stop();
}

bool ControllerOutput::open(const QString &recording, int rate, QString *problem)
{
    FrameSource source = [this, number = 0](Frame *frame) mutable {
        *frame = syntheticFrame(++number, m_controller.availableTypes());
        return true;
    };
    if (!recording.isEmpty()) {
        QSet<QByteArray> types;
        const QList<OutputType> catalogue = m_controller.state().catalogue;
        for (const OutputType &type : catalogue)
            types.insert(type.name);
        const auto replayed = std::make_shared<ReplayedFrames>();
        if (!replayed->open(recording, types, problem))
            return false;
        m_skippedLines = replayed->skippedLines();
        source = [replayed](Frame *frame) { return replayed->next(frame); };
    }
    m_data = std::make_unique<DataThread>(std::move(source), rate, *this);
    return true;
}

void ControllerOutput::follow(const ChannelRoutes &routes)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_routes = routes;
    }
    emit routesChanged(routes);
}

void ControllerOutput::takeFrame(const Frame &frame)
{
    m_sink.takeFrame(frame);
    // No frame is being sent with the previous routes when follow() has set new ones.
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (size_t i = 0; i < m_routes.size(); ++i) {
        const ChannelRoute &route = m_routes[i];
        if (!route.content.active || route.content.viaRouter || !route.isReachable())
            continue;
        const QByteArray datagram = datagramOf(frame, route.content);
        // A datagram that the system does not accept is lost.
        if (!datagram.isEmpty())
            socket(i).writeDatagram(datagram, QHostAddress(route.address), route.port);
    }
}

void ControllerOutput::takeReset()
{
    m_sink.takeReset();
}

void ControllerOutput::takeIdle()
{
    m_sink.takeIdle();
    // The sockets belong to this thread, which ends now.
    m_sockets = {};
}

QUdpSocket &ControllerOutput::socket(size_t channel)
{
    std::unique_ptr<QUdpSocket> &socket = m_sockets[channel];
    if (!socket) {
        socket = std::make_unique<QUdpSocket>();
        socket->bind(QHostAddress::AnyIPv4);
        // With this time to live, multicast datagrams stay on this computer whatever the routing table says.
        if (m_reach == Reach::ThisComputer)
            socket->setSocketOption(QAbstractSocket::MulticastTtlOption, 0);
    }
    return *socket;
}

} // namespace simulation
