#include "commandserver.h"
#include "controlleroptions.h"
#include "controlleroutput.h"
#include "dataserver.h"
#include "datathread.h"
#include "networkprotocol.h"
#include "presets.h"
#include "signalwatcher.h"
#include "simulatedcontroller.h"

#include <QCoreApplication>
#include <QTimer>

#include <cstdio>

using namespace simulation;

namespace {

constexpr char description[] = R"(
Simulates the Controller of a tracking system on the network: answers the
queries and commands of frontends, sends them the tracking data, and, unless
router mode is on, sends the data of each active channel to its destination by
UDP: channel 1 to port 5001, channel 2 to port 5002, and so on. Connect a
frontend with: frontend --controller HOST:PORT
Defaults are in parentheses.

When the program is ready, it prints one line with both addresses. Exit status:
0 when stopped; 1 if it cannot listen; 2 for wrong usage, or if the recording
cannot be used.)";

/// The simulated Controller with its data, and the servers through which frontends use them. Lives on a
/// thread with an event loop; not thread-safe.
class ControllerProgram
{
public:
    explicit ControllerProgram(const ControllerOptions &options)
        : m_options(options)
        , m_commandServer(m_controller, options.simulated.answerDelayMs)
        , m_output(m_controller, m_dataServer, Reach::Network)
    {
        QObject::connect(&m_controller, &SimulatedController::stateChanged, &m_dataServer, [this] {
            m_dataServer.setState(protocol::state + stateText(m_controller.state()));
        });
        QObject::connect(&m_commandServer, &CommandServer::greeted, &m_controller,
                         [this](const QHostAddress &address) { followClient(address); });
        m_controller.change([this](ControllerState &state) {
            m_options.simulated.applyTo(state);
            state.monitorAddress = "127.0.0.1"; // until followClient() knows better
            for (int i = 0; i < m_options.simulated.channels; ++i)
                state.channels[size_t(i)] = presetChannel(i, state);
        });
    }

    /// Prepares the source of the frames: reads the recording if the options name one. Returns false and sets
    /// \a problem to a message of one line on failure.
    bool openSource(QString *problem)
    {
        return m_output.open(m_options.simulated.replay, m_options.simulated.rate, problem);
    }

    /// Starts to listen and to produce data, and prints the addresses. Call it once, after openSource() has
    /// succeeded. Returns false and sets \a problem to a message of one line on failure.
    bool start(QString *problem)
    {
        const QHostAddress &address = m_options.address;
        if (!m_commandServer.listenOn(address, quint16(m_options.port), problem) ||
            !m_dataServer.listenOn(address, quint16(m_options.dataPort), problem))
            return false;
        m_commandServer.setDataPort(m_dataServer.serverPort());
        m_output.data()->start();
        std::printf("controller: listening on %s:%d, data on %s:%d\n", qPrintable(address.toString()),
                    int(m_commandServer.serverPort()), qPrintable(address.toString()),
                    int(m_dataServer.serverPort()));
        std::fflush(stdout);
        return true;
    }

private:
    /// Stores the address of the client that sent "hello" last. The query "output net chmon" returns this
    /// address, and "my_ip" in a command stands for it.
    void followClient(const QHostAddress &address)
    {
        const QByteArray text = QHostAddress(address.toIPv4Address()).toString().toLatin1();
        if (m_controller.state().monitorAddress != text)
            m_controller.change([&text](ControllerState &state) { state.monitorAddress = text; });
    }

    const ControllerOptions m_options;
    SimulatedController m_controller;
    CommandServer m_commandServer;
    DataServer m_dataServer;
    ControllerOutput m_output; ///< the last member: it calls m_dataServer until it is destroyed
};

int run(const CommandLine &line)
{
    ControllerOptions options;
    if (!readControllerOptions(line, &options))
        return WrongUsage;
    ControllerProgram program(options);
    QString problem;
    if (!program.openSource(&problem)) {
        line.report(problem);
        return WrongUsage;
    }
    const SignalWatcher watcher;
    if (!program.start(&problem)) {
        line.report(problem);
        return Failure;
    }
    if (options.seconds > 0)
        QTimer::singleShot(options.seconds * 1000, qApp, &QCoreApplication::quit);
    QCoreApplication::exec();
    return Success;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    CommandLine line("controller", description);
    declareControllerOptions(line);
    const std::optional<ExitStatus> status = line.parse(argc, argv);
    return status ? *status : run(line);
}
