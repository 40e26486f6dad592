#pragma once

#include "channelroute.h"
#include "controllerlink.h"
#include "directoutput.h"
#include "frameledger.h"
#include "options.h"
#include "receiverpool.h"
#include "simulatedcontroller.h"

#include <QObject>

#include <memory>

namespace simulation {

class DataThread;
class ReplayedFrames;

/// A tracking system on this computer: Controller, link, data and receivers. GUI thread only.
class Session : public QObject
{
    Q_OBJECT

public:
    explicit Session(const Options &options, QObject *parent = nullptr);
    ~Session() override;

    /// Reads the recording if the options name one. Returns false and sets \a problem to a message of one
    /// line on failure.
    bool openSource(QString *problem);

    /// Sets up the Controller's channels and a receiver for each. Appends warnings for the user to \a
    /// remarks. Returns false and sets \a problem to a message of one line if a receiver cannot listen.
    bool setUp(QStringList *remarks, QString *problem);

    /// Starts the data. The receivers expect every frame from the first one on.
    void start();

    /// Stops the data, then waits a limited time for datagrams that are still in transit.
    void stop();

    SimulatedController &controller() { return m_controller; }
    ControllerLink &link() { return m_link; }
    ReceiverPool &receivers() { return m_receivers; }
    const Options &options() const { return m_options; }

    /// The version record for the module, which reads it once.
    BackendVersions *versions() { return &m_versions; }

    /// Changes the Controller's version. No module may be loaded.
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

    /// Resets the data, as after an interrupted connection.
    void resetOutput();

    /// Notifies the module that the Controller's output types have changed.
    void announceTypes();

    /// Returns the number of frames sent.
    qint64 frames() const { return m_ledger.frames(); }

    /// Returns the number of skipped lines of the recording.
    int skippedLines() const { return m_skippedLines; }

signals:
    /// The recording has ended.
    void sourceEnded();

private:
    bool setUpChannel(int index, QStringList *remarks, QString *problem);
    void followState();

    const Options m_options;
    BackendVersions m_versions;
    int m_rate;
    bool m_paused = false;
    SimulatedController m_controller;
    ControllerLink m_link;
    FrameLedger m_ledger;
    DirectOutput m_output;
    ReceiverPool m_receivers;
    RouteFinder m_routeFinder;
    std::unique_ptr<ReplayedFrames> m_recording;
    int m_skippedLines = 0;
    std::unique_ptr<DataThread> m_dataThread;
};

} // namespace simulation
