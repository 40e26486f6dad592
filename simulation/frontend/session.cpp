#include "session.h"

#include "channelpresets.h"
#include "datathread.h"
#include "replayedframes.h"
#include "syntheticframes.h"

#include <QElapsedTimer>
#include <QThread>

namespace simulation {

Session::Session(const Options &options, QObject *parent)
    : QObject(parent)
    , m_options(options)
    , m_versions(options.controllerVersion)
    , m_rate(options.rate)
    , m_commands(options.controller.isSet()
                     ? std::make_unique<CommandClient>(options.controller.host, options.controller.port)
                     : nullptr)
    , m_link(m_commands ? static_cast<CommandService &>(*m_commands) : m_delayed)
    , m_receivers(m_ledger)
{
    m_controller.change([this](ControllerState &state) {
        state.version = m_options.controllerVersion;
        state.locked = m_options.locked;
        state.viaRouter = m_options.router && versionAtLeast(m_options.controllerVersion, 1, 4);
    });
    m_delayed.setDelay(m_options.answerDelayMs);
    connect(&m_controller, &SimulatedController::stateChanged, this, &Session::followState);
    connect(&m_controller, &SimulatedController::exchanged, this, &Session::exchanged, Qt::DirectConnection);
    if (isRemote())
        useRemote();
    // The module changes its requests when it starts or stops its routers. Frames may be skipped then.
    connect(&m_link, &ControllerLink::requestsChanged, this, [this] { m_receivers.join(); });
}

Session::~Session()
{
    stop();
}

bool Session::openSource(QString *problem)
{
    if (m_options.replay.isEmpty())
        return true;
    QSet<QByteArray> types;
    const QList<OutputType> catalogue = m_controller.catalogue();
    for (const OutputType &type : catalogue)
        types.insert(type.name);
    m_recording = std::make_unique<ReplayedFrames>();
    return m_recording->open(m_options.replay, types, problem);
}

bool Session::connectController(QString *problem)
{
    if (!isRemote() || m_commands->waitForConnected(CommandClient::AnswerTimeoutMs)) {
        if (isRemote())
            m_versions = m_commands->greeting().version;
        return true;
    }
    *problem = tr("cannot reach the Controller at %1:%2: %3")
                   .arg(m_options.controller.host)
                   .arg(m_options.controller.port)
                   .arg(m_commands->problem());
    return false;
}

void Session::useRemote()
{
    m_data = std::make_unique<DataClient>(*this);
    connect(m_commands.get(), &CommandClient::exchanged, this, &Session::exchanged, Qt::DirectConnection);
    connect(m_commands.get(), &CommandClient::disconnected, this, &Session::connectionChanged);
    connect(m_commands.get(), &CommandClient::connected, this, [this](const Greeting &greeting) {
        m_data->connectTo(m_options.controller.host, greeting.dataPort);
        emit connectionChanged(QString());
        const BackendVersions &version = greeting.version;
        if (version.major != m_versions.major || version.minor != m_versions.minor ||
            version.third != m_versions.third)
            emit versionChanged(version);
    });
    connect(m_data.get(), &DataClient::stateReceived, this, &Session::followRemoteState);
    connect(m_data.get(), &DataClient::wasReset, this, [this] { m_receivers.join(); });
    connect(m_data.get(), &DataClient::finished, this, &Session::sourceEnded);
    m_commands->start();
}

bool Session::setUp(QStringList *remarks, QString *problem)
{
    if (isRemote())
        return true;
    if (m_options.router && !versionAtLeast(m_options.controllerVersion, 1, 4))
        remarks->append(tr("a Controller older than 1.4 has no router mode"));
    for (int index = 0; index < m_options.channels; ++index) {
        if (!setUpChannel(index, remarks, problem))
            return false;
    }
    return true;
}

void Session::setVersion(const BackendVersions &version)
{
    m_versions = version;
    m_controller.change([&version](ControllerState &state) {
        state.version = version;
        if (!versionAtLeast(version, 1, 4))
            state.viaRouter = false;
    });
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
    if (m_dataThread)
        m_dataThread->setRate(rate);
}

void Session::setPaused(bool paused)
{
    m_paused = paused;
    if (m_dataThread)
        m_dataThread->setPaused(paused);
}

void Session::resetOutput()
{
    if (m_dataThread)
        m_dataThread->reset();
}

void Session::announceTypes()
{
    m_link.sendMessage("OutputTypesChanged");
    // In router mode the module restarts its routers on this message. Frames may be skipped then.
    m_receivers.join();
}

bool Session::setUpChannel(int index, QStringList *remarks, QString *problem)
{
    const ChannelPreset preset = channelPreset(index);
    Destination destination{Destination::Kind::Udp, m_controller.state().monitorAddress, 0};
    if (preset.group && staysOnThisComputer(QHostAddress(QLatin1String(preset.group)))) {
        destination.kind = Destination::Kind::Multicast;
        destination.host = preset.group;
    } else if (preset.group) {
        remarks->append(tr("multicast to %1 would leave this computer; channel %2 sends to %3 instead")
                            .arg(QString::fromLatin1(preset.group))
                            .arg(index + 1)
                            .arg(QString::fromLatin1(destination.host)));
    }
    destination.port =
        m_receivers.listen(index, QHostAddress(QString::fromLatin1(destination.host)).toIPv4Address());
    if (destination.port == 0) {
        *problem = tr("no receiver can listen at %1").arg(QString::fromLatin1(destination.host));
        return false;
    }
    const bool knowsDivisor = versionAtLeast(m_versions, 1, 6);
    m_controller.change([&](ControllerState &state) {
        state.channels[size_t(index)] = {destination, true, knowsDivisor ? preset.divisor : 1, preset.types};
    });
    return true;
}

void Session::start()
{
    if (isRemote())
        return;
    std::unique_ptr<FrameSource> source;
    if (m_recording) {
        m_skippedLines = m_recording->skippedLines();
        source = std::move(m_recording);
    } else {
        source = std::make_unique<SyntheticFrames>([this] { return m_controller.availableTypes(); });
    }
    m_dataThread = std::make_unique<DataThread>(std::move(source), m_rate, *this);
    connect(m_dataThread.get(), &DataThread::finished, this, &Session::sourceEnded);
    // On a reset each router drops its incomplete frame, so a frame may be skipped then.
    connect(m_dataThread.get(), &DataThread::wasReset, this, [this] { m_receivers.join(); });
    m_receivers.begin();
    m_dataThread->start();
}

void Session::stop()
{
    constexpr int limitMs = 2000;
    if (m_data)
        m_data->stop();
    if (!m_dataThread)
        return;
    m_dataThread->stop();
    m_dataThread.reset();
    QElapsedTimer waiting;
    waiting.start();
    while (!m_receivers.isComplete() && waiting.elapsed() < limitMs)
        QThread::msleep(1);
}

void Session::followState()
{
    const ChannelRoutes routes = m_routeFinder.routes(m_controller.state());
    // A remote Controller sends its datagrams itself, so m_output gets no routes.
    if (isRemote()) {
        m_receivers.follow(routes);
        return;
    }
    // Switch the sender first: the receivers check the datagrams that it has already sent against the old
    // routes before they use the new ones.
    m_output.follow(routes);
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
    m_output.send(frame);
    for (const DataLine &line : frame)
        m_link.deliver(line.type, line.text);
}

void Session::takeReset()
{
    m_link.deliverReset();
}

void Session::takeIdle()
{
    m_output.end();
    m_link.deliverIdle();
}

} // namespace simulation
