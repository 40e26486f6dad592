#pragma once

#include "controllerstate.h"
#include "eventthread.h"
#include "framesink.h"
#include "retryingsocket.h"

namespace simulation {

/// Receives frames and events from a Controller over TCP on its own thread and passes the frames to a sink.
/// After each loss of the connection it connects again; a frame that was cut off by the loss is never passed
/// on. Call its functions only on the thread that created it.
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
    /// The Controller has sent its state. Only the members that parseState() sets are valid.
    void stateReceived(const simulation::ControllerState &state);
    /// The sink has handled a reset.
    void wasReset();
    /// The Controller has reported the end of its data, and the sink has handled it.
    void finished();

private:
    void createSocket();
    void onReadyRead();
    void takeLine(const QByteArray &line);
    void takeEvent(const QByteArray &line);

    FrameSink &m_sink;
    bool m_isStopped = false;
    TaskQueue m_owner;                  ///< emits the signals on the thread of this object
    RetryingSocket *m_socket = nullptr; ///< used only on m_thread, as are the next two
    QTimer *m_silenceTimer = nullptr;   ///< runs while connected
    Frame m_frame;                      ///< the lines of the frame that is being received

    EventThread m_thread; ///< the last member, so that it ends before the others are destroyed
};

} // namespace simulation

Q_DECLARE_METATYPE(simulation::ControllerState)
