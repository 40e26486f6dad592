#include "session.h"

#include "channelpresets.h"
#include "datathread.h"
#include "replayedframes.h"
#include "syntheticframes.h"
#include "udpsocket.h"

#include <QElapsedTimer>
#include <QThread>

namespace simulation {

Session::Session(const Options &options, QObject *parent)
    : QObject(parent)
    , m_options(options)
    , m_versions(options.version)
    , m_rate(options.rate)
    , m_link(m_controller)
    , m_receivers(m_ledger)
{
    m_controller.change([this](ControllerState &state) {
        state.version = m_options.version;
        state.locked = m_options.locked;
        state.viaRouter = m_options.router && versionAtLeast(m_options.version, 1, 4);
    });
    connect(&m_controller, &SimulatedController::stateChanged, this, &Session::followState);
    // A router that starts or stops begins a new sequence of frames.
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

bool Session::setUp(QStringList *remarks, QString *problem)
{
    if (m_options.router && !versionAtLeast(m_options.version, 1, 4))
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
    // The routers restart their sequences with this message.
    m_receivers.join();
}

bool Session::setUpChannel(int index, QStringList *remarks, QString *problem)
{
    const ChannelPreset preset = channelPreset(index);
    Destination destination{Destination::Kind::Udp, m_controller.state().monitorAddress, 0};
    if (preset.group && staysOnThisComputer(resolveAddress(preset.group))) {
        destination.kind = Destination::Kind::Multicast;
        destination.host = preset.group;
    } else if (preset.group) {
        remarks->append(tr("multicast to %1 would leave this computer; channel %2 sends to %3 instead")
                            .arg(QString::fromLatin1(preset.group))
                            .arg(index + 1)
                            .arg(QString::fromLatin1(destination.host)));
    }
    destination.port = m_receivers.listen(index, resolveAddress(destination.host));
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
    std::unique_ptr<FrameSource> source;
    if (m_recording) {
        m_skippedLines = m_recording->skippedLines();
        source = std::move(m_recording);
    } else {
        source = std::make_unique<SyntheticFrames>([this] { return m_controller.availableTypes(); });
    }
    m_dataThread = std::make_unique<DataThread>(std::move(source), m_rate, m_ledger, m_output, m_link);
    connect(m_dataThread.get(), &DataThread::finished, this, &Session::sourceEnded);
    // A reset drops the partial frame of each router.
    connect(m_dataThread.get(), &DataThread::wasReset, this, [this] { m_receivers.join(); });
    m_receivers.begin();
    m_dataThread->start();
}

void Session::stop()
{
    constexpr int limitMs = 2000;
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
    // Switch the sender first: what it has already sent is then judged by the old routes.
    m_output.follow(routes);
    m_receivers.follow(routes);
}

} // namespace simulation
