#pragma once

#include "controllerstate.h"
#include "eventthread.h"
#include "framesink.h"
#include "retryingsocket.h"

namespace simulation {

/// Receives frames and events from a Controller over TCP and passes the frames to a sink, on a thread of its
/// own. It connects again after each loss; a frame that was cut off by the loss is never passed on. Its
/// functions belong to the thread that created it.
class DataClient : public QObject
{
    Q_OBJECT

public:
    explicit DataClient(FrameSink &sink, QObject *parent = nullptr);
    ~DataClient() override;

    /// Connects to \a host now. An existing connection is dropped.
    void connectTo(const QString &host, quint16 port);

    /// Ends the connection. When it returns, the sink is not called any more, and connectTo() has no effect.
    void stop();

signals:
    /// The Controller's state; only the parts of parseState() are set.
    void stateReceived(const simulation::ControllerState &state);
    /// The sink has handled a reset.
    void wasReset();
    /// The data have ended.
    void finished();

private:
    void createSocket();
    void onReadyRead();
    void takeLine(const QByteArray &line);
    void takeEvent(const QByteArray &line);

    FrameSink &m_sink;
    bool m_isStopped = false;
    TaskQueue m_owner;                  ///< emits the signals on the thread of this object
    RetryingSocket *m_socket = nullptr; ///< lives on m_thread, as do the next two
    QTimer *m_silenceTimer = nullptr;   ///< runs while connected
    Frame m_frame;                      ///< the lines of the frame that is being received

    EventThread m_thread; ///< the last member: it ends before the others are destroyed
};

} // namespace simulation

Q_DECLARE_METATYPE(simulation::ControllerState)
