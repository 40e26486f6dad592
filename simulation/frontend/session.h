#pragma once

#include "channelroute.h"
#include "commandclient.h"
#include "controllerlink.h"
#include "dataclient.h"
#include "delayedcommands.h"
#include "directoutput.h"
#include "frameledger.h"
#include "framesink.h"
#include "options.h"
#include "receiverpool.h"
#include "simulatedcontroller.h"

#include <QObject>

#include <memory>

namespace simulation {

class DataThread;
class ReplayedFrames;

/// A host with its Controller, embedded or remote, its data and the receivers on this computer. GUI thread
/// only, except for the functions of FrameSink.
class Session : public QObject, public FrameSink
{
    Q_OBJECT

public:
    explicit Session(const Options &options, QObject *parent = nullptr);
    ~Session() override;

    /// Reads the recording if the options name one. Returns false and sets \a problem to a message of one
    /// line on failure.
    bool openSource(QString *problem);

    /// Waits for the remote Controller, if the options name one. Returns false and sets \a problem to a
    /// message of one line if the Controller cannot be reached.
    bool connectController(QString *problem);

    /// Sets up the channels of an embedded Controller and a receiver for each; does nothing with a remote
    /// one. Appends warnings for the user to \a remarks. Returns false and sets \a problem to a message of
    /// one line if a receiver cannot listen.
    bool setUp(QStringList *remarks, QString *problem);

    /// Starts the data thread of an embedded Controller; the receivers expect every frame from the first one
    /// on. Does nothing with a remote Controller, whose data arrive as soon as it is connected.
    void start();

    /// Stops the data. With an embedded Controller, waits up to two seconds for datagrams in transit.
    void stop();

    /// Returns the embedded Controller. With a remote Controller, the object only holds a copy of the state
    /// that the remote one has sent last.
    SimulatedController &controller() { return m_controller; }

    /// Returns whether the Controller is a remote one.
    bool isRemote() const { return m_commands != nullptr; }

    /// The delay of the embedded Controller's answers.
    void setAnswerDelay(int milliseconds) { m_delayed.setDelay(milliseconds); }
    int answerDelay() const { return m_delayed.delay(); }

    ControllerLink &link() { return m_link; }
    ReceiverPool &receivers() { return m_receivers; }
    const Options &options() const { return m_options; }

    /// Returns the record for the module's parameter "BackendVersions".
    BackendVersions *versions() { return &m_versions; }

    /// Changes the Controller's version. Call it only while no module is loaded, because the version must not
    /// change while a module uses it.
    void setVersion(const BackendVersions &version);

    /// Returns the number of channels with a destination.
    int channelCount() const;

    /// Sets up the first \a count channels again and removes the destinations of the others. Returns false
    /// and sets \a problem on failure.
    bool setChannelCount(int count, QString *problem);

    /// Frames per second, 1 to maximumRate.
    int rate() const { return m_rate; }
    void setRate(int rate);

    bool isPaused() const { return m_paused; }
    void setPaused(bool paused);

    /// Sends a reset to the module, as after an interrupted connection: the data start over.
    void resetOutput();

    /// Notifies the module that the Controller's output types have changed.
    void announceTypes();

    /// Returns the number of frames that the embedded Controller has sent, or that were received from the
    /// remote one.
    qint64 frames() const { return m_ledger.frames(); }

    /// Returns the number of skipped lines of the recording.
    int skippedLines() const { return m_skippedLines; }

    // FrameSink; called on the data thread.
    void takeFrame(const Frame &frame) override;
    void takeReset() override;
    void takeIdle() override;

signals:
    /// A query or a command was answered. May be emitted on any thread.
    void exchanged(const simulation::Exchange &exchange);
    /// The connection to the remote Controller was established (\a problem is empty), was lost, or could not
    /// be established.
    void connectionChanged(const QString &problem);
    /// The remote Controller has connected with a version other than the one that the module was started
    /// with.
    void versionChanged(const BackendVersions &version);
    /// The recording has ended, the remote Controller has reported the end of its data, or stop() has ended
    /// the data thread.
    void sourceEnded();

private:
    void useRemote();
    void followRemoteState(const ControllerState &state);
    bool setUpChannel(int index, QStringList *remarks, QString *problem);
    void followState();

    const Options m_options;
    BackendVersions m_versions;
    int m_rate;
    bool m_paused = false;
    SimulatedController m_controller;
    DelayedCommands m_delayed{m_controller};
    std::unique_ptr<CommandClient> m_commands; ///< null with an embedded Controller, as is m_data
    ControllerLink m_link;
    FrameLedger m_ledger;
    DirectOutput m_output;
    ReceiverPool m_receivers;
    RouteFinder m_routeFinder;
    std::unique_ptr<ReplayedFrames> m_recording;
    int m_skippedLines = 0;
    std::unique_ptr<DataThread> m_dataThread;
    std::unique_ptr<DataClient> m_data;
};

} // namespace simulation
