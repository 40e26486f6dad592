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

class DataThread;
class ReplayedFrames;

/// A whole tracking system on this computer: Controller, link, frames and receivers. GUI thread.
class Session : public QObject
{
    Q_OBJECT

public:
    explicit Session(const Options &options, QObject *parent = nullptr);
    ~Session() override;

    /// Reads the recording, if there is to be one. False on failure; \a problem then tells why, in one line.
    bool openSource(QString *problem);

    /// Sets up the Controller's channels and a receiver for each. \a remarks gets lines for the user to know.
    /// False if a receiver cannot listen; \a problem then tells why, in one line.
    bool setUp(QStringList *remarks, QString *problem);

    /// Starts the data thread. The receivers expect every frame from here on.
    void start();

    /// Stops the data thread, then gives the receivers time to take what is still on its way to them.
    void stop();

    SimulatedController &controller() { return m_controller; }
    ControllerLink &link() { return m_link; }
    ReceiverPool &receivers() { return m_receivers; }
    const Options &options() const { return m_options; }

    /// The version record for the module, which takes it as unchangeable.
    BackendVersions *versions() { return &m_versions; }

    /// Has the Controller in another version from now on. No module may be loaded.
    void setVersion(const BackendVersions &version);

    /// How many channels are set up, from the first on.
    int channelCount() const;

    /// Sets up the channels anew, \a count of them, the others without a destination. What could not be done
    /// is told in \a problem.
    bool setChannelCount(int count, QString *problem);

    /// Frames a second, 1 to maximumRate.
    int rate() const { return m_rate; }
    void setRate(int rate);

    bool isPaused() const { return m_paused; }
    void setPaused(bool paused);

    /// Has the data start over, as after a break in the connection.
    void resetOutput();

    /// Tells the module that the Controller's output types have changed.
    void announceTypes();

    /// Frames given out so far.
    qint64 frames() const { return m_ledger.frames(); }

    /// Lines of the recording that were skipped.
    int skippedLines() const { return m_skippedLines; }

signals:
    /// The recording has come to its end.
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
