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

/// A host with its Controller, embedded or remote, its data and the receivers on this computer. The order of
/// calls is openSource(), connectController(), setUp(), start(), stop(). GUI thread only, except for the
/// functions of FrameSink. All signals except exchanged() are emitted on the GUI thread.
class Session : public QObject, public FrameSink
{
    Q_OBJECT

public:
    /// With a remote Controller, starts to connect in the background.
    explicit Session(const Options &options, QObject *parent = nullptr);
    ~Session() override;

    /// Reads the recording if the options name one. Returns false and sets \a problem to a message of one
    /// line on failure.
    bool openSource(QString *problem);

    /// Waits for the remote Controller, if the options name one. Returns false and sets \a problem to a
    /// message of one line if the Controller cannot be reached within three seconds.
    bool connectController(QString *problem);

    /// Sets up the channels of an embedded Controller and a receiver for each; does nothing with a remote
    /// one. Appends warnings for the user to \a remarks. Returns false and sets \a problem to a message of
    /// one line if a receiver cannot listen.
    bool setUp(QStringList *remarks, QString *problem);

    /// Starts the data thread of an embedded Controller; the receivers expect every frame from the first one
    /// on. Does nothing with a remote Controller, whose data arrive as soon as it is connected.
    void start();

    /// Stops the data, which cannot be started again. With an embedded Controller, waits up to two seconds
    /// for datagrams in transit.
    void stop();

    /// Returns the embedded Controller. With a remote Controller, the object only holds a copy of the
    /// version, lock, router mode and channels that the remote one has sent last.
    SimulatedController &controller() { return m_controller; }

    /// Returns whether the Controller is a remote one.
    bool isRemote() const { return m_commands != nullptr; }

    /// Sets the delay of the embedded Controller's answers.
    void setAnswerDelay(int milliseconds) { m_delayed.setDelay(milliseconds); }

    /// Returns the delay in milliseconds.
    int answerDelay() const { return m_delayed.delay(); }

    ControllerLink &link() { return m_link; }
    ReceiverPool &receivers() { return m_receivers; }
    const Options &options() const { return m_options; }

    /// Returns the record for the module's parameter "BackendVersions".
    BackendVersions *versions() { return &m_versions; }

    /// Changes the record of versions() and the version of controller(), and switches router mode off if the
    /// version lacks it. Call it only while no module is loaded, because the version must not change while a
    /// module uses it.
    void setVersion(const BackendVersions &version);

    /// Returns the number of channels with a destination, which may be on another computer.
    int channelCount() const;

    /// Sets up the first \a count channels again, each with a receiver, and resets the others, which have no
    /// destination then. Returns false and sets \a problem to a message of one line if a receiver cannot
    /// listen. For an embedded Controller only.
    bool setChannelCount(int count, QString *problem);

    /// Returns the frames per second of an embedded Controller, 1 to maximumRate.
    int rate() const { return m_rate; }

    /// Sets the frames per second of an embedded Controller, 1 to maximumRate.
    void setRate(int rate);

    bool isPaused() const { return m_paused; }

    /// Pauses or continues the data of an embedded Controller. Call it after start().
    void setPaused(bool paused);

    /// Makes an embedded Controller send a reset to the module before the next frame, as after an interrupted
    /// connection. The frames continue with the next number.
    void resetOutput();

    /// Notifies the module that the Controller's output types have changed.
    void announceTypes();

    /// Returns the number of frames that the embedded Controller has produced, or that were received from the
    /// remote one.
    qint64 frames() const { return m_ledger.frames(); }

    /// Returns the number of skipped lines of the recording, which is known after start().
    int skippedLines() const { return m_skippedLines; }

    // FrameSink; called on the thread of m_dataThread or m_data.
    void takeFrame(const Frame &frame) override;
    void takeReset() override;
    void takeIdle() override;

signals:
    /// A query or a command was answered or has failed. Emitted on the thread of the call.
    void exchanged(const simulation::Exchange &exchange);
    /// The connection to the remote Controller was established (\a problem is empty), or was lost or could
    /// not be established (\a problem is the reason).
    void connectionChanged(const QString &problem);
    /// The connection was established to a remote Controller whose \a version differs from versions().
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
    std::unique_ptr<CommandClient> m_commands; ///< null with an embedded Controller
    ControllerLink m_link;
    FrameLedger m_ledger;
    DirectOutput m_output{Reach::ThisComputer};
    ReceiverPool m_receivers;
    RouteFinder m_routeFinder{Reach::ThisComputer};
    std::unique_ptr<ReplayedFrames> m_recording; ///< null after start() and without a recording
    int m_skippedLines = 0;
    std::unique_ptr<DataThread> m_dataThread; ///< exists from start() to stop() with an embedded Controller
    std::unique_ptr<DataClient> m_data;       ///< null with an embedded Controller
};

} // namespace simulation
