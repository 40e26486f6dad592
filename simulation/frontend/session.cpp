#include "session.h"

#include "datathread.h"
#include "presets.h"

#include <QElapsedTimer>
#include <QThread>

namespace simulation {

Session::Session(const Options &options)
    : m_options(options)
    , m_versions(options.simulated.version)
    , m_rate(options.simulated.rate)
    , m_remote(options.controller.isSet()
                   ? std::make_unique<RemoteController>(options.controller.host, options.controller.port)
                   : nullptr)
    , m_link(m_remote ? static_cast<Controller &>(*m_remote) : m_controller)
    , m_receivers(m_ledger)
    , m_output(m_controller, *this, Reach::ThisComputer)
{
    m_controller.change([this](ControllerState &state) { m_options.simulated.applyTo(state); });
    m_link.setAnswerDelay(m_options.simulated.answerDelayMs);
    connect(&m_controller, &SimulatedController::exchanged, this, &Session::exchanged);
    connect(this, &Session::exchanged, this, &Session::followDivisor);
    connect(&m_output, &ControllerOutput::routesChanged, this, [this](const ChannelRoutes &routes) {
        m_routes = routes;
        followRoutes();
    });
    // The module changes its requests when it starts or stops its routers. Frames may be skipped then.
    connect(&m_link, &ControllerLink::requestsChanged, this, [this] { m_receivers.join(); });
    if (isRemote())
        useRemote();
}

Session::~Session()
{
    stop();
}

void Session::useRemote()
{
    m_data = std::make_unique<DataClient>(*this);
    connect(m_remote.get(), &RemoteController::exchanged, this, &Session::exchanged);
    connect(m_remote.get(), &RemoteController::disconnected, this, &Session::connectionChanged);
    connect(m_remote.get(), &RemoteController::connected, this, [this](const Greeting &greeting) {
        m_data->connectTo(m_remote->address(), greeting.dataPort);
        emit connectionChanged(QString());
    });
    connect(m_data.get(), &DataClient::stateReceived, this, &Session::followRemoteState);
    connect(m_data.get(), &DataClient::wasReset, this, [this] { m_receivers.join(); });
    connect(m_data.get(), &DataClient::finished, this, &Session::sourceEnded);
    m_remote->start();
}

bool Session::openSource(QString *problem)
{
    if (isRemote())
        return true;
    if (!m_output.open(m_options.simulated.replay, m_rate, problem))
        return false;
    connect(m_output.data(), &DataThread::finished, this, &Session::sourceEnded);
    // On a reset each router drops its incomplete frame, so a frame may be skipped then.
    connect(m_output.data(), &DataThread::wasReset, this, [this] { m_receivers.join(); });
    return true;
}

bool Session::waitForRemote(QString *problem)
{
    if (m_remote->waitForConnected(RemoteController::AnswerTimeoutMs)) {
        m_versions = m_remote->greeting().version;
        return true;
    }
    *problem = tr("cannot reach the Controller at %1:%2: %3")
                   .arg(m_options.controller.host)
                   .arg(m_options.controller.port)
                   .arg(m_remote->problem());
    return false;
}

bool Session::setUp(QStringList *remarks, QString *problem)
{
    if (isRemote())
        return waitForRemote(problem);
    if (m_options.simulated.router && !versionAtLeast(m_versions, 1, 4))
        remarks->append(tr("a Controller older than 1.4 has no router mode"));
    for (int index = 0; index < m_options.simulated.channels; ++index) {
        if (!setUpChannel(index, remarks, problem))
            return false;
    }
    return true;
}

bool Session::setUpChannel(int index, QStringList *remarks, QString *problem)
{
    const ControllerState before = m_controller.state();
    OutputChannel channel = presetChannel(index, before);
    Destination &destination = channel.destination;
    QHostAddress address(QString::fromLatin1(destination.host));
    if (!staysOnThisComputer(address)) {
        remarks->append(tr("multicast to %1 would leave this computer; channel %2 sends to %3 instead")
                            .arg(address.toString())
                            .arg(index + 1)
                            .arg(QString::fromLatin1(before.monitorAddress)));
        destination = {Destination::Kind::Udp, before.monitorAddress, 0};
        address.setAddress(QString::fromLatin1(destination.host));
    }
    destination.port = m_receivers.listen(index, address.toIPv4Address());
    if (destination.port == 0) {
        *problem = tr("no receiver can listen at %1").arg(address.toString());
        return false;
    }
    m_controller.change([&](ControllerState &state) { state.channels[size_t(index)] = channel; });
    return true;
}

int Session::channelCount() const
{
    const ControllerState state = m_controller.state();
    int count = 0;
    for (const OutputChannel &channel : state.channels) {
        if (channel.destination.kind != Destination::Kind::None)
            ++count;
    }
    return count;
}

bool Session::setChannelCount(int count, QString *problem)
{
    m_controller.change([](ControllerState &state) { state.channels = defaultControllerState().channels; });
    QStringList remarks;
    for (int index = 0; index < count; ++index) {
        if (!setUpChannel(index, &remarks, problem))
            return false;
    }
    return true;
}

void Session::setRate(int rate)
{
    m_rate = rate;
    m_output.data()->setRate(rate);
}

void Session::setPaused(bool paused)
{
    m_paused = paused;
    m_output.data()->setPaused(paused);
}

void Session::resetOutput()
{
    m_output.data()->reset();
}

void Session::announceTypes()
{
    m_link.sendMessage("OutputTypesChanged");
    // In router mode the module restarts its routers on this message. Frames may be skipped then.
    m_receivers.join();
}

void Session::start()
{
    if (isRemote())
        return;
    m_receivers.begin();
    m_output.data()->start();
}

void Session::stop()
{
    constexpr int limitMs = 2000;
    if (m_data)
        m_data->stop();
    if (!m_output.data())
        return;
    m_output.data()->stop();
    QElapsedTimer waiting;
    waiting.start();
    while (!m_receivers.isComplete() && waiting.elapsed() < limitMs)
        QThread::msleep(1);
}

void Session::setDialogOpen(bool open)
{
    m_isDialogOpen = open;
    followRoutes();
}

/// Notes the divisor that the module uses after it has read it, or after it has written it, even in vain.
void Session::followDivisor(const Exchange &exchange)
{
    static const QByteArray opening = "output net_divisor ch";
    if (!exchange.text.startsWith(opening))
        return;
    const int index = exchange.text.mid(opening.size(), 2).toInt() - 1;
    if (index < 0 || index >= outputChannelCount)
        return;
    const bool isQuery = exchange.kind == Exchange::Kind::Query;
    m_moduleDivisors[size_t(index)] =
        (isQuery ? exchange.answer : exchange.text.mid(exchange.text.lastIndexOf(' ') + 1)).toInt();
    followRoutes();
}

/// Tells the receivers what to expect. In router mode that is the module's divisor, which can differ from the
/// Controller's while the dialog is open, and after the Controller has refused it or got another one from
/// elsewhere. Then it is unknown.
void Session::followRoutes()
{
    ChannelRoutes routes = m_routes;
    for (size_t i = 0; i < routes.size(); ++i) {
        Expectation &content = routes[i].content;
        const int known = m_moduleDivisors[i] == 0 ? content.divisor : m_moduleDivisors[i];
        content.isDivisorKnown = !content.viaRouter || (!m_isDialogOpen && known == content.divisor);
    }
    m_receivers.follow(routes);
}

void Session::followRemoteState(const ControllerState &state)
{
    m_controller.change([&state](ControllerState &copy) {
        copy.version = state.version;
        copy.locked = state.locked;
        copy.viaRouter = state.viaRouter;
        copy.channels = state.channels;
    });
}

void Session::takeFrame(const Frame &frame)
{
    m_ledger.note(frameNumber(frame));
    for (const DataLine &line : frame)
        m_link.deliver(line.type, line.text);
}

void Session::takeReset()
{
    m_link.deliverReset();
}

void Session::takeIdle()
{
    m_link.deliverIdle();
}

} // namespace simulation
