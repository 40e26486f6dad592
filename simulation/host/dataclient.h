#pragma once

#include "controllerstate.h"
#include "eventthread.h"
#include "framesink.h"
#include "retryingsocket.h"

namespace simulation {

/// Receives frames and events from a Controller over TCP. It calls the sink on its own thread, and emits the
/// signals on the thread that created it, which must run an event loop. After each loss of the connection it
/// connects again; a frame that was cut off by the loss is never passed to the sink. Call the functions only
/// on the thread that created the object.
class DataClient : public QObject
{
    Q_OBJECT

public:
    /// \a sink must outlive this object.
    explicit DataClient(FrameSink &sink, QObject *parent = nullptr);
    ~DataClient() override;

    /// Starts to connect to \a port of \a host, and drops an existing connection. Has no effect after stop().
    void connectTo(const QString &host, quint16 port);

    /// Ends the connection. When it returns, the sink is not called any more. Signals that were queued before
    /// are still emitted.
    void stop();

signals:
    /// The Controller has sent its state. The members that parseState() does not set have default values.
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
    RetryingSocket *m_socket = nullptr; ///< used only on m_thread, as are m_silenceTimer and m_frame
    QTimer *m_silenceTimer = nullptr;   ///< runs while connected; restarted when data arrive
    Frame m_frame;                      ///< the lines of the frame that is being received

    EventThread m_thread;
};

} // namespace simulation

Q_DECLARE_METATYPE(simulation::ControllerState)
