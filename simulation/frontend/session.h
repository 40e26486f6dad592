#pragma once

#include "controllerlink.h"
#include "controlleroutput.h"
#include "dataclient.h"
#include "frameledger.h"
#include "options.h"
#include "receiverpool.h"
#include "remotecontroller.h"
#include "simulatedcontroller.h"

#include <memory>

namespace simulation {

/// A host with its Controller, embedded or remote, its data and the receivers on this computer. The order of
/// calls is openSource(), setUp(), start(), stop(). GUI thread only. All signals are emitted on the GUI
/// thread.
class Session : public QObject, public FrameSink
{
    Q_OBJECT

public:
    /// With a remote Controller, starts to connect in the background.
    explicit Session(const Options &options);
    ~Session() override;

    // These two functions return false and set \a problem to a message of one line on failure.

    /// Reads the recording if the options name one.
    bool openSource(QString *problem);

    /// Waits up to three seconds for the remote Controller if the options name one. Otherwise sets up the
    /// channels as setChannelCount() does, and appends warnings for the user to \a remarks.
    bool setUp(QStringList *remarks, QString *problem);

    /// Starts the data of an embedded Controller; the receivers expect every frame from the first one on.
    /// Does nothing with a remote Controller, whose data arrive as soon as it is connected.
    void start();

    /// Stops the data, which cannot be started again. With an embedded Controller, waits up to two seconds
    /// for datagrams in transit.
    void stop();

    /// Returns the embedded Controller. With a remote Controller, the object only holds a copy of the
    /// version, lock, router mode and channels that the remote one has sent last.
    SimulatedController &controller() { return m_controller; }

    /// Returns whether the Controller is a remote one.
    bool isRemote() const { return m_remote != nullptr; }

    ControllerLink &link() { return m_link; }
    ReceiverPool &receivers() { return m_receivers; }
    const Options &options() const { return m_options; }

    /// Returns the record for the module's parameter "BackendVersions". It does not change any more after
    /// setUp(), not even if a remote Controller of another version takes the place of the first.
    BackendVersions *versions() { return &m_versions; }

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

    /// Pauses or continues the data of an embedded Controller.
    void setPaused(bool paused);

    /// Makes an embedded Controller send a reset to the module before the next frame, as after an interrupted
    /// connection. The frames continue with the next number. Call it after start().
    void resetOutput();

    /// Notifies the module that the Controller's output types have changed.
    void announceTypes();

    /// Tells the session whether the module's dialog is open. An open dialog may use divisors that the
    /// Controller does not know yet.
    void setDialogOpen(bool open);

    /// Returns the number of frames that the embedded Controller has produced, or that were received from the
    /// remote one.
    qint64 frames() const { return m_ledger.frames(); }

    /// Returns the number of skipped lines of the recording.
    int skippedLines() const { return m_output.skippedLines(); }

signals:
    /// A query or a command was answered or has failed.
    void exchanged(const simulation::Exchange &exchange);
    /// The connection to the remote Controller was established (\a problem is empty), or was lost or could
    /// not be established (\a problem is the reason).
    void connectionChanged(const QString &problem);
    /// The recording has ended, the remote Controller has reported the end of its data, or stop() has ended
    /// the data.
    void sourceEnded();

private:
    void useRemote();
    bool waitForRemote(QString *problem);
    void followRemoteState(const ControllerState &state);
    bool setUpChannel(int index, QStringList *remarks, QString *problem);
    void followDivisor(const Exchange &exchange);
    void followRoutes();

    // FrameSink; called on the thread of the embedded Controller's data, or on that of m_data.
    void takeFrame(const Frame &frame) override;
    void takeReset() override;
    void takeIdle() override;

    const Options m_options;
    BackendVersions m_versions;
    int m_rate;
    bool m_paused = false;
    bool m_isDialogOpen = false;
    std::array<int, outputChannelCount> m_moduleDivisors{}; ///< read or written last; 0: none yet
    ChannelRoutes m_routes;
    SimulatedController m_controller;
    std::unique_ptr<RemoteController> m_remote; ///< null with an embedded Controller
    ControllerLink m_link;
    FrameLedger m_ledger;
    ReceiverPool m_receivers;
    ControllerOutput m_output;          ///< without data if the Controller is a remote one
    std::unique_ptr<DataClient> m_data; ///< null with an embedded Controller
};

} // namespace simulation
